// A record is: I16 type, a schema delta at the first node of the type, I32 count where the type ends in a
// variable field, the node's index, its fields. Type 1 with index 0 ends the stream.
#include "jttk/brep/xt_nodes.h"

#include <algorithm>
#include <map>

#include "jttk/brep/xt_node_types.h"

namespace jttk::brep {
namespace {

// Offsets in a stream are kept in 32 bits.
constexpr std::size_t kMaximumBytes = std::size_t{1} << 31;
constexpr std::int32_t kMaximumUserFields = 16;
constexpr std::uint32_t kNeutralBinaryMark = 0x50530000U;  // "PS" and two zeros
constexpr const char* kBaseSchema = "13006";
// Characters of a text from the file that an error repeats at most.
constexpr std::size_t kQuotedKey = 64;
constexpr std::size_t kQuotedBase = 16;

double bigReal(const std::byte* p) {
  ByteReader reader({p, 8}, ByteOrder::Big);
  return reader.f64("");
}

// Values of one letter side by side: pointers have no fixed size.
std::uint32_t pointerAt(const std::byte* p, const std::byte* end, std::uint32_t k) {
  ByteReader reader({p, static_cast<std::size_t>(end - p)}, ByteOrder::Big);
  std::uint32_t index = 0;
  for (std::uint32_t i = 0; i <= k; ++i) index = readXtPointer(reader, "pointer");
  return reader.ok() ? index : 0;
}

std::string readText(ByteReader& reader, std::size_t size, const char* what) {
  std::string text;
  for (const std::byte b : reader.take(size, what)) text += static_cast<char>(b);
  return text;
}

}  // namespace

std::uint32_t XtNode::index() const { return nodes_ ? nodes_->rows_[row_].index : 0; }
int XtNode::type() const { return nodes_ ? nodes_->types_[nodes_->rows_[row_].type].number : 0; }
const std::string& XtNode::typeName() const { return nodes_->types_[nodes_->rows_[row_].type].name; }
std::uint64_t XtNode::offset() const {
  return nodes_ ? nodes_->base_offset_ + nodes_->rows_[row_].offset : 0;
}
std::uint32_t XtNode::count() const { return nodes_ ? nodes_->rows_[row_].count : 0; }

const std::byte* XtNode::find(std::string_view field, std::uint32_t k, char& letter) const {
  if (!nodes_) return nullptr;
  const XtNodes::Row& row = nodes_->rows_[row_];
  const XtNodeType& type = nodes_->types_[row.type];
  const int i = type.find(field);
  if (i < 0) return nullptr;
  const XtField& found = type.fields[static_cast<std::size_t>(i)];
  if (k >= (found.variable ? row.count : found.count)) return nullptr;
  letter = found.letter;
  return nodes_->bytes_.data() + nodes_->field_starts_[row.first_field + static_cast<std::size_t>(i)] +
         k * xtValueBytes(letter);
}

double XtNode::real(std::string_view field, std::uint32_t k) const {
  char letter = 0;
  const std::byte* const p = find(field, k, letter);
  return p && letter == 'f' ? bigReal(p) : 0;
}

Vec3 XtNode::vector(std::string_view field, std::uint32_t k) const {
  char letter = 0;
  const std::byte* const p = find(field, k, letter);
  if (!p || (letter != 'v' && letter != 'h')) return {};
  return {bigReal(p), bigReal(p + 8), bigReal(p + 16)};
}

std::int32_t XtNode::integer(std::string_view field, std::uint32_t k) const {
  char letter = 0;
  const std::byte* const p = find(field, k, letter);
  if (!p) return 0;
  ByteReader reader({p, xtValueBytes(letter)}, ByteOrder::Big);
  switch (letter) {
    case 'u':
    case 'c':
    case 'l':
      return reader.u8("");
    case 'n':
      return reader.i16("");
    case 'w':
      return reader.u16("");
    case 'd':
      return reader.i32("");
    default:
      return 0;
  }
}

XtNode XtNode::pointer(std::string_view field, std::uint32_t k) const {
  char letter = 0;
  const std::byte* const p = find(field, k, letter);
  if (!p || letter != 'p') return {};
  return nodes_->find(pointerAt(p, nodes_->bytes_.data() + nodes_->bytes_.size(), k));
}

XtNode XtNode::pointer(std::string_view field, int expected_type, std::uint32_t k) const {
  const XtNode node = pointer(field, k);
  return node.type() == expected_type ? node : XtNode();
}

std::vector<double> XtNode::reals(std::string_view field, std::size_t limit) const {
  char letter = 0;
  const std::byte* const p = find(field, 0, letter);
  if (!p || letter != 'f') return {};
  const XtField& found =
      nodes_->types_[nodes_->rows_[row_].type]
          .fields[static_cast<std::size_t>(nodes_->types_[nodes_->rows_[row_].type].find(field))];
  const std::size_t available = found.variable ? count() : found.count;
  std::vector<double> values(std::min(available, limit));
  for (std::size_t k = 0; k < values.size(); ++k) values[k] = bigReal(p + 8 * k);
  return values;
}

XtNode XtNodes::find(std::uint32_t index) const {
  const auto found = std::lower_bound(by_index_.begin(), by_index_.end(), std::pair{index, 0U});
  return found != by_index_.end() && found->first == index ? XtNode(this, found->second) : XtNode();
}

Result<void> XtNodes::readHeader(ByteReader& reader) {
  const std::uint64_t start = reader.offset();
  if (reader.u32("XT mark") != kNeutralBinaryMark)
    return fail("XT data are not of the neutral binary form", start);
  const std::int16_t text_size = reader.i16("length of the XT header text");
  if (text_size < 0) return fail("length of the XT header text is negative", reader.offset());
  reader.skip(static_cast<std::size_t>(text_size), "XT header text");
  const std::uint64_t key_offset = reader.offset();
  schema_ = readText(reader, reader.count("length of the XT schema key", 1), "XT schema key");
  if (!reader.ok()) return reader.unexpected();
  // "SCH_<version>_<schema>" or "SCH_<version>_<schema>_<base>": with a base the schema is embedded.
  const auto parts = std::count(schema_.begin(), schema_.end(), '_');
  if (schema_.rfind("SCH_", 0) != 0 || parts < 2 || parts > 3) {
    return fail("XT schema key is \"" + schema_.substr(0, kQuotedKey) + "\"", key_offset);
  }
  embedded_ = parts == 3;
  if (embedded_) {
    if (schema_.substr(schema_.rfind('_') + 1) != kBaseSchema) {
      return fail(
          "XT schema is based on " + schema_.substr(schema_.rfind('_') + 1, kQuotedBase) + ", not on 13006",
          key_offset);
    }
    reader.skip(2, "number of XT node types");
  }
  const std::uint64_t size_offset = reader.offset();
  const std::int32_t user_fields = reader.i32("size of XT user fields");
  if (!reader.ok()) return reader.unexpected();
  if (user_fields < 0 || user_fields > kMaximumUserFields) {
    return fail("size of XT user fields is " + std::to_string(user_fields), size_offset);
  }
  user_fields_.count = static_cast<std::size_t>(user_fields);
  return {};
}

Result<void> XtNodes::readFields(ByteReader& reader, const XtNodeType& type, Row& row) {
  const std::uint64_t start = base_offset_;
  const bool has_user_fields =
      user_fields_.count > 0 && (type.find("node_id") >= 0 || type.find("highest_node_id") >= 0 ||
                                 (type.number == xt_type::kFin && user_fields_.of_sides));
  if (has_user_fields && user_fields_.before) reader.skip(4 * user_fields_.count, "XT user fields");
  row.first_field = static_cast<std::uint32_t>(field_starts_.size());
  for (const XtField& field : type.fields) {
    field_starts_.push_back(static_cast<std::uint32_t>(reader.offset() - start));
    const std::uint64_t values = field.variable ? row.count : field.count;
    if (field.letter == 'p') {
      for (std::uint64_t k = 0; k < values && reader.ok(); ++k) (void)readXtPointer(reader, "XT pointer");
    } else {
      reader.skip(values * xtValueBytes(field.letter), "XT field");
    }
    if (!reader.ok()) return tl::unexpected<Error>(reader.error().in(type.name + "." + field.name));
  }
  if (has_user_fields && !user_fields_.before) reader.skip(4 * user_fields_.count, "XT user fields");
  return {};
}

Result<void> XtNodes::readNodes(ByteReader reader) {
  std::map<int, std::uint32_t> type_rows;
  types_.clear();
  rows_.clear();
  field_starts_.clear();
  for (;;) {
    Row row;
    const std::uint64_t start_of_node = reader.offset();
    row.offset = static_cast<std::uint32_t>(start_of_node - base_offset_);
    const std::int16_t number = reader.i16("XT node type");
    if (!reader.ok()) return reader.unexpected();
    if (number == xt_type::kEndOfStream) break;
    if (number < 1) return fail("XT node type is " + std::to_string(number), start_of_node);
    auto known = type_rows.find(number);
    if (known == type_rows.end()) {
      if (embedded_) {
        Result<XtNodeType> type = readXtTypeDelta(reader, number);
        if (!type) return passOn(type);
        types_.push_back(*std::move(type));
      } else {
        std::optional<XtNodeType> type = baseXtNodeType(number);
        if (!type) return fail("node type " + std::to_string(number) + " is not known", start_of_node);
        types_.push_back(*std::move(type));
      }
      known = type_rows.emplace(number, static_cast<std::uint32_t>(types_.size() - 1)).first;
    }
    row.type = known->second;
    const XtNodeType& type = types_[row.type];
    if (type.hasVariableField()) {
      row.count = reader.count("count of an XT node",
                               std::max<std::size_t>(1, xtValueBytes(type.fields.back().letter)));
    }
    row.index = readXtPointer(reader, "XT node index");
    if (!reader.ok()) return tl::unexpected<Error>(reader.error().in(type.name));
    if (row.index == 0) return fail(type.name + ": node index is 0", start_of_node);
    Result<void> fields = readFields(reader, type, row);
    if (!fields) return fields;
    rows_.push_back(row);
  }
  if (readXtPointer(reader, "XT end mark") != 0 || !reader.ok()) {
    return fail("the XT stream does not end in its end mark", reader.offset());
  }
  return {};
}

Result<XtNodes> XtNodes::read(std::span<const std::byte> bytes, std::uint64_t base_offset) {
  if (bytes.size() > kMaximumBytes) return fail("XT data are larger than 2 GB", base_offset);
  XtNodes nodes;
  nodes.bytes_ = bytes;
  nodes.base_offset_ = base_offset;
  ByteReader reader(bytes, ByteOrder::Big, base_offset);
  if (const Result<void> header = nodes.readHeader(reader); !header) {
    return passOn(header);
  }
  Result<void> read = nodes.readNodes(reader);
  // Files do not state which nodes have user fields, and where: the layout that reads up to the end mark is
  // used.
  for (const auto& [before, of_sides] : {std::pair{true, false}, {false, true}, {true, true}}) {
    if (read || nodes.user_fields_.count == 0) break;
    nodes.user_fields_.before = before;
    nodes.user_fields_.of_sides = of_sides;
    if (nodes.readNodes(reader)) read = {};
  }
  if (!read) return passOn(read);
  nodes.by_index_.reserve(nodes.rows_.size());
  for (std::size_t i = 0; i < nodes.rows_.size(); ++i) {
    nodes.by_index_.emplace_back(nodes.rows_[i].index, static_cast<std::uint32_t>(i));
  }
  std::sort(nodes.by_index_.begin(), nodes.by_index_.end());
  for (std::size_t i = 1; i < nodes.by_index_.size(); ++i) {
    if (nodes.by_index_[i].first == nodes.by_index_[i - 1].first) {
      return fail("two XT nodes have the index " + std::to_string(nodes.by_index_[i].first),
                  nodes.at(nodes.by_index_[i].second).offset());
    }
  }
  return nodes;
}

}  // namespace jttk::brep
