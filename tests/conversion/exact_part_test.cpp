// A part that has nothing but exact geometry, through the whole converter: the log's lines with each form of
// the tolerance setting.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include "convert/job.h"
#include "diag/program_seams.h"
#include "diag/tolerance.h"
#include "diag/trace_log.h"
#include "host/path.h"
#include "samples/maker/pieces/graph_builder.h"
#include "tests/conversion/recorded_messages.h"
#include "tests/jttk/brep/models.h"

namespace {

namespace diag = loftbay::diag;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kVariable = "MERIDAN_JT_ULP_TESS_TOLERANCE";

void setVariable(const char* value) {
#ifdef _WIN32
  _putenv_s(kVariable, value == nullptr ? "" : value);
#else
  value == nullptr ? unsetenv(kVariable) : setenv(kVariable, value, 1);
#endif
}

class ExactPart : public testing::Test {
 protected:
  ExactPart() : saved_(diag::programSeams()) {
    diag::programSeams().observer = &observer;
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    folder_ = std::filesystem::temp_directory_path() / (std::string("loftbay_exact_") + test->name());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    diag::openTraceLog(loftbay::host::toProgramPath((folder_ / "log.txt").string()));
    diag::UlpTessToleranceGiven = false;
  }
  ~ExactPart() override {
    diag::programSeams() = saved_;
    setVariable(nullptr);
    diag::UlpTessToleranceGiven = false;
    std::error_code error;
    std::filesystem::remove_all(folder_, error);
  }
  ExactPart(const ExactPart&) = delete;
  ExactPart& operator=(const ExactPart&) = delete;

  // The log's lines about tessellation on load, without their times.
  std::vector<std::string> convertWith(const char* tolerance) {
    auto solid = jttk::brep::models::box(0.02, 0.03, 0.05);
    solid.finish();
    GraphBuilder graph;
    graph.partition(0, {1}).name("root");
    graph.metaData(1, {2}).name("assembly");
    graph.part(2, {}).name("part").lateLoaded("JT_LLPROP_XTBREP", {7, 1, 2, {}}, 17);
    graph.exactGeometry({7, 1, 2, {}}, jttk::brep::segmentOf(solid));
    const auto bytes = graph.file();
    std::ofstream(folder_ / "exact.jt", std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    setVariable(tolerance);
    diag::readUlpTessTolerance();
    const std::string input = loftbay::host::toProgramPath((folder_ / "exact.jt").string());
    const std::string output = loftbay::host::toProgramPath((folder_ / "exact.zix").string());
    bool success = false;
    { const loftbay::convert::obJt2Zix job(input.c_str(), output.c_str(), &success, true); }
    EXPECT_TRUE(success);
    std::vector<std::string> lines;
    std::ifstream log(folder_ / "log.txt");
    for (std::string line; std::getline(log, line);) {
      if (line.find("ULP") != std::string::npos) lines.push_back(line.substr(line.find("] ") + 2));
    }
    return lines;
  }

  RecordedMessages observer;

 private:
  diag::ProgramSeams saved_;
  std::filesystem::path folder_;
};

TEST_F(ExactPart, ComesWithTheDefaultWhenNothingIsSet) {
  EXPECT_THAT(convertWith(nullptr), ElementsAre("obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.02",
                                                "obJt2Zix::ReadJtPart(): ULP - Start",
                                                "obJt2Zix::ReadJtPart(): ULP - Tessellation done",
                                                "obJt2Zix::ReadJtPart(): ULP - End"));
  EXPECT_EQ(observer.counts[diag::Counted::Triangles], 12U);
  EXPECT_THAT(observer.losses, IsEmpty());
}

TEST_F(ExactPart, ComesWithTheLengthThatIsSet) {
  EXPECT_THAT(convertWith("0.005"), ElementsAre("obJt2Zix::ULP : MERIDAN_JT_ULP_TESS_TOLERANCE is set.",
                                                "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.005",
                                                "obJt2Zix::ReadJtPart(): ULP - Start",
                                                "obJt2Zix::ReadJtPart(): ULP - Tessellation done",
                                                "obJt2Zix::ReadJtPart(): ULP - End"));
  EXPECT_EQ(observer.counts[diag::Counted::Triangles], 12U);
}

TEST_F(ExactPart, ComesWithoutAMinimumWhenTheSettingIsNoNumber) {
  EXPECT_THAT(
      convertWith("fine"),
      ElementsAre("obJt2Zix::ULP : MERIDAN_JT_ULP_TESS_TOLERANCE is set.",
                  "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0", "obJt2Zix::ReadJtPart(): ULP - Start",
                  "obJt2Zix::ReadJtPart(): ULP - Tessellation done", "obJt2Zix::ReadJtPart(): ULP - End"));
  EXPECT_EQ(observer.counts[diag::Counted::Triangles], 12U);
}

}  // namespace
