// The resources of the built program, read back from its file.
#include <gmock/gmock.h>
#include <windows.h>

#include <cctype>
#include <regex>
#include <string>
#include <vector>

#include "tests/windows/gui_driver.h"

namespace loftbay::gui {
namespace {

const wchar_t* number(int id) { return MAKEINTRESOURCEW(id); }

class Resources : public testing::Test {
 protected:
  Resources() : module_(LoadLibraryExW(desktopProgram().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE)) {}
  ~Resources() override { FreeLibrary(module_); }

  std::string bytes(int id, const wchar_t* type) const {
    const HRSRC found = FindResourceW(module_, number(id), type);
    if (found == nullptr) return {};
    const auto* const data = static_cast<const char*>(LockResource(LoadResource(module_, found)));
    return {data, SizeofResource(module_, found)};
  }

  HMODULE module_;
};

TEST_F(Resources, TheManifestAsksForWhatTheProgramNeeds) {
  const std::string manifest = std::regex_replace(bytes(1, number(24)), std::regex(R"(\sxmlns="[^"]*")"), "");
  for (const char* const entry :
       {"<activeCodePage>UTF-8</activeCodePage>", "<longPathAware>true</longPathAware>",
        "<dpiAwareness>PerMonitorV2, PerMonitor</dpiAwareness>", "<dpiAware>true/pm</dpiAware>",
        R"(<requestedExecutionLevel level="asInvoker" uiAccess="false"/>)",
        R"(name="Microsoft.Windows.Common-Controls" version="6.0.0.0")",
        "<supportedOS Id=\"{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}\"/>"})
    EXPECT_THAT(manifest, testing::HasSubstr(entry));
}

TEST_F(Resources, TheVersionIsComplete) {
  const std::wstring exe = desktopProgram().wstring();
  std::string block(GetFileVersionInfoSizeW(exe.c_str(), nullptr), '\0');
  ASSERT_NE(GetFileVersionInfoW(exe.c_str(), 0, static_cast<DWORD>(block.size()), block.data()), 0);

  VS_FIXEDFILEINFO* fixed = nullptr;
  UINT size = 0;
  ASSERT_NE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&fixed), &size), 0);
  EXPECT_EQ(fixed->dwFileVersionMS, MAKELONG(2, 2));
  EXPECT_EQ(fixed->dwFileVersionLS, MAKELONG(331, 125));
  EXPECT_EQ(fixed->dwProductVersionMS, fixed->dwFileVersionMS);
  EXPECT_EQ(fixed->dwProductVersionLS, fixed->dwFileVersionLS);

  const std::pair<const wchar_t*, const wchar_t*> texts[] = {
      {L"ProductName", L"Loftbay"},
      {L"FileVersion", L"2.2.125.331"},
      {L"ProductVersion", L"2.2.125.331"},
      {L"OriginalFilename", L"Loftbay.exe"},
      {L"InternalName", L"Loftbay.exe"},
      {L"CompanyName", L"The Loftbay project"},
      {L"LegalCopyright", L"See LICENSE and NOTICE.md"},
      {L"FileDescription", L"Loftbay: converts JT models into Zix scenes"}};
  for (const auto& [name, text] : texts) {
    const std::wstring key = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
    const wchar_t* value = nullptr;
    ASSERT_NE(VerQueryValueW(block.data(), key.c_str(),
                             const_cast<void**>(reinterpret_cast<const void**>(&value)), &size),
              0)
        << Path(name);
    EXPECT_STREQ(value, text);
  }
}

TEST_F(Resources, TheAboutEntryHasItsText) {
  wchar_t entry[64] = {};
  EXPECT_GT(LoadStringW(module_, 101, entry, 64), 0);
  EXPECT_STREQ(entry, L"&About Jt2Zix...");
}

TEST_F(Resources, TheIconHasEverySize) {
  // A group resource: a head of 6 bytes with the count at 4, then 14 bytes per picture, width first (0: 256).
  const std::string group = bytes(128, number(14));
  ASSERT_GE(group.size(), 6U);
  std::vector<int> widths;
  for (std::size_t at = 6; at + 14 <= group.size(); at += 14)
    widths.push_back(group[at] == 0 ? 256 : static_cast<unsigned char>(group[at]));
  EXPECT_THAT(widths, testing::ElementsAre(16, 20, 24, 32, 40, 48, 64, 128, 256));
}

// Names of the libraries that the program imports from, in small letters.
std::vector<std::string> importedLibraries(HMODULE image) {
  // Mapped as an image: offsets count from its start, of which the handle's two low bits are no part.
  const auto* const start = reinterpret_cast<const char*>(reinterpret_cast<ULONG_PTR>(image) & ~ULONG_PTR{3});
  const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(start);
  const auto* const head = reinterpret_cast<const IMAGE_NT_HEADERS64*>(start + dos->e_lfanew);
  const auto imports = head->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
  std::vector<std::string> names;
  for (const auto* entry = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(start + imports);
       entry->Name != 0; ++entry) {
    std::string name = start + entry->Name;
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    names.push_back(name);
  }
  return names;
}

TEST(Imports, AreLibrariesOfEveryWindowsOnly) {
  const HMODULE image = LoadLibraryExW(desktopProgram().c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE);
  ASSERT_NE(image, nullptr);
  const auto names = importedLibraries(image);
  EXPECT_THAT(names, testing::Contains("kernel32.dll"));
  EXPECT_THAT(names, testing::Each(testing::AnyOf("kernel32.dll", "user32.dll", "gdi32.dll", "shell32.dll",
                                                  "ole32.dll", "comctl32.dll", "msvcrt.dll", "psapi.dll",
                                                  "advapi32.dll")));
  FreeLibrary(image);
}

}  // namespace
}  // namespace loftbay::gui
