#include "diag/work_directory.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "diag/trace_log.h"
#include "host/path.h"

namespace loftbay::diag {
namespace {

constexpr const char* kName = "Loftbay-2026-2-3-14-7-5";

void setEnvironment(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  if (value.empty()) {
    unsetenv(name);
  } else {
    setenv(name, value.c_str(), 1);
  }
#endif
}

class WorkDirectory : public testing::Test {
 protected:
  WorkDirectory() {
    for (const char* const name : {"MERIDAN_TEMP_PATH", "TEMP", "TMP", "USERPROFILE", "TMPDIR"}) {
      const char* const value = std::getenv(name);
      saved_[name] = value != nullptr ? value : "";
    }
    folder_ = std::filesystem::temp_directory_path() /
              ("work_directory_test_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)));
    std::filesystem::remove_all(folder_);
    for (const char* const name : {"a", "b", "c", "d"}) std::filesystem::create_directories(folder_ / name);
    for (const auto& [name, value] : saved_) setEnvironment(name.c_str(), "");
    setClock([] { return LocalTime{14, 7, 5, 3, 2, 2026}; });
  }
  ~WorkDirectory() override {
    for (const auto& [name, value] : saved_) setEnvironment(name.c_str(), value);
    setClock({});
    openTraceLog({});
    std::filesystem::remove_all(folder_);
  }
  std::string hostPath(const char* name) const { return (folder_ / name).string(); }
  std::string programPath(const char* name) const { return host::toProgramPath(hostPath(name)); }
  bool exists(const std::string& name) const { return std::filesystem::exists(folder_ / name); }

  std::map<std::string, std::string> saved_;
  std::filesystem::path folder_;
};

TEST_F(WorkDirectory, IsNamedAfterProgramAndUnpaddedTime) {
  EXPECT_EQ(MakeDatedDirectory(programPath("a")), programPath("a") + "\\" + kName);
  EXPECT_TRUE(exists(std::string("a/") + kName));
}

TEST_F(WorkDirectory, TheFirstVariableThatIsSetDecides) {
  setEnvironment("USERPROFILE", hostPath("d"));
  EXPECT_TRUE(SelectWorkDirectory("Loftbay_Log.txt"));
  EXPECT_EQ(workDirectory(), programPath("d") + "\\" + kName);
  setEnvironment("TMP", hostPath("c"));
  EXPECT_TRUE(SelectWorkDirectory("Loftbay_Log.txt"));
  EXPECT_EQ(workDirectory(), programPath("c") + "\\" + kName);
  setEnvironment("TEMP", hostPath("b"));
  EXPECT_TRUE(SelectWorkDirectory("Loftbay_Log.txt"));
  EXPECT_EQ(workDirectory(), programPath("b") + "\\" + kName);
  setEnvironment("MERIDAN_TEMP_PATH", hostPath("a"));
  EXPECT_TRUE(SelectWorkDirectory("Loftbay_Log.txt"));
  EXPECT_EQ(workDirectory(), programPath("a") + "\\" + kName);
  EXPECT_EQ(logPath(), programPath("a") + "\\" + kName + "\\Loftbay_Log.txt");
}

TEST_F(WorkDirectory, ANamedDirectoryThatDoesNotExistIsMadeByOneLevel) {
  setEnvironment("MERIDAN_TEMP_PATH", hostPath("new"));
  SelectWorkDirectory("Loftbay_Log.txt");
  WriteTraceLog("x");
  EXPECT_TRUE(exists(std::string("new/") + kName + "/Loftbay_Log.txt"));
}

TEST_F(WorkDirectory, TheOtherVariablesDirectoriesAreNotMade) {
  setEnvironment("TEMP", hostPath("new"));
  SelectWorkDirectory("Loftbay_Log.txt");
  WriteTraceLog("lost");
  EXPECT_FALSE(exists("new"));
}

TEST_F(WorkDirectory, AnOverrideActsLikeTheFirstVariable) {
  setEnvironment("MERIDAN_TEMP_PATH", hostPath("a"));
  SelectWorkDirectory("Loftbay_Log.txt", programPath("made"));
  EXPECT_EQ(workDirectory(), programPath("made") + "\\" + kName);
  EXPECT_TRUE(exists(std::string("made/") + kName));
}

TEST_F(WorkDirectory, TwoStartsInOneSecondShareTheDirectoryAndTheSecondEmptiesTheLog) {
  SelectWorkDirectory("Loftbay_Log.txt", programPath("a"));
  WriteTraceLog("of the first");
  SelectWorkDirectory("Loftbay_Log.txt", programPath("a"));
  WriteTraceLog("of the second");
  std::ifstream file(folder_ / "a" / kName / "Loftbay_Log.txt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "[14:7:5, 3-2-2026] of the second\n");
}

TEST_F(WorkDirectory, ATrailingSeparatorIsDoubledAndHarmless) {
  SelectWorkDirectory("Loftbay_Log.txt", programPath("a") + "\\");
  EXPECT_EQ(workDirectory(), programPath("a") + "\\\\" + kName);
  WriteTraceLog("x");
  EXPECT_TRUE(exists(std::string("a/") + kName + "/Loftbay_Log.txt"));
}

TEST_F(WorkDirectory, AnOwnDirectoryIsSharedWithNobody) {
  selectOwnWorkDirectory("Loftbay_Log.txt", programPath("a"));
  EXPECT_EQ(workDirectory(), programPath("a") + "\\" + kName);
  WriteTraceLog("one");
  selectOwnWorkDirectory("Loftbay_Log.txt", programPath("a"));
  EXPECT_EQ(workDirectory(), programPath("a") + "\\" + kName + "-2");
  WriteTraceLog("two");
  selectOwnWorkDirectory("Loftbay_Log.txt", programPath("a"));
  EXPECT_EQ(workDirectory(), programPath("a") + "\\" + kName + "-3");
  for (const char* const end : {"", "-2"})
    EXPECT_TRUE(exists(std::string("a/") + kName + end + "/Loftbay_Log.txt"));
}

TEST_F(WorkDirectory, AnOwnDirectoryUnderAMissingBaseEndsTheSearch) {
  setEnvironment("TEMP", hostPath("missing"));
  selectOwnWorkDirectory("Loftbay_Log.txt");
  EXPECT_EQ(workDirectory(), programPath("missing") + "\\" + kName);
}

#ifndef _WIN32
TEST_F(WorkDirectory, ABaseIsTriedAndLeftAsItIs) {
  EXPECT_TRUE(canHoldWorkDirectory(programPath("a")));
  EXPECT_TRUE(canHoldWorkDirectory(programPath("new")));
  EXPECT_TRUE(exists("new"));
  EXPECT_FALSE(exists(std::string("a/") + kName + "-try"));
  EXPECT_FALSE(canHoldWorkDirectory(programPath("not") + "\\there"));
  // The folder is somebody's own.
  EXPECT_EQ(MakeDatedDirectory(programPath("a")), programPath("a") + "\\" + kName);
  EXPECT_TRUE(selectOwnWorkDirectory("Loftbay_Log.txt", programPath("a")));
  EXPECT_FALSE(selectOwnWorkDirectory("Loftbay_Log.txt", programPath("not") + "\\there"));
}

TEST_F(WorkDirectory, WithoutTheFourVariablesTmpdirDecides) {
  setEnvironment("TMPDIR", hostPath("c"));
  SelectWorkDirectory("Loftbay_Log.txt");
  EXPECT_EQ(workDirectory(), programPath("c") + "\\" + kName);
}

TEST_F(WorkDirectory, AnEmptyVariableNamesNoDirectory) {
  setenv("MERIDAN_TEMP_PATH", "", 1);
  setEnvironment("TEMP", hostPath("b"));
  SelectWorkDirectory("Loftbay_Log.txt");
  EXPECT_EQ(workDirectory(), programPath("b") + "\\" + kName);
}

TEST_F(WorkDirectory, WithoutAnyVariableTheTemporaryFolderIsTheBase) {
  SelectWorkDirectory("Loftbay_Log.txt");
  EXPECT_EQ(workDirectory(), "\\.\\tmp\\" + std::string(kName));
  std::filesystem::remove(std::filesystem::path("/tmp") / kName);
}
#endif

}  // namespace
}  // namespace loftbay::diag
