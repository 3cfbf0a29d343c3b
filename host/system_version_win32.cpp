// Windows side of system_version.h.
#include "host/system_version.h"

#include <windows.h>

namespace loftbay::host {

namespace {

// The export of kernel32.dll as a function of type `Function`; null where this Windows has none.
template <typename Function>
Function* kernelFunction(const char* name) {
  const HMODULE kernel = GetModuleHandleA("kernel32.dll");
  if (kernel == nullptr) return nullptr;
  // Through void*, because the declared type of every export is another one.
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(kernel, name)));
}

std::wstring widened(const char* ansi) {
  const int needed = MultiByteToWideChar(CP_ACP, 0, ansi, -1, nullptr, 0);
  if (needed <= 1) return {};
  std::wstring result(static_cast<std::size_t>(needed - 1), L'\0');
  MultiByteToWideChar(CP_ACP, 0, ansi, -1, result.data(), needed);
  return result;
}

}  // namespace

std::optional<SystemVersion> systemVersion() {
  OSVERSIONINFOEXA version{};
  version.dwOSVersionInfoSize = sizeof version;
  if (GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(&version)) == 0) return std::nullopt;

  SYSTEM_INFO system{};
  if (auto* const native = kernelFunction<void WINAPI(SYSTEM_INFO*)>("GetNativeSystemInfo")) {
    native(&system);
  } else {
    GetSystemInfo(&system);
  }
  // The edition that version 6 could name with this export is not part of the text: fetched, not used.
  if (version.dwMajorVersion == 6) {
    [[maybe_unused]] auto* const product_info =
        kernelFunction<BOOL WINAPI(DWORD, DWORD, DWORD, DWORD, DWORD*)>("GetProductInfo");
  }
  return SystemVersion{.platform_id = version.dwPlatformId,
                       .major = version.dwMajorVersion,
                       .minor = version.dwMinorVersion,
                       .build = version.dwBuildNumber,
                       .service_pack = widened(version.szCSDVersion),
                       .suite_mask = version.wSuiteMask,
                       .product_type = version.wProductType,
                       .processor_architecture = system.wProcessorArchitecture};
}

}  // namespace loftbay::host
