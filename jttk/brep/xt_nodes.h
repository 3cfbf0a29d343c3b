// The nodes of an XT stream (neutral binary, big-endian) as a flat table: where each field of each node
// starts. Values are decoded when they are asked for, by field name, since the positions of fields differ
// from schema to schema.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jttk/brep/vec.h"
#include "jttk/brep/xt_schema.h"
#include "jttk/file/error.h"

namespace jttk::brep {

class XtNodes;

// One node. Fields that the node's type lacks, or values past an array's end, read as 0 or null.
class XtNode {
 public:
  XtNode() = default;
  XtNode(const XtNodes* nodes, std::uint32_t row) : nodes_(nodes), row_(row) {}
  [[nodiscard]] explicit operator bool() const { return nodes_ != nullptr; }
  [[nodiscard]] std::uint32_t row() const { return row_; }
  [[nodiscard]] std::uint32_t index() const;
  [[nodiscard]] int type() const;
  [[nodiscard]] const std::string& typeName() const;
  [[nodiscard]] std::uint64_t offset() const;
  // Values of the variable field.
  [[nodiscard]] std::uint32_t count() const;

  [[nodiscard]] double real(std::string_view field, std::uint32_t k = 0) const;
  [[nodiscard]] Vec3 vector(std::string_view field, std::uint32_t k = 0) const;
  [[nodiscard]] std::int32_t integer(std::string_view field, std::uint32_t k = 0) const;
  [[nodiscard]] char letter(std::string_view field) const { return static_cast<char>(integer(field)); }
  [[nodiscard]] XtNode pointer(std::string_view field, std::uint32_t k = 0) const;
  // The same, but null when the node there is of another type.
  [[nodiscard]] XtNode pointer(std::string_view field, int expected_type, std::uint32_t k = 0) const;
  // All values of an `f` field (of a variable or fixed array), at most `limit`.
  [[nodiscard]] std::vector<double> reals(std::string_view field, std::size_t limit) const;

 private:
  // Start of value k of the field; nullptr when there is none. `letter` gets the field's letter.
  const std::byte* find(std::string_view field, std::uint32_t k, char& letter) const;

  const XtNodes* nodes_ = nullptr;
  std::uint32_t row_ = 0;
};

class XtNodes {
 public:
  // Reads the whole stream. `bytes` must stay alive as long as the table. Everything that loses step (an
  // unknown type, a repeated index, the end of the data) is an error.
  static Result<XtNodes> read(std::span<const std::byte> bytes, std::uint64_t base_offset);

  [[nodiscard]] std::size_t size() const { return rows_.size(); }
  [[nodiscard]] std::size_t sizeBytes() const { return bytes_.size(); }
  [[nodiscard]] XtNode at(std::size_t row) const { return {this, static_cast<std::uint32_t>(row)}; }
  // A null node for index 0 and for an index that no node has.
  [[nodiscard]] XtNode find(std::uint32_t index) const;
  // "SCH_<version>_<schema>_<base schema>".
  [[nodiscard]] const std::string& schema() const { return schema_; }

 private:
  friend class XtNode;
  struct Row {
    std::uint32_t index = 0;
    std::uint32_t type = 0;  // in types_
    std::uint32_t first_field = 0;
    std::uint32_t count = 0;
    std::uint32_t offset = 0;
  };
  // Integers of the program that wrote the stream, beside the fields of some nodes.
  struct UserFields {
    std::size_t count = 0;
    bool before = false;    // the fields of a node, else behind them
    bool of_sides = false;  // FIN nodes have them too, not only nodes with an identifier
  };
  Result<void> readHeader(ByteReader& reader);
  Result<void> readNodes(ByteReader reader);
  Result<void> readFields(ByteReader& reader, const XtNodeType& type, Row& row);

  std::span<const std::byte> bytes_;
  std::uint64_t base_offset_ = 0;
  std::string schema_;
  bool embedded_ = false;
  UserFields user_fields_;
  std::vector<XtNodeType> types_;
  std::vector<Row> rows_;
  std::vector<std::uint32_t> field_starts_;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> by_index_;  // index, row
};

}  // namespace jttk::brep
