#include "diag/system_description.h"

#include <algorithm>
#include <locale>

namespace loftbay::diag {

namespace {

constexpr std::uint32_t kPlatformNt = 2;
constexpr std::uint8_t kWorkstation = 1;

constexpr std::uint16_t kArchitectureX86 = 0;
constexpr std::uint16_t kArchitectureItanium = 6;
constexpr std::uint16_t kArchitectureX64 = 9;

constexpr std::uint16_t kSuiteEnterprise = 0x2;
constexpr std::uint16_t kSuiteDatacenter = 0x80;
constexpr std::uint16_t kSuitePersonal = 0x200;
constexpr std::uint16_t kSuiteBlade = 0x400;
constexpr std::uint16_t kSuiteStorageServer = 0x2000;
constexpr std::uint16_t kSuiteComputeServer = 0x4000;
constexpr std::uint16_t kSuiteHomeServer = 0x8000;

using host::SystemVersion;

bool has(const SystemVersion& version, std::uint16_t suite) { return (version.suite_mask & suite) != 0; }

const wchar_t* name60(const SystemVersion& version) {
  return version.product_type == kWorkstation ? L"Windows Vista " : L"Windows Server 2008 ";
}

const wchar_t* name61(const SystemVersion& version) {
  return version.product_type == kWorkstation ? L"Windows 7 " : L"Windows Server 2008 R2 ";
}

const wchar_t* name52(const SystemVersion& version) {
  if (has(version, kSuiteStorageServer)) return L"Windows Storage Server 2003";
  if (version.suite_mask < kSuiteHomeServer && version.product_type == kWorkstation &&
      version.processor_architecture == kArchitectureX64) {
    return L"Windows XP Professional x64 Edition";
  }
  if (has(version, kSuiteHomeServer)) return L"Windows Home Server";
  return L"Windows Server 2003, ";
}

const wchar_t* edition52(const SystemVersion& version) {
  const bool datacenter = has(version, kSuiteDatacenter);
  const bool enterprise = has(version, kSuiteEnterprise);
  switch (version.processor_architecture) {
    case kArchitectureItanium:
      if (datacenter) return L"Datacenter Edition for Itanium-based Systems";
      return enterprise ? L"Enterprise Edition for Itanium-based Systems" : L"";
    case kArchitectureX64:
      if (datacenter) return L"Datacenter x64 Edition";
      return enterprise ? L"Enterprise x64 Edition" : L"Standard x64 Edition";
    default:
      if (has(version, kSuiteComputeServer)) return L"Compute Cluster Edition";
      if (datacenter) return L"Datacenter Edition";
      if (enterprise) return L"Enterprise Edition";
      return has(version, kSuiteBlade) ? L"Web Edition" : L"Standard Edition";
  }
}

const wchar_t* name51(const SystemVersion& version) {
  return has(version, kSuitePersonal) ? L"Windows XP Home Edition" : L"Windows XP Professional";
}

const wchar_t* name50(const SystemVersion& version) {
  if (version.product_type == kWorkstation) return L"Windows 2000 Professional";
  if (has(version, kSuiteDatacenter)) return L"Windows 2000 Datacenter Server";
  return has(version, kSuiteEnterprise) ? L"Windows 2000 Advanced Server" : L"Windows 2000 Server";
}

std::wstring systemName(const SystemVersion& version) {
  if (version.major == 6 && version.minor == 0) return name60(version);
  if (version.major == 6 && version.minor == 1) return name61(version);
  if (version.major != 5) return {};
  switch (version.minor) {
    case 2: {
      std::wstring name = name52(version);
      if (version.product_type != kWorkstation) name += edition52(version);
      return name;
    }
    case 1:
      return name51(version);
    case 0:
      return name50(version);
    default:
      return {};
  }
}

}  // namespace

std::optional<std::wstring> describeSystem(const host::SystemVersion& version) {
  if (version.platform_id != kPlatformNt || version.major < 5) return std::nullopt;
  std::wstring text = L"Microsoft " + systemName(version);
  if (!version.service_pack.empty()) text += L" " + version.service_pack;
  text += L" (build " + std::to_wstring(version.build) + L")";
  if (version.processor_architecture == kArchitectureX64) text += L", 64-bit";
  if (version.processor_architecture == kArchitectureX86) text += L", 32-bit";
  return text;
}

bool GetSystemDescription(wchar_t* buffer) { return describeInto(host::systemVersion(), buffer); }

bool describeInto(const std::optional<host::SystemVersion>& version, wchar_t* buffer) {
  const auto text = version ? describeSystem(*version) : std::nullopt;
  if (!text) return false;
  const std::size_t length = std::min(text->size(), kSystemDescriptionCapacity - 1);
  std::copy_n(text->data(), length, buffer);
  buffer[length] = L'\0';
  return true;
}

std::string narrowed(std::wstring_view text) {
  const std::locale locale;
  const auto& facet = std::use_facet<std::ctype<wchar_t>>(locale);
  std::string result(text.size(), '\0');
  facet.narrow(text.data(), text.data() + text.size(), '?', result.data());
  return result;
}

std::string systemDescription() {
  wchar_t buffer[kSystemDescriptionCapacity];
  return GetSystemDescription(buffer) ? narrowed(buffer) : std::string();
}

}  // namespace loftbay::diag
