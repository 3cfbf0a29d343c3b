// I32 element length, GUID, U8 base type, from 9.0 on I32 object id; a version of 1, 2 or 4 bytes, I32
// modeller major, minor and (not in 8.1) build, in 10.x one more byte; I32 length of the XT data, the data.
#include "jttk/brep/xt_segment.h"

#include <algorithm>

#include "jttk/file/object_ids.h"

namespace jttk::brep {
namespace {

struct Form {
  std::size_t version_bytes;
  std::size_t numbers;
  std::size_t pad_bytes;
};
constexpr Form kForms[] = {{2, 3, 1}, {4, 3, 0}, {4, 2, 0}, {2, 3, 0}, {1, 3, 0}};

// Forms that are not listed are shorter than this before the data.
constexpr std::size_t kMaximumWrapper = 128;

bool beginsWithMark(std::span<const std::byte> bytes) {
  constexpr std::byte kMark[] = {std::byte{0x50}, std::byte{0x53}, std::byte{0}, std::byte{0}};
  return bytes.size() > 4 && std::equal(kMark, kMark + 4, bytes.begin());
}

// A length, then that number of bytes, which begin with the mark.
bool tryData(ByteReader reader, XtData& found) {
  const std::int32_t size = reader.i32("length of the XT data");
  if (!reader.ok() || size <= 4 || static_cast<std::size_t>(size) > reader.remaining()) return false;
  const std::uint64_t offset = reader.offset();
  const auto bytes = reader.take(static_cast<std::size_t>(size), "XT data");
  if (!beginsWithMark(bytes)) return false;
  found = {bytes, offset};
  return true;
}

bool tryForm(ByteReader reader, const Form& form, XtData& found) {
  reader.skip(form.version_bytes + 4 * form.numbers + form.pad_bytes, "version and modeller");
  return reader.ok() && tryData(reader, found);
}

}  // namespace

Result<XtData> findXtData(std::span<const std::byte> data, ByteOrder order, std::uint64_t base_offset) {
  ByteReader reader(data, order, base_offset);
  const std::uint32_t length = reader.count("length of the XT B-Rep element", 1);
  ByteReader element = reader.sub(length, "XT B-Rep element");
  const std::uint64_t id_offset = element.offset();
  const Guid id = element.guid("object type of the XT B-Rep element");
  element.skip(1, "object base type");
  if (!reader.ok()) return reader.unexpected();
  if (!element.ok()) return element.unexpected();
  if (!(id == object_id::kXtBrep)) return fail("not an XT B-Rep element but " + id.text(), id_offset);
  XtData found;
  // With the object id (9.0 and later), then without.
  for (const std::size_t id_bytes : {std::size_t{4}, std::size_t{0}}) {
    ByteReader rest = element;
    rest.skip(id_bytes, "object id");
    for (const Form& form : kForms) {
      if (tryForm(rest, form, found)) return found;
    }
  }
  // A wrapper of some other version.
  for (std::size_t skipped = 0; skipped < kMaximumWrapper; ++skipped) {
    ByteReader rest = element;
    rest.skip(skipped, "version and modeller");
    if (rest.ok() && tryData(rest, found)) return found;
  }
  return fail("no XT data in the element", element.offset());
}

std::vector<XtData> findAllXtData(std::span<const std::byte> data, ByteOrder order,
                                  std::uint64_t base_offset) {
  std::vector<XtData> all;
  for (std::size_t at = 0; at + 8 < data.size();) {
    XtData found;
    if (beginsWithMark(data.subspan(at + 4)) &&
        tryData(ByteReader(data.subspan(at), order, base_offset + at), found)) {
      all.push_back(found);
      at += 4 + found.bytes.size();
    } else {
      ++at;
    }
  }
  return all;
}

}  // namespace jttk::brep
