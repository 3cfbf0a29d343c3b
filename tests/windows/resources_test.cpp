// The resources of the built program, read back from its file.
#include <gmock/gmock.h>
#include <windows.h>

#include <regex>

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

TEST_F(Resources, NoLibrariesBesidesThoseOfTheSystem) {
  // Names of imported libraries stand in the file as plain text.
  const std::string program = contents(desktopProgram());
  for (const char* const library : {"libstdc++", "libgcc_s", "libwinpthread", "zlib1.dll", "liblzma"}) {
    EXPECT_EQ(program.find(std::string(library) + "-"), std::string::npos) << library;
    EXPECT_EQ(program.find(std::string(library) + ".dll"), std::string::npos) << library;
  }
}

}  // namespace
}  // namespace loftbay::gui
