// Makes header, directory and chunks of a mutated Zix file agree with their checksums again, so that
// mutations get past the checksums.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <vector>

#include "zix/checksum.h"
#include "zix/format.h"

template <typename T>
T loadFrom(const std::vector<std::byte>& file, std::size_t offset) {
  T value;
  std::memcpy(&value, file.data() + offset, sizeof(T));
  return value;
}

inline void repairZixChecksums(std::vector<std::byte>& file) {
  if (file.size() < sizeof(Orb::Zix::format::Header)) return;
  auto header = loadFrom<Orb::Zix::format::Header>(file, 0);
  header.file_size = file.size();
  const std::uint64_t offset = header.directory_offset;
  if (offset <= file.size()) {
    header.chunk_count = (file.size() - offset) / sizeof(Orb::Zix::format::ChunkEntry);
    for (std::size_t i = 0; i < header.chunk_count; ++i) {
      const std::size_t place = static_cast<std::size_t>(offset) + i * sizeof(Orb::Zix::format::ChunkEntry);
      auto entry = loadFrom<Orb::Zix::format::ChunkEntry>(file, place);
      if (entry.offset > file.size() || entry.size > file.size() - entry.offset) continue;
      entry.checksum = Orb::Zix::checksum(std::span(file).subspan(static_cast<std::size_t>(entry.offset),
                                                                  static_cast<std::size_t>(entry.size)));
      std::memcpy(file.data() + place, &entry, sizeof(entry));
    }
    header.directory_checksum = Orb::Zix::checksum(std::span(file).subspan(static_cast<std::size_t>(offset)));
  }
  std::memcpy(file.data(), &header, sizeof(header));
  header.header_checksum =
      Orb::Zix::checksum(std::span(file).first(offsetof(Orb::Zix::format::Header, header_checksum)));
  std::memcpy(file.data(), &header, sizeof(header));
}
