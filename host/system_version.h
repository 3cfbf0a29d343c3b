// The version record of a Windows system, as the system reports it to this process. Systems other than
// Windows have none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace loftbay::host {

struct SystemVersion {
  std::uint32_t platform_id = 0;  // 2: the NT platform
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
  std::uint32_t build = 0;
  std::wstring service_pack;                 // mostly empty
  std::uint16_t suite_mask = 0;              // VER_SUITE_… bits
  std::uint8_t product_type = 0;             // 1: a workstation
  std::uint16_t processor_architecture = 0;  // 0 x86, 6 Itanium, 9 x64
};

// Empty when the system does not answer.
std::optional<SystemVersion> systemVersion();

}  // namespace loftbay::host
