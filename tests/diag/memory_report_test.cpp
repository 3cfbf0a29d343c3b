#include "diag/memory_report.h"

#include <gmock/gmock.h>

namespace loftbay::diag {
namespace {

class MemoryReport : public testing::Test {
 protected:
  ~MemoryReport() override { setMemoryQuery({}); }
  std::string reportOf(std::uint64_t current, std::uint64_t peak) {
    setMemoryQuery([=] { return host::MemoryCounters{current, peak}; });
    return memoryUsageReport();
  }
};

TEST_F(MemoryReport, ReadsCurrentThenPeakInKilobytes) {
  EXPECT_EQ(reportOf(2048, 4096), "2 Kb\t\tPeak Memory Usage :4 Kb\t");
}

TEST_F(MemoryReport, RoundsDown) { EXPECT_EQ(reportOf(1023, 2047), "0 Kb\t\tPeak Memory Usage :1 Kb\t"); }

TEST_F(MemoryReport, HoldsSizesBeyond32Bits) {
  EXPECT_EQ(reportOf(std::uint64_t{1} << 43, std::uint64_t{1} << 44),
            "8589934592 Kb\t\tPeak Memory Usage :17179869184 Kb\t");
}

TEST_F(MemoryReport, AFailingQueryGivesAnEmptyTextAndReplacesTheCallers) {
  setMemoryQuery([] { return std::optional<host::MemoryCounters>(); });
  std::string out = "old";
  EXPECT_EQ(&GetMemoryUsageReport(out), &out);
  EXPECT_EQ(out, "");
}

TEST_F(MemoryReport, TheSystemAnswers) {
  EXPECT_THAT(memoryUsageReport(), testing::HasSubstr(" Kb\t\tPeak Memory Usage :"));
}

}  // namespace
}  // namespace loftbay::diag
