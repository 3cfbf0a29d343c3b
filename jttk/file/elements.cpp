#include "jttk/file/elements.h"

#include <algorithm>

#include "jttk/file/object_ids.h"

namespace jttk {

namespace {
constexpr std::int32_t kGuidBytes = 16;
constexpr std::int32_t kElementHeaderBytes = 21;  // GUID, base type, id
}  // namespace

bool ElementReader::next(Element& element) {
  for (;;) {
    element.offset = reader_.offset();
    const std::int32_t length = reader_.i32("element length");
    if (!reader_.ok()) return false;
    if (length < kGuidBytes) {
      reader_.setFailed("element length", "is smaller than an element");
      return false;
    }
    ByteReader body = reader_.sub(static_cast<std::size_t>(length), "element");
    if (!reader_.ok()) return false;
    element.kind = body.guid("element kind");
    if (element.kind == object_id::kEndOfElements) return false;
    if (length < kElementHeaderBytes) continue;  // too short for an id, so nothing can refer to it
    element.base_type = body.u8("base type");
    element.id = body.i32("object id");
    element.body = body;
    return true;
  }
}

}  // namespace jttk
