// Start-up under odd circumstances: the log's folder, the environment, two programs at once.
#include <thread>

#include "tests/windows/desk.h"

namespace loftbay::gui {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

class Start : public Desk {
 protected:
  static void close(Program& program) {
    click(item(program.mainWindow(), kClose));
    EXPECT_EQ(program.waitForExit(), 0U);
  }
};

TEST_F(Start, MakesTheNamedBaseDirectoryAndADatedOneInIt) {
  EXPECT_FALSE(fs::exists(base_));
  Program program(options());
  close(program);
  ASSERT_EQ(workDirectories().size(), 1U);
  EXPECT_THAT(workDirectories().front().filename().string(),
              LooksLike("Loftbay-[0-9]+-[0-9]+-[0-9]+-[0-9]+-[0-9]+-[0-9]+"));
}

TEST_F(Start, TakesTheFirstVariableThatIsSet) {
  for (const wchar_t* name : {L"TEMP", L"TMP", L"USERPROFILE"}) {
    base_ = folder_ / name;
    fs::create_directories(base_);
    auto start = options();
    start.environment = {{L"MERIDAN_TEMP_PATH", std::nullopt},
                         {L"TEMP", (folder_ / L"TEMP").wstring()},
                         {L"TMP", (folder_ / L"TMP").wstring()},
                         {L"USERPROFILE", (folder_ / L"USERPROFILE").wstring()}};
    for (const wchar_t* earlier : {L"TEMP", L"TMP", L"USERPROFILE"}) {
      if (std::wstring(earlier) == name) break;
      start.environment[earlier] = std::nullopt;
    }
    Program program(start);
    close(program);
    EXPECT_EQ(workDirectories().size(), 1U) << Path(name);
  }
}

TEST_F(Start, WithoutAnyVariableTheCurrentDirectoryIsTheBase) {
  auto start = options();
  start.environment = {{L"MERIDAN_TEMP_PATH", std::nullopt},
                       {L"TEMP", std::nullopt},
                       {L"TMP", std::nullopt},
                       {L"USERPROFILE", std::nullopt}};
  start.directory = folder_;
  Program program(start);
  close(program);
  base_ = folder_;
  EXPECT_THAT(log(), testing::Contains("Jt2Zix::ExitInstance : Exit"));
}

TEST_F(Start, RunsWithoutALog) {
  auto start = options();
  start.environment[L"MERIDAN_TEMP_PATH"] = (folder_ / L"missing" / L"folder").wstring();
  Program program(start);
  click(item(program.mainWindow(), kTranslate));
  EXPECT_EQ(program.closeMessageBox().text, L"Please specify the input file.");
  close(program);
  EXPECT_TRUE(fs::is_empty(folder_));
}

TEST_F(Start, RunsWhereTheBaseDirectoryIsAFile) {
  write(folder_ / L"base", "a file");
  Program program(options());
  close(program);
  EXPECT_EQ(contents(folder_ / L"base"), "a file");
}

TEST_F(Start, LogsToAFolderWithAnyName) {
  base_ = folder_ / L"Größe 尺寸 \U0001F600 und mehr";
  Program program(options());
  close(program);
  EXPECT_THAT(log(), testing::SizeIs(4));
}

TEST_F(Start, TwoInOneSecondShareADirectoryAndTheSecondEmptiesTheLog) {
  // Whether both fall into one second depends on the clock, so this is repeated until they do.
  for (int attempt = 0; attempt < 10; ++attempt) {
    fs::remove_all(base_);
    auto start = options();
    start.wait = false;
    Program first(start);
    Program second(start);
    first.mainWindow();
    second.mainWindow();
    click(item(first.mainWindow(), kClose));
    first.waitForExit();
    click(item(second.mainWindow(), kClose));
    second.waitForExit();
    if (workDirectories().size() != 1) continue;
    const auto lines = logIn(workDirectories().front());
    EXPECT_LE(lines.size(), 8U);
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[lines.size() - 1], "Jt2Zix::ExitInstance : Exit");
    EXPECT_EQ(lines[lines.size() - 2], "Jt2Zix::ExitInstance : Exit");
    return;
  }
  FAIL() << "two starts never fell into one second";
}

TEST_F(Start, ReadsTheToleranceAndSaysSo) {
  auto start = options();
  start.environment[L"MERIDAN_JT_ULP_TESS_TOLERANCE"] = L"0.005";
  Program program(start);
  close(program);
  const auto lines = log();
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[3], "obJt2Zix::ULP : MERIDAN_JT_ULP_TESS_TOLERANCE is set.");
}

}  // namespace
}  // namespace loftbay::gui
