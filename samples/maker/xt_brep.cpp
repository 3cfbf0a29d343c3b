// Element: I32 length, GUID, U8 base type, from 9.0 on I32 object id; version (8.x I32 1, 9.x I32 2, 10.0 two
// bytes 1 0), I32 modeller major and minor, from 9.0 on build, in 10.0 a byte 0; I32 length of the stream,
// the stream. From 9.0 on the end mark and an empty property table follow.
#include "samples/maker/xt_brep.h"

#include "samples/maker/guids.h"

namespace loftbay::maker {
namespace {

constexpr unsigned kBaseType = 9;
constexpr int kModeller[] = {26, 1, 251};

}  // namespace

Bytes xtBrepSegment(const Bytes& stream, const Options& options) {
  const int major = options.major();
  ByteWriter element(options.big_endian);
  element.guid(guids::kXtBrep);
  element.u8(kBaseType);
  if (major >= 9) element.i32(0);
  if (major == 10) {
    element.u8(1);
    element.u8(0);
  } else {
    element.i32(major == 9 ? 2 : 1);
  }
  element.i32(kModeller[0]);
  element.i32(kModeller[1]);
  if (major >= 9) element.i32(kModeller[2]);
  if (major == 10) element.u8(0);
  element.i32(static_cast<std::int64_t>(stream.size()));
  element.append(stream);
  ByteWriter out(options.big_endian);
  out.i32(static_cast<std::int64_t>(element.size()));
  out.append(element.bytes());
  if (major >= 9) {
    out.i32(16);
    out.guid(guids::kEnd);
    out.i16(1);
    out.i32(0);
  }
  return out.take();
}

}  // namespace loftbay::maker
