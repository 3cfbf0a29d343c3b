// What a program may set before it loads a file. Process-wide; read when a file is loaded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace jttk {

struct Settings {
  // Follow references to files outside the folder of the file that the user named.
  bool allow_outside = false;
  // Where else files that a model refers to are looked for, in this order (program paths). They are never
  // outside.
  std::vector<std::string> search_folders;
  // Parts whose exact geometry can be read are tessellated even where the file has facets of them.
  bool exact_geometry = false;
  // Memory for decoded shapes that are kept for the next use, in bytes.
  std::size_t shape_cache_bytes = std::size_t{64} << 20U;
  // The most nodes that are placed in one model (a few nodes that share each other many levels deep can stand
  // for more places than any machine could visit). What is beyond is reported and left out.
  std::size_t max_placed_nodes = 5'000'000;
  // Bytes that the decoders of shapes may ask for at one time, with the decoded arrays that are still held. A
  // shape that would take more is reported and left out.
  std::uint64_t max_memory_bytes = std::uint64_t{8} << 30U;
};

Settings& settings();

}  // namespace jttk
