// What a program may set before it loads a file. Process-wide; read when a file is loaded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jttk/file/work_budget.h"

namespace jttk {

inline constexpr std::uint32_t kFinestLevel = 0;
inline constexpr std::uint32_t kCoarsestLevel = 0xffffffffU;

struct Settings {
  // Follow references to files outside the folder of the file that the user named.
  bool allow_outside = false;
  // Where else files that a model refers to are looked for, in this order (program paths). They are never
  // outside.
  std::vector<std::string> search_folders;
  // Parts whose exact geometry can be read are tessellated even where the file has facets of them.
  bool exact_geometry = false;
  // The level of detail that parts are shown in: 0 is the finest, a number beyond the last level the last.
  // Where that level gives no geometry, the next coarser one that does is taken, else the next finer one.
  std::uint32_t level_of_detail = kFinestLevel;
  // Texture coordinates and vertex flags of shapes are decoded. No scene holds them, so no program asks for
  // them; unless somebody does, JtkShape gives no texture coordinates, and damage to these arrays is neither
  // noticed nor told. The geometry does not depend on it.
  bool extra_attributes = false;
  // The observer is told the properties of each node that a walk enters. Meta data segments are read for
  // that.
  bool node_properties = false;
  // Memory for decoded shapes that are kept for the next use, in bytes.
  std::size_t shape_cache_bytes = std::size_t{64} << 20U;
  // Limits for a whole model, with all its files. Where nothing is set they grow with the size of the files
  // (workLimits). What is beyond is reported once and left out.
  //
  // Occurrences of nodes, and shapes that are handed out (a few nodes that are shared many levels deep can
  // have more occurrences than any machine could visit). Long names and large shapes count for more.
  std::optional<std::uint64_t> max_placed_nodes;
  // Bytes that packed segments may unpack to, all together.
  std::optional<std::uint64_t> max_unpacked_bytes;
  // Bytes that the decoders of shapes may ask for at one time, with the decoded arrays that are still held. A
  // shape that would take more is reported and left out.
  std::optional<std::uint64_t> max_memory_bytes;
};

Settings& settings();

// The limits that the settings give.
[[nodiscard]] WorkLimits workLimits();

}  // namespace jttk
