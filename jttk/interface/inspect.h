// What a JT file holds, as plain data for tools that show it: container, segments, product tree, shapes, and
// what could not be read and why.
//
//   const jttk::FileDescription file = jttk::describeFile("model.jt", {.decode_shapes = true});
//   for (const auto& node : file.tree) …
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace jttk {

struct ShapeDescription {
  std::string kind;  // "tri-strip set", "polyline set", …; empty when it could not be read
  // What the scene graph says of a tri-strip set: exact in 8.x, an upper bound in later versions.
  std::optional<std::size_t> stated_triangles;
  // Exact geometry that replaces shapes: its number of triangles depends on the tolerances.
  bool is_exact = false;
  bool decoded = false;       // only with decode_shapes, and where that was possible; then:
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
  bool has_material = false;  // of parts: the built-in grey does not count
  // Contents of assemblies and parts that were listed before are not listed again.
  bool listed_before = false;
  std::size_t first_listed = 0;                       // where that is in the tree, when it was listed before
  std::string units;                                  // as stored; empty when the node states none
  std::vector<std::vector<ShapeDescription>> levels;  // of parts, the finest first
};

struct SegmentDescription {
  std::string type;         // "scene graph", "shape, level 0", …
  std::string compression;  // "none", "stored", "zlib", "lzma"; "unreadable" when it does not unpack
  std::size_t count = 0;
  bool is_read = true;  // whether the toolkit reads segments of this type
};

// The text properties of one node of a file's graph.
struct NodeProperties {
  std::string file;  // host form
  std::int32_t id = 0;
  std::string kind;                                        // "partition", "part", …
  std::string name;                                        // as people see it; empty when the node has none
  std::vector<std::pair<std::string, std::string>> texts;  // key and text in file order; keys may come twice
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
  std::vector<SegmentDescription> segments;  // of this file, by type and compression
  // Types of segments that nothing is read of, over all files of the model: how many.
  std::map<std::string, std::size_t> unread_segments;
  std::optional<std::array<float, 6>> box;     // min x y z, max x y z as the root states it
  std::vector<std::string> files;              // other files of the model that were opened, host form
  std::vector<NodeDescription> tree;           // depth first
  bool tree_is_cut = false;                    // it has more nodes than were asked for
  std::vector<NodeProperties> properties;      // only when asked for; of nodes that have any, in file order
  std::map<std::string, std::size_t> unknown;  // kinds (GUID) of elements that are not known: how many
  // Segments that do not unpack, and those that the end of their file cuts off; of the file itself and of the
  // other files of the model. They need not be lost: not every segment is converted.
  std::vector<std::string> unreadable_segments;
  std::vector<Loss> losses;
  std::vector<std::string> notes;
};

struct DescribeOptions {
  bool decode_shapes = false;
  bool properties = false;
  std::size_t max_nodes = 1'000'000;
};

// `program_path` in program form. Never fails: what cannot be read is in `losses`. Messages go nowhere else
// while this runs.
FileDescription describeFile(const std::string& program_path, const DescribeOptions& options = {});

}  // namespace jttk
