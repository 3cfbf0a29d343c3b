// What a JT file holds, as plain data for tools that show it: container, segments, product tree, shapes, and
// what could not be read and why.
//
//   const jttk::FileDescription file = jttk::describeFile("model.jt", {.decode_shapes = true});
//   for (const auto& node : file.tree) …
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace jttk {

struct ShapeDescription {
  std::string kind;  // "tri-strip set", "polyline set", …; empty when it could not be read
  // Only with decode_shapes:
  std::size_t sets = 0;       // strips, lines or point groups
  std::size_t triangles = 0;  // degenerate ones too
  std::size_t lines = 0;      // segments of polylines
  std::size_t points = 0;
};

// A node of the product structure.
struct NodeDescription {
  std::size_t depth = 0;  // 0 = root; an instance's target is one below it
  std::string kind;       // "assembly", "part", "instance"
  std::string name;
  bool has_transform = false;
  bool has_material = false;  // of parts: a grey one that only stands in does not count
  // Contents of assemblies and parts that were listed before are not listed again.
  bool listed_before = false;
  std::string units;                                  // as stored; empty when the node states none
  std::vector<std::vector<ShapeDescription>> levels;  // of parts, the finest first
};

struct SegmentDescription {
  std::string type;         // "scene graph", "shape, level 0", …
  std::string compression;  // "none", "stored", "zlib", "lzma"; "unreadable" when it does not unpack
  std::size_t count = 0;
};

struct Loss {
  std::string part;
  std::string reason;
};

struct FileDescription {
  bool loaded = false;
  int major = 0;
  int minor = 0;
  bool big_endian = false;
  std::string header_text;  // without padding
  std::string units;        // the topmost that is not `Unknown`; lower case; empty when there is none
  std::size_t duplicate_entries = 0;
  std::vector<SegmentDescription> segments;    // of this file, by type and compression
  std::vector<std::string> files;              // other files of the model that were opened, host form
  std::vector<NodeDescription> tree;           // depth first
  bool tree_is_cut = false;                    // it has more nodes than were asked for
  std::map<std::string, std::size_t> unknown;  // kinds (GUID) of elements that are not known: how many
  std::vector<Loss> losses;
  std::vector<std::string> notes;
};

struct DescribeOptions {
  bool decode_shapes = false;
  std::size_t max_nodes = 1'000'000;
};

// `program_path` in program form. Never fails: what cannot be read is in `losses`. Messages go nowhere else
// while this runs.
FileDescription describeFile(const std::string& program_path, const DescribeOptions& options = {});

}  // namespace jttk
