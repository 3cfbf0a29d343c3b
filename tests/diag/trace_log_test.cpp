#include "diag/trace_log.h"

#include <gmock/gmock.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "host/path.h"

namespace loftbay::diag {
namespace {

class TraceLog : public testing::Test {
 protected:
  TraceLog() {
    folder_ = std::filesystem::temp_directory_path() /
              ("trace_log_test_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)));
    std::filesystem::create_directories(folder_);
    setClock([] { return LocalTime{9, 5, 3, 16, 11, 2026}; });
  }
  ~TraceLog() override {
    setClock({});
    openTraceLog({});
    std::filesystem::remove_all(folder_);
  }
  void open() { openTraceLog(host::toProgramPath((folder_ / "log.txt").string())); }
  std::string log() const {
    std::ifstream file(folder_ / "log.txt");
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::filesystem::path folder_;
};

TEST_F(TraceLog, ALineIsStampMessageAndLineEnd) {
  open();
  WriteTraceLog("obJt2Zix::ReadJt():Start");
  EXPECT_EQ(log(), "[9:5:3, 16-11-2026] obJt2Zix::ReadJt():Start\n");
}

TEST_F(TraceLog, SingleDigitsAreNotPadded) {
  setClock([] { return LocalTime{7, 4, 9, 3, 2, 2026}; });
  open();
  WriteTraceLog("x");
  EXPECT_EQ(log(), "[7:4:9, 3-2-2026] x\n");
}

TEST_F(TraceLog, LinesOfOneSecondAreKeptInOrder) {
  open();
  WriteTraceLog("first");
  WriteTraceLog("second");
  EXPECT_EQ(log(), "[9:5:3, 16-11-2026] first\n[9:5:3, 16-11-2026] second\n");
}

TEST_F(TraceLog, AnEmptyMessageLeavesStampAndBlank) {
  open();
  WriteTraceLog("");
  EXPECT_EQ(log(), "[9:5:3, 16-11-2026] \n");
}

TEST_F(TraceLog, AnExistingFileIsEmptiedWhenTheLogIsNamed) {
  std::ofstream(folder_ / "log.txt") << "old";
  open();
  EXPECT_EQ(log(), "");
  WriteTraceLog("new");
  WriteTraceLog("more");
  EXPECT_EQ(log(), "[9:5:3, 16-11-2026] new\n[9:5:3, 16-11-2026] more\n");
}

TEST_F(TraceLog, AMissingFileIsMadeByTheFirstLineOnly) {
  open();
  EXPECT_FALSE(std::filesystem::exists(folder_ / "log.txt"));
  WriteTraceLog("x");
  EXPECT_TRUE(std::filesystem::exists(folder_ / "log.txt"));
}

TEST_F(TraceLog, EveryLineIsOnDiskAtOnceAndTheFileClosed) {
  open();
  WriteTraceLog("x");
  std::filesystem::rename(folder_ / "log.txt", folder_ / "moved.txt");
  WriteTraceLog("y");
  EXPECT_EQ(log(), "[9:5:3, 16-11-2026] y\n");
}

TEST_F(TraceLog, AFileThatCannotBeOpenedLosesTheLineSilently) {
  openTraceLog(host::toProgramPath((folder_ / "missing" / "log.txt").string()));
  WriteTraceLog("lost");
  std::filesystem::create_directory(folder_ / "missing");
  WriteTraceLog("kept");
  std::ifstream file(folder_ / "missing" / "log.txt");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "[9:5:3, 16-11-2026] kept\n");
}

TEST_F(TraceLog, WithoutAPathNoLineIsWritten) {
  openTraceLog({});
  WriteTraceLog("nowhere");
  EXPECT_TRUE(std::filesystem::is_empty(folder_));
}

TEST_F(TraceLog, TheSystemClockIsLocalTime) {
  setClock({});
  const std::time_t before = std::time(nullptr);
  const LocalTime now = localTime();
  std::tm parts{};
  parts.tm_hour = now.hour;
  parts.tm_min = now.minute;
  parts.tm_sec = now.second;
  parts.tm_mday = now.day;
  parts.tm_mon = now.month - 1;
  parts.tm_year = now.year - 1900;
  parts.tm_isdst = -1;
  EXPECT_NEAR(std::difftime(std::mktime(&parts), before), 0, 2);
}

}  // namespace
}  // namespace loftbay::diag
