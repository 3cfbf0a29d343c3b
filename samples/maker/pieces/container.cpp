#include "samples/maker/pieces/container.h"

#include <string>

namespace loftbay::maker::pieces {

Bytes container(std::string_view version, const std::vector<ContainerSegment>& segments, ByteOrder order) {
  constexpr std::uint32_t kSegmentHeader = 24;
  const bool wide = version.starts_with("10");
  std::string text = "Version " + std::string(version) + " JT";
  text.resize(79, ' ');
  ByteBuilder out(order);
  const auto offset = [&](std::uint64_t value) { wide ? out.u64(value) : out.u32(value); };
  out.text(text).text("\n").u8(order == ByteOrder::Big ? 1 : 0).u32(0);
  const std::uint32_t header = 80 + 1 + 4 + (wide ? 8 : 4) + 16;
  offset(header);
  out.guid(segments.empty() ? GuidValue{} : segments.front().id).u32(segments.size());
  std::uint64_t at = header + 4 + segments.size() * (wide ? 32 : 28);
  for (const ContainerSegment& segment : segments) {
    const std::uint64_t length = segment.data.size() + kSegmentHeader;
    out.guid(segment.id);
    offset(at);
    out.u32(length).u32(segment.type << 24U);
    at += length;
  }
  for (const ContainerSegment& segment : segments) {
    out.guid(segment.id).u32(segment.type).u32(segment.data.size() + kSegmentHeader).bytes(segment.data);
  }
  return out.result();
}

}  // namespace loftbay::maker::pieces
