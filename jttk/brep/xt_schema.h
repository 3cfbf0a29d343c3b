// Node types of an XT stream: names and fields of each, from the base schema 13006, changed by the
// deltas that a stream with an embedded schema carries at the first node of a type.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jttk/file/byte_reader.h"
#include "jttk/file/error.h"

namespace jttk::brep {

// Letters: u c l one byte; n I16, w U16; d I32; f F64; i interval (2 F64); v and h three F64; b six F64;
// p pointer.
struct XtField {
  std::string name;
  char letter = 0;
  std::uint32_t count = 1;  // 1, or the size of a fixed array
  bool variable = false;    // as many values as the node says; only the last field can be
};

struct XtNodeType {
  int number = 0;
  std::string name;
  std::vector<XtField> fields;

  [[nodiscard]] bool hasVariableField() const { return !fields.empty() && fields.back().variable; }
  // -1 when the type has no such field.
  [[nodiscard]] int find(std::string_view field_name) const;
};

// Bytes of one value; 0 for pointers (2 or 4 bytes) and for letters that do not exist.
std::size_t xtValueBytes(char letter);

// The type as the base schema has it, nothing when it is not listed there.
std::optional<XtNodeType> baseXtNodeType(int number);

// Reads the delta at the first node of type `number` and gives the type as this stream writes it.
Result<XtNodeType> readXtTypeDelta(ByteReader& reader, int number);

// Short form I16 index + 1; a negative I16 a is followed by an I16 q: index + 1 = q * 32767 - a.
std::uint32_t readXtPointer(ByteReader& reader, const char* what);

}  // namespace jttk::brep
