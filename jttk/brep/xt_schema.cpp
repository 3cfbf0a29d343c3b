// The base schema as a table of text, and the letters of a delta: C copies the next base field, D drops
// it, I inserts a new field, A appends one, Z ends.
#include "jttk/brep/xt_schema.h"

#include <array>
#include <charconv>

#include "jttk/brep/xt_node_types.h"

namespace jttk::brep {
namespace {

struct BaseType {
  int number;
  const char* name;
  const char* fields;  // "name:letter name:letter[3] name:letter[]"; $ stands for the fields of all geometry
};

// Instead of the number of fields in a delta: the type is that of the base schema.
constexpr std::uint8_t kUnchangedType = 255;
// An index that is too large for one I16 is written as quotient and rest by this.
constexpr std::int32_t kPointerDivisor = 32767;

constexpr std::string_view kGeometryFields =
    "node_id:d attributes_features:p owner:p next:p previous:p geometric_owner:p sense:c";

constexpr auto kBaseTypes = std::to_array<BaseType>({
    {10, "ASSEMBLY",
     "highest_node_id:d attributes_features:p attribute_chains:p list:p surface:p curve:p point:p key:p "
     "res_size:f res_linear:f ref_instance:p next:p previous:p state:u owner:p type:u sub_instance:p"},
    {xt_type::kInstance, "INSTANCE",
     "node_id:d attributes_features:p type:u part:p transform:p assembly:p next_in_part:p prev_in_part:p "
     "next_of_part:p prev_of_part:p"},
    {xt_type::kBody, "BODY",
     "highest_node_id:d attributes_features:p attribute_chains:p surface:p curve:p point:p key:p res_size:f "
     "res_linear:f ref_instance:p next:p previous:p state:u owner:p body_type:u nom_geom_state:u shell:p "
     "boundary_surface:p boundary_curve:p boundary_point:p region:p edge:p vertex:p"},
    {xt_type::kShell, "SHELL",
     "node_id:d attributes_features:p body:p next:p face:p edge:p vertex:p region:p front_face:p"},
    {xt_type::kFace, "FACE",
     "node_id:d attributes_features:p tolerance:f next:p previous:p loop:p shell:p surface:p sense:c "
     "next_on_surface:p previous_on_surface:p next_front:p previous_front:p front_shell:p"},
    {xt_type::kLoop, "LOOP", "node_id:d attributes_features:p fin:p face:p next:p"},
    {xt_type::kEdge, "EDGE",
     "node_id:d attributes_features:p tolerance:f fin:p previous:p next:p curve:p next_on_curve:p "
     "previous_on_curve:p owner:p"},
    {xt_type::kFin, "FIN",
     "attributes_features:p loop:p forward:p backward:p vertex:p other:p edge:p curve:p next_at_vx:p "
     "sense:c"},
    {xt_type::kVertex, "VERTEX",
     "node_id:d attributes_features:p fin:p previous:p next:p point:p tolerance:f owner:p"},
    {xt_type::kRegion, "REGION", "node_id:d attributes_features:p body:p next:p previous:p shell:p type:c"},
    {xt_type::kPoint, "POINT", "node_id:d attributes_features:p owner:p next:p previous:p pvec:v"},
    {xt_type::kLine, "LINE", "$ pvec:v direction:v"},
    {xt_type::kCircle, "CIRCLE", "$ centre:v normal:v x_axis:v radius:f"},
    {xt_type::kEllipse, "ELLIPSE", "$ centre:v normal:v x_axis:v major_radius:f minor_radius:f"},
    {xt_type::kIntersection, "INTERSECTION", "$ surface:p[2] chart:p start:p end:p"},
    {xt_type::kChart, "CHART",
     "base_parameter:f base_scale:f chart_count:d chordal_error:f angular_error:f parameter_error:f[2] "
     "hvec:h[]"},
    {xt_type::kLimit, "LIMIT", "type:c hvec:h[]"},
    {xt_type::kBsplineVertices, "BSPLINE_VERTICES", "vertices:f[]"},
    {xt_type::kPlane, "PLANE", "$ pvec:v normal:v x_axis:v"},
    {xt_type::kCylinder, "CYLINDER", "$ pvec:v axis:v radius:f x_axis:v"},
    {xt_type::kCone, "CONE", "$ pvec:v axis:v radius:f sin_half_angle:f cos_half_angle:f x_axis:v"},
    {xt_type::kSphere, "SPHERE", "$ centre:v radius:f axis:v x_axis:v"},
    {xt_type::kTorus, "TORUS", "$ centre:v axis:v major_radius:f minor_radius:f x_axis:v"},
    {xt_type::kBlendedEdge, "BLENDED_EDGE",
     "$ blend_type:c surface:p[2] spine:p range:f[2] thumb_weight:f[2] boundary:p[2] start:p end:p"},
    {59, "BLEND_BOUND", "$ boundary:n blend:p"},
    {xt_type::kOffsetSurface, "OFFSET_SURF", "$ check:c true_offset:l surface:p offset:f scale:f"},
    {xt_type::kSweptSurface, "SWEPT_SURF", "$ section:p sweep:v scale:f"},
    {xt_type::kSpunSurface, "SPUN_SURF",
     "$ profile:p base:v axis:v start:v end:v start_param:f end_param:f x_axis:v scale:f"},
    {70, "LIST",
     "node_id:d owner:p next:p previous:p unused_1:u list_length:d block_length:d unused_2:d list_block:p"},
    {74, "POINTER_LIS_BLOCK", "n_entries:d next_block:p entries:p[]"},
    {79, "ATT_DEF_ID", "string:c[]"},
    {xt_type::kAttributeDefinition, "ATTRIB_DEF",
     "next:p identifier:p type_id:d actions:u[8] field_names:p legal_owners:l[14] fields:u[]"},
    {xt_type::kAttribute, "ATTRIBUTE",
     "node_id:d definition:p owner:p next:p previous:p next_of_type:p previous_of_type:p fields:p[]"},
    {82, "INT_VALUES", "values:d[]"},
    {xt_type::kRealValues, "REAL_VALUES", "values:f[]"},
    {84, "CHAR_VALUES", "values:c[]"},
    {85, "POINT_VALUES", "values:v[]"},
    {86, "VECTOR_VALUES", "values:v[]"},
    {87, "AXIS_VALUES", "values:v[]"},
    {88, "TAG_VALUES", "values:d[]"},
    {89, "DIRECTION_VALUES", "values:v[]"},
    {90, "FEATURE", "node_id:d attributes_features:p owner:p next:p previous:p type:u first_member:p"},
    {91, "MEMBER_OF_FEATURE",
     "node_id:d owning_feature:p owner:p next:p previous:p next_member:p previous_member:p"},
    {98, "UNICODE_VALUES", "values:w[]"},
    {99, "FIELD_NAMES", "names:p[]"},
    {100, "TRANSFORM",
     "node_id:d owner:p next:p previous:p rotation:f[9] translation:v scale:f flag:d perspective:v"},
    {101, "WORLD",
     "assembly:p attribute:p body:p transform:p surface:p curve:p point:p alive:l attrib_def:p highest_id:d "
     "current_id:d"},
    {102, "KEY", "string:c[]"},
    {120, "PE_SURF", "$ type:c data:p tf:p internal_geom:p[]"},
    {121, "INT_PE_DATA", "geom_type:d real_array:p int_array:p"},
    {122, "EXT_PE_DATA", "key:p real_array:p int_array:p"},
    {xt_type::kBSurface, "B_SURFACE", "$ nurbs:p data:p"},
    {125, "SURFACE_DATA",
     "original_uint:i original_vint:i extended_uint:i extended_vint:i self_int:u original_u_start:c "
     "original_u_end:c original_v_start:c original_v_end:c extended_u_start:c extended_u_end:c "
     "extended_v_start:c extended_v_end:c analytic_form_type:c swept_form_type:c spun_form_type:c "
     "blend_form_type:c analytic_form:p swept_form:p spun_form:p blend_form:p"},
    {xt_type::kNurbsSurface, "NURBS_SURF",
     "u_periodic:l v_periodic:l u_degree:n v_degree:n n_u_vertices:d n_v_vertices:d u_knot_type:u "
     "v_knot_type:u n_u_knots:d n_v_knots:d rational:l u_closed:l v_closed:l surface_form:u vertex_dim:n "
     "bspline_vertices:p u_knot_mult:p v_knot_mult:p u_knots:p v_knots:p"},
    {xt_type::kKnotMultiplicities, "KNOT_MULT", "mult:n[]"},
    {xt_type::kKnotSet, "KNOT_SET", "knots:f[]"},
    {130, "PE_CURVE", "$ type:c data:p tf:p internal_geom:p[]"},
    {xt_type::kTrimmedCurve, "TRIMMED_CURVE", "$ basis_curve:p point_1:v point_2:v parm_1:f parm_2:f"},
    {xt_type::kBCurve, "B_CURVE", "$ nurbs:p data:p"},
    {135, "CURVE_DATA", "self_int:u analytic_form:p"},
    {xt_type::kNurbsCurve, "NURBS_CURVE",
     "degree:n n_vertices:d vertex_dim:n n_knots:d knot_type:u periodic:l closed:l rational:l curve_form:u "
     "bspline_vertices:p knot_mult:p knots:p"},
    {xt_type::kSpCurve, "SP_CURVE", "$ surface:p b_curve:p original:p tolerance_to_original:f"},
    {141, "GEOMETRIC_OWNER", "owner:p next:p previous:p shared_geometry:p"},
    {163, "HELIX_SU_FORM", "axis_pt:v axis_dir:v hand:c turns:i pitch:f gap:f tol:f"},
    {184, "HELIX_CU_FORM", "axis_pt:v axis_dir:v point:v hand:c turns:i pitch:f tol:f"},
});

XtField fieldFromText(std::string_view text) {
  XtField field;
  const std::size_t colon = text.find(':');
  field.name = text.substr(0, colon);
  field.letter = text[colon + 1];
  const std::string_view size = text.substr(colon + 2);  // "", "[]" or "[n]"
  if (size == "[]") {
    field.variable = true;
  } else if (!size.empty()) {
    std::from_chars(size.data() + 1, size.data() + size.size() - 1, field.count);
  }
  return field;
}

void appendFields(std::string_view text, std::vector<XtField>& fields) {
  while (!text.empty()) {
    const std::size_t end = text.find(' ');
    const std::string_view word = text.substr(0, end);
    if (word == "$") {
      appendFields(kGeometryFields, fields);
    } else {
      fields.push_back(fieldFromText(word));
    }
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

std::string readShortText(ByteReader& reader, const char* what) {
  const std::uint8_t size = reader.u8(what);
  const auto bytes = reader.take(size, what);
  std::string text;
  for (const std::byte b : bytes) text += static_cast<char>(b);
  return text;
}

XtField readFieldRecord(ByteReader& reader) {
  XtField field;
  field.name = readShortText(reader, "field name");
  const std::int16_t pointer_class = reader.i16("class of a field");
  const std::uint32_t count = readXtPointer(reader, "count of a field");
  field.letter = 'p';
  if (pointer_class == 0) {
    const std::string letter = readShortText(reader, "letter of a field");
    field.letter = letter.size() == 1 ? letter[0] : '\0';
    if (field.letter != 'p' && xtValueBytes(field.letter) == 0) {
      reader.setFailed("letter of a field", "is not one that exists");
    }
  }
  field.variable = count == 1;
  if (field.variable) reader.skip(1, "mark of a variable field");
  if (count > 1) field.count = count;
  return field;
}

Result<XtNodeType> readNewType(ByteReader& reader, int number, std::uint8_t field_count) {
  XtNodeType type;
  type.number = number;
  type.name = readShortText(reader, "name of a node type");
  (void)readShortText(reader, "description of a node type");
  for (int i = 0; i < field_count && reader.ok(); ++i) type.fields.push_back(readFieldRecord(reader));
  if (!reader.ok()) return reader.unexpected();
  return type;
}

Result<void> applyLetters(ByteReader& reader, const XtNodeType& base, std::uint8_t field_count,
                          XtNodeType& type) {
  std::size_t next = 0;
  for (;;) {
    const std::uint64_t start = reader.offset();
    const char letter = static_cast<char>(reader.u8("letter of a schema delta"));
    if (!reader.ok()) return reader.unexpected();
    if (letter == 'Z') break;
    if (letter == 'C' || letter == 'D') {
      if (next >= base.fields.size()) return fail("schema delta uses more fields than the type has", start);
      if (letter == 'C') type.fields.push_back(base.fields[next]);
      ++next;
    } else if (letter == 'I' || letter == 'A') {
      type.fields.push_back(readFieldRecord(reader));
    } else {
      return fail("unknown letter in a schema delta", start);
    }
    if (type.fields.size() > field_count) return fail("schema delta gives too many fields", start);
  }
  if (next != base.fields.size() || type.fields.size() != field_count) {
    return fail("schema delta leaves fields over", reader.offset());
  }
  return {};
}

}  // namespace

std::size_t xtValueBytes(char letter) {
  switch (letter) {
    case 'u':
    case 'c':
    case 'l':
      return 1;
    case 'n':
    case 'w':
      return 2;
    case 'd':
      return 4;
    case 'f':
      return 8;
    case 'i':
      return 16;
    case 'v':
    case 'h':
      return 24;
    case 'b':
      return 48;
    default:
      return 0;
  }
}

int XtNodeType::find(std::string_view field_name) const {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].name == field_name) return static_cast<int>(i);
  }
  return -1;
}

std::optional<XtNodeType> baseXtNodeType(int number) {
  for (const BaseType& base : kBaseTypes) {
    if (base.number != number) continue;
    XtNodeType type;
    type.number = number;
    type.name = base.name;
    appendFields(base.fields, type.fields);
    return type;
  }
  return std::nullopt;
}

Result<XtNodeType> readXtTypeDelta(ByteReader& reader, int number) {
  const std::uint64_t start = reader.offset();
  const std::uint8_t field_count = reader.u8("schema delta");
  if (!reader.ok()) return reader.unexpected();
  std::optional<XtNodeType> base = baseXtNodeType(number);
  if (field_count == kUnchangedType) {
    if (!base) return fail("node type " + std::to_string(number) + " is not known", start);
    return *std::move(base);
  }
  if (!base) return readNewType(reader, number, field_count);
  XtNodeType type;
  type.number = number;
  type.name = base->name;
  const Result<void> applied = applyLetters(reader, *base, field_count, type);
  if (!applied) return tl::unexpected<Error>(applied.error().in(type.name));
  for (std::size_t i = 0; i + 1 < type.fields.size(); ++i) {
    if (type.fields[i].variable) return fail(type.name + ": a variable field is not the last", start);
  }
  return type;
}

std::uint32_t readXtPointer(ByteReader& reader, const char* what) {
  const std::int32_t a = reader.i16(what);
  if (a > 0) return static_cast<std::uint32_t>(a) - 1;
  if (a == 0) {
    reader.setFailed(what, "is a pointer of 0");
    return 0;
  }
  const std::int32_t q = reader.i16(what);
  if (q < 0) reader.setFailed(what, "is a pointer out of range");
  if (!reader.ok()) return 0;
  return static_cast<std::uint32_t>(q * kPointerDivisor - a) - 1;
}

}  // namespace jttk::brep
