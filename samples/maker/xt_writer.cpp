// Header, one record per node, end mark. A record: I16 type, a byte 255 at the first node of a type (embedded
// schema, no change), I32 count where the last field is variable, the node's index, its fields.
#include "samples/maker/xt_writer.h"

#include <array>
#include <set>
#include <stdexcept>
#include <string_view>

namespace loftbay::maker {
namespace {

constexpr double kUnsetReal = -3.14158e13;
constexpr std::uint32_t kPointerBase = 32767;

struct NodeType {
  int number;
  const char* fields;  // name:letter, [n] a fixed array, [] the variable field; $ what all geometry has
};

constexpr std::string_view kGeometry =
    "node_id:d attributes_features:p owner:p next:p previous:p geometric_owner:p sense:c";

// Letters: u c l one byte, n two bytes, d four, f a real, i two reals, v and h three, p a pointer.
constexpr auto kTypes = std::to_array<NodeType>({
    {10,
     "highest_node_id:d attributes_features:p attribute_chains:p list:p surface:p curve:p point:p key:p "
     "res_size:f res_linear:f ref_instance:p next:p previous:p state:u owner:p type:u sub_instance:p"},
    {11,
     "node_id:d attributes_features:p type:u part:p transform:p assembly:p next_in_part:p prev_in_part:p "
     "next_of_part:p prev_of_part:p"},
    {12,
     "highest_node_id:d attributes_features:p attribute_chains:p surface:p curve:p point:p key:p "
     "res_size:f res_linear:f ref_instance:p next:p previous:p state:u owner:p body_type:u "
     "nom_geom_state:u shell:p boundary_surface:p boundary_curve:p boundary_point:p region:p edge:p "
     "vertex:p"},
    {13, "node_id:d attributes_features:p body:p next:p face:p edge:p vertex:p region:p front_face:p"},
    {14,
     "node_id:d attributes_features:p tolerance:f next:p previous:p loop:p shell:p surface:p sense:c "
     "next_on_surface:p previous_on_surface:p next_front:p previous_front:p front_shell:p"},
    {15, "node_id:d attributes_features:p fin:p face:p next:p"},
    {16,
     "node_id:d attributes_features:p tolerance:f fin:p previous:p next:p curve:p next_on_curve:p "
     "previous_on_curve:p owner:p"},
    {17,
     "attributes_features:p loop:p forward:p backward:p vertex:p other:p edge:p curve:p next_at_vx:p "
     "sense:c"},
    {18, "node_id:d attributes_features:p fin:p previous:p next:p point:p tolerance:f owner:p"},
    {19, "node_id:d attributes_features:p body:p next:p previous:p shell:p type:c"},
    {29, "node_id:d attributes_features:p owner:p next:p previous:p pvec:v"},
    {30, "$ pvec:v direction:v"},
    {31, "$ centre:v normal:v x_axis:v radius:f"},
    {32, "$ centre:v normal:v x_axis:v major_radius:f minor_radius:f"},
    {38, "$ surface:p[2] chart:p start:p end:p"},
    {40,
     "base_parameter:f base_scale:f chart_count:d chordal_error:f angular_error:f parameter_error:f[2] "
     "hvec:h[]"},
    {41, "type:c hvec:h[]"},
    {45, "vertices:f[]"},
    {50, "$ pvec:v normal:v x_axis:v"},
    {51, "$ pvec:v axis:v radius:f x_axis:v"},
    {52, "$ pvec:v axis:v radius:f sin_half_angle:f cos_half_angle:f x_axis:v"},
    {53, "$ centre:v radius:f axis:v x_axis:v"},
    {54, "$ centre:v axis:v major_radius:f minor_radius:f x_axis:v"},
    {56, "$ blend_type:c surface:p[2] spine:p range:f[2] thumb_weight:f[2] boundary:p[2] start:p end:p"},
    {60, "$ check:c true_offset:l surface:p offset:f scale:f"},
    {67, "$ section:p sweep:v scale:f"},
    {68, "$ profile:p base:v axis:v start:v end:v start_param:f end_param:f x_axis:v scale:f"},
    {74, "n_entries:d next_block:p entries:p[]"},
    {79, "string:c[]"},
    {80, "next:p identifier:p type_id:d actions:u[8] field_names:p legal_owners:l[14] fields:u[]"},
    {81, "node_id:d definition:p owner:p next:p previous:p next_of_type:p previous_of_type:p fields:p[]"},
    {83, "values:f[]"},
    {84, "values:c[]"},
    {100, "node_id:d owner:p next:p previous:p rotation:f[9] translation:v scale:f flag:d perspective:v"},
    {101,
     "assembly:p attribute:p body:p transform:p surface:p curve:p point:p alive:l attrib_def:p highest_id:d "
     "current_id:d"},
    {120, "$ type:c data:p tf:p internal_geom:p[]"},
    {124, "$ nurbs:p data:p"},
    {126,
     "u_periodic:l v_periodic:l u_degree:n v_degree:n n_u_vertices:d n_v_vertices:d u_knot_type:u "
     "v_knot_type:u n_u_knots:d n_v_knots:d rational:l u_closed:l v_closed:l surface_form:u "
     "vertex_dim:n bspline_vertices:p u_knot_mult:p v_knot_mult:p u_knots:p v_knots:p"},
    {127, "mult:n[]"},
    {128, "knots:f[]"},
    {133, "$ basis_curve:p point_1:v point_2:v parm_1:f parm_2:f"},
    {134, "$ nurbs:p data:p"},
    {136,
     "degree:n n_vertices:d vertex_dim:n n_knots:d knot_type:u periodic:l closed:l rational:l "
     "curve_form:u bspline_vertices:p knot_mult:p knots:p"},
    {137, "$ surface:p b_curve:p original:p tolerance_to_original:f"},
});

struct FieldType {
  std::string name;
  char letter = 0;
  std::size_t count = 1;
  bool variable = false;
};

void addFields(std::string_view text, std::vector<FieldType>& fields) {
  while (!text.empty()) {
    const std::size_t end = text.find(' ');
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (word == "$") {
      addFields(kGeometry, fields);
      continue;
    }
    const std::size_t colon = word.find(':');
    FieldType field{std::string(word.substr(0, colon)), word[colon + 1], 1, word.ends_with("[]")};
    if (word.back() == ']' && !field.variable) {
      field.count = 0;
      for (const char c : word.substr(colon + 3)) {
        if (c != ']') field.count = 10 * field.count + static_cast<std::size_t>(c - '0');
      }
    }
    fields.push_back(std::move(field));
  }
}

std::vector<FieldType> fieldsOf(int number) {
  for (const NodeType& type : kTypes) {
    if (type.number != number) continue;
    std::vector<FieldType> fields;
    addFields(type.fields, fields);
    return fields;
  }
  throw std::logic_error("the XT writer has no node type " + std::to_string(number));
}

// How many numbers make one value, and how many bytes hold one of them.
std::pair<std::size_t, unsigned> sizeOf(char letter) {
  switch (letter) {
    case 'v':
    case 'h':
      return {3, 8};
    case 'i':
      return {2, 8};
    case 'f':
      return {1, 8};
    case 'd':
      return {1, 4};
    case 'n':
      return {1, 2};
    default:
      return {1, 1};
  }
}

// index + 1 in 16 bits, or -(remainder) and the quotient by 32767.
void writePointer(ByteWriter& out, std::uint32_t index) {
  const std::uint32_t value = index + 1;
  if (value <= kPointerBase) {
    out.i16(static_cast<int>(value));
    return;
  }
  const std::uint32_t rest = value % kPointerBase == 0 ? kPointerBase : value % kPointerBase;
  out.i16(-static_cast<int>(rest));
  out.i16(static_cast<int>((value - rest) / kPointerBase));
}

void writeText(ByteWriter& out, std::string_view text) {
  for (const char c : text) out.u8(static_cast<unsigned char>(c));
}

}  // namespace

XtWriter::Id XtWriter::add(int type, std::initializer_list<Field> fields) {
  nodes_.push_back({type, {}});
  for (const Field& field : fields) nodes_.back().values[field.name] = field.numbers;
  return static_cast<Id>(nodes_.size());
}

void XtWriter::number(Id node, const std::string& field, double value, std::size_t k) {
  auto& values = nodes_[node - 1].values[field];
  if (values.size() <= k) values.resize(k + 1);
  values[k] = value;
}

void XtWriter::vector(Id node, const std::string& field, const Point& value, std::size_t k) {
  number(node, field, value.x, 3 * k);
  number(node, field, value.y, 3 * k + 1);
  number(node, field, value.z, 3 * k + 2);
}

void XtWriter::numbers(Id node, const std::string& field, const std::vector<double>& values) {
  nodes_[node - 1].values[field] = values;
}

void XtWriter::writeNode(ByteWriter& out, const Node& node, std::uint32_t index, bool first_of_type) const {
  const std::vector<FieldType> fields = fieldsOf(node.type);
  out.i16(node.type);
  if (first_of_type && embedded_) out.u8(255);
  const auto valuesOf = [&](const FieldType& field) {
    const auto found = node.values.find(field.name);
    return found == node.values.end() ? std::vector<double>() : found->second;
  };
  if (fields.back().variable) {
    out.i32(static_cast<std::int64_t>(valuesOf(fields.back()).size() / sizeOf(fields.back().letter).first));
  }
  writePointer(out, index + shift_);
  const bool has_user_fields = fields[0].name == "node_id" || fields[0].name == "highest_node_id";
  const auto writeUserFields = [&](bool before) {
    if (!has_user_fields || user_fields_.second != before) return;
    for (int i = 0; i < user_fields_.first; ++i) out.i32(1000 + i);
  };
  writeUserFields(true);
  std::size_t used = 0;
  for (const FieldType& field : fields) {
    std::vector<double> values = valuesOf(field);
    if (node.values.contains(field.name)) ++used;
    const auto [parts, bytes] = sizeOf(field.letter);
    if (!field.variable) {
      values.resize(field.count * parts, !node.values.contains(field.name) && bytes == 8 ? kUnsetReal : 0);
    }
    for (const double value : values) {
      if (field.letter == 'p') {
        const auto target = static_cast<std::uint32_t>(value);
        writePointer(out, target == 0 ? 0 : target + shift_);
      } else if (bytes == 8) {
        out.f64(value);
      } else if (bytes == 4) {
        out.i32(static_cast<std::int64_t>(value));
      } else if (bytes == 2) {
        out.i16(static_cast<int>(value));
      } else {
        out.u8(static_cast<unsigned>(static_cast<int>(value)) & 0xffU);
      }
    }
  }
  if (used != node.values.size()) {
    throw std::logic_error("a field that node type " + std::to_string(node.type) + " lacks");
  }
  writeUserFields(false);
}

Bytes XtWriter::stream() const {
  ByteWriter out(true);
  out.u32(0x50530000U);
  constexpr std::string_view kHeader = ": TRANSMIT FILE created by modeller version 2601251";
  out.i16(static_cast<int>(kHeader.size()));
  writeText(out, kHeader);
  const std::string_view schema = embedded_ ? "SCH_2601251_26105_13006" : "SCH_2601251_26105";
  out.i32(static_cast<std::int64_t>(schema.size()));
  writeText(out, schema);
  if (embedded_) out.i16(194);  // node types
  out.i32(user_fields_.first);
  std::set<int> seen;
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    const bool first = seen.insert(nodes_[i].type).second;
    writeNode(out, nodes_[i], static_cast<std::uint32_t>(i + 1), first);
  }
  out.i16(1);
  out.i16(1);
  return out.take();
}

}  // namespace loftbay::maker
