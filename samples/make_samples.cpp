// Writes the project's sample files into the folder that is given (default: the current one):
//   beam_engine.jt       JT 9.5, one file, nested assemblies
// The committed files in samples/ were made by this program; equal code gives equal bytes.
#include <cstdio>
#include <exception>
#include <filesystem>

#include "samples/maker/sample_files.h"

int main(int argument_count, char** arguments) {
  try {
    const std::filesystem::path folder = argument_count > 1 ? arguments[1] : ".";
    for (const auto& file : loftbay::maker::sampleFiles()) {
      const auto path = folder / file.name;
      loftbay::maker::writeJtFile(file.product, file.options, path);
      std::printf("%s: %llu bytes\n", path.string().c_str(),
                  static_cast<unsigned long long>(std::filesystem::file_size(path)));
    }
    return 0;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "make_samples: %s\n", e.what());
    return 1;
  }
}
