// Files that tests and makers of fuzzing seeds write.
#pragma once

#include <filesystem>
#include <fstream>

#include "samples/maker/pieces/bytes.h"

namespace loftbay::maker::pieces {

// With the folders that it lies in.
inline void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace loftbay::maker::pieces
