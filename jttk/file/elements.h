// The elements of a scene graph segment, one after the other: I32 length, GUID of the kind, U8 base type,
// I32 object id, body. (In 8.x the id counts as the body's first field; the bytes are the same.) The next
// element begins at the stated length, whatever was understood of the body.
#pragma once

#include <cstdint>

#include "jttk/file/byte_reader.h"
#include "jttk/file/jt_file.h"

namespace jttk {

struct Element {
  Guid kind;
  std::uint8_t base_type = 0;  // of use only where the kind is not known: one writer leaves it 0
  std::int32_t id = 0;
  std::uint64_t offset = 0;  // of the length field
  ByteReader body{{}};
};

class ElementReader {
 public:
  explicit ElementReader(ByteReader& reader) : reader_(reader) {}

  // Moves on to the next element. False at the end-of-elements mark, and on damage: then the reader is not
  // ok().
  bool next(Element& element);

 private:
  ByteReader& reader_;
};

// The version number that starts a data collection: none in 8.x (answered as 1), I16 in 9.x, U8 from 10.0.
inline int readVersion(ByteReader& body, Version version) {
  if (version.major < 9) return 1;
  return version.major == 9 ? body.i16("version") : body.u8("version");
}

}  // namespace jttk
