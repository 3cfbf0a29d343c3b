#include "host/long_path.h"

#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>

#include <cstdio>
#include <filesystem>

#include "host/directory.h"
#include "host/file.h"
#include "host/path.h"
#endif

namespace loftbay::host {
namespace {

// `start` filled up with a name to `size` units.
std::wstring sized(const std::wstring& start, std::size_t size) {
  return start + std::wstring(size - start.size(), L'd');
}

TEST(LongPathForm, LeavesAPathAloneThatEveryCallTakes) {
  EXPECT_EQ(longPathForm(L""), L"");
  EXPECT_EQ(longPathForm(L"C:\\a.jt"), L"C:\\a.jt");
  EXPECT_EQ(longPathForm(sized(L"C:\\", 247)), sized(L"C:\\", 247));
}

TEST(LongPathForm, PutsThePrefixBeforeALongPathOnADrive) {
  EXPECT_EQ(longPathForm(sized(L"C:\\", 248)), L"\\\\?\\" + sized(L"C:\\", 248));
  EXPECT_EQ(longPathForm(sized(L"z:\\x\\", 300)), L"\\\\?\\" + sized(L"z:\\x\\", 300));
}

TEST(LongPathForm, NamesAServerBehindThePrefixAsUnc) {
  EXPECT_EQ(longPathForm(sized(L"\\\\server\\share\\", 300)),
            L"\\\\?\\UNC" + sized(L"\\\\server\\share\\", 300).substr(1));
}

TEST(LongPathForm, DoesNotRepeatAPrefix) {
  for (const wchar_t* start : {L"\\\\?\\C:\\", L"\\\\?\\UNC\\server\\share\\", L"\\\\.\\pipe\\"})
    EXPECT_EQ(longPathForm(sized(start, 300)), sized(start, 300));
}

TEST(LongPathForm, LeavesWhatIsNotAbsoluteToTheSystem) {
  for (const wchar_t* start : {L"a\\", L"\\a\\", L"C:a\\", L"1:\\a\\", L"\\\\\\a\\"})
    EXPECT_EQ(longPathForm(sized(start, 300)), sized(start, 300));
}

#ifdef _WIN32

TEST(SystemPath, ResolvesALongPathBeforeThePrefix) {
  const std::string name(100, 'd');
  const std::wstring wide_name(100, L'd');
  EXPECT_EQ(toSystemPath("C:\\" + name + "\\..\\" + name + "\\.\\" + name + "/" + name),
            L"\\\\?\\C:\\" + wide_name + L"\\" + wide_name + L"\\" + wide_name);
  EXPECT_EQ(toSystemPath("a\\..\\b.jt"), L"a\\..\\b.jt");
}

TEST(SystemPath, FilesBelowALongFolderAreMadeMappedListedAndRemoved) {
  const std::string base = toProgramPath(std::filesystem::temp_directory_path().string());
  std::vector<std::string> folders{base + "\\long_path_test_" + std::to_string(GetCurrentProcessId())};
  ASSERT_TRUE(makeDirectory(folders.back()));
  while (folders.back().size() < 400) {
    folders.push_back(folders.back() + "\\" + std::string(90, 'd'));
    ASSERT_TRUE(makeDirectory(folders.back())) << folders.back().size();
  }
  const std::string file = folders.back() + "\\model.jt";
  {
    const auto stream = openFile(file, "w");
    ASSERT_TRUE(stream);
    std::fputs("abc", stream.get());
  }
  EXPECT_TRUE(pathExists(file));
  std::string reason;
  {
    const auto mapped = MappedFile::open(file, &reason);
    ASSERT_TRUE(mapped.has_value()) << reason;
    EXPECT_EQ(mapped->bytes().size(), 3U);
  }
  EXPECT_EQ(listDirectory(folders.back()), std::vector<std::string>{"model.jt"});
  EXPECT_TRUE(canonicalPath(file).has_value());
  EXPECT_TRUE(removeFile(file));
  EXPECT_FALSE(pathExists(file));
  for (; !folders.empty(); folders.pop_back())
    EXPECT_NE(RemoveDirectoryW(toSystemPath(folders.back()).c_str()), 0);
}

#endif

}  // namespace
}  // namespace loftbay::host
