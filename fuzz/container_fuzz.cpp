// Opens any bytes as a JT file and unpacks every segment. Seeds: corpus/container_fuzz.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "jttk/file/jt_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto file = jttk::JtFile::fromBytes(std::as_bytes(std::span(data, size)));
  if (!file) return 0;
  for (const jttk::TocEntry& entry : (*file)->contents()) {
    const auto segment = (*file)->segment(entry);
    if (!segment) continue;
    // Touches every byte that is handed out.
    std::size_t sum = 0;
    for (const std::byte byte : segment->data) sum += std::to_integer<std::size_t>(byte);
    if (sum > segment->data.size() * 255) std::abort();
  }
  return 0;
}
