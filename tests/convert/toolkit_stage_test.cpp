// Tessellation parameters and the loading of the file.
#include <cstdlib>

#include "diag/tolerance.h"
#include "tests/doubles/job_fixture.h"

namespace loftbay::doubles {
namespace {

class ToolkitStage : public JobTest {
 protected:
  std::string edgeLengthLine() { return logLines("MinEdgeLength"); }
  std::string parameters() { return linesWith(toolkitCalls(), "createTessParams"); }
  // As a program starts: the variable, the setting, the job.
  void convertWithTolerance(const char* text) {
    set(text);
    diag::readUlpTessTolerance();
    set(nullptr);
    EXPECT_TRUE(convert());
  }

 private:
  static void set(const char* text) {
    constexpr const char* kName = "MERIDAN_JT_ULP_TESS_TOLERANCE";
#ifdef _WIN32
    _putenv_s(kName, text != nullptr ? text : "");
#else
    if (text != nullptr) {
      setenv(kName, text, 1);
    } else {
      unsetenv(kName);
    }
#endif
  }
};

TEST_F(ToolkitStage, WithoutATolerance2PercentOfAUnitIsTheShortestEdge) {
  diag::UlpTessTolerance = 7;  // means nothing while the flag is not set
  convertWithTolerance(nullptr);
  EXPECT_EQ(edgeLengthLine(), "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.02\n");
  EXPECT_EQ(parameters(), "createTessParams(0.08, 0.08, 0.1, 1, 1, 1, 0.02, 0, \"\", 0)\n");
}

TEST_F(ToolkitStage, AToleranceChangesTheSeventhParameterAlone) {
  convertWithTolerance("0.005");
  EXPECT_EQ(edgeLengthLine(), "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.005\n");
  EXPECT_EQ(parameters(), "createTessParams(0.08, 0.08, 0.1, 1, 1, 1, 0.005, 0, \"\", 0)\n");
}

TEST_F(ToolkitStage, ATextThatIsNoNumberGivesZero) {
  convertWithTolerance("fine");
  EXPECT_EQ(edgeLengthLine(), "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0\n");
  EXPECT_EQ(parameters(), "createTessParams(0.08, 0.08, 0.1, 1, 1, 1, 0, 0, \"\", 0)\n");
}

#ifndef _WIN32  // an empty value unsets a variable there
TEST_F(ToolkitStage, AnEmptyTextGivesZero) {
  convertWithTolerance("");
  EXPECT_EQ(edgeLengthLine(), "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0\n");
  EXPECT_EQ(parameters(), "createTessParams(0.08, 0.08, 0.1, 1, 1, 1, 0, 0, \"\", 0)\n");
}
#endif

TEST_F(ToolkitStage, AUnitBehindTheNumberIsIgnored) {
  convertWithTolerance("0.5 mm");
  EXPECT_EQ(edgeLengthLine(), "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.5\n");
  EXPECT_EQ(parameters(), "createTessParams(0.08, 0.08, 0.1, 1, 1, 1, 0.5, 0, \"\", 0)\n");
}

TEST_F(ToolkitStage, NegativeTolerancesAreTakenAsTheyAre) {
  convertWithTolerance("-1e-7");
  EXPECT_EQ(edgeLengthLine(), "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : -1e-07\n");
}

TEST_F(ToolkitStage, ASecondCallKeepsTheFirstParameters) {
  bool success = false;
  convert::obJt2Zix job("part.jt", "o.zix", &success, true);
  diag::setUlpTessTolerance(3);
  EXPECT_TRUE(job.SetTessParams());
  EXPECT_EQ(parameters(), "createTessParams(0.08, 0.08, 0.1, 1, 1, 1, 0.02, 0, \"\", 0)\n");
  EXPECT_EQ(edgeLengthLine(),
            "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.02\n"
            "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 3\n");
}

TEST_F(ToolkitStage, FailingParametersGiveFalseAndTheJobGoesOn) {
  toolkit().tess_params_throw = true;
  toolkit().root = &product.assembly("root");
  EXPECT_TRUE(convert());
  EXPECT_EQ(logLines("SetTessParams"),
            "obJt2Zix::SetTessParams():Start...\n"
            "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.02\n"
            "obJt2Zix::SetTessParams(): createTessParams failed\n"
            "obJt2Zix::SetTessParams():End...Failed\n");
  EXPECT_EQ(logLines("ReadJtAssembly(): Name"), "obJt2Zix::ReadJtAssembly(): Name : root\n");
}

TEST_F(ToolkitStage, ParametersThatAreNotMadeGiveFalseWithoutTheLineOfAnException) {
  toolkit().tess_params_null = true;
  EXPECT_TRUE(convert());
  EXPECT_EQ(logLines("SetTessParams"),
            "obJt2Zix::SetTessParams():Start...\n"
            "obJt2Zix::SetTessParams(): ULP : MinEdgeLength : 0.02\n"
            "obJt2Zix::SetTessParams():End...Failed\n");
}

TEST_F(ToolkitStage, APathThatNamesNoJtFile) {
  toolkit().version_readable = false;
  EXPECT_TRUE(convert());
  EXPECT_EQ(logLines("ReadJt()"),
            "obJt2Zix::ReadJt():Start\n"
            "obJt2Zix::ReadJt(): JT File Version: 0.0\n"
            "obJt2Zix::ReadJt():File loading failed!\n"
            "obJt2Zix::ReadJt():End\n");
  EXPECT_EQ(toolkit().messages.str(), "Unable to find root node.  Check file...\n");
  EXPECT_EQ(linesWith(toolkitCalls(), "post"), "post(1)\n");
  EXPECT_EQ(sceneLines("closeFile"), "closeFile(\"C:\\out\\scene.zix\")\n");
}

TEST_F(ToolkitStage, LogsTheVersionWithADotAndNoBlank) {
  toolkit().major = 10;
  toolkit().minor = 5;
  toolkit().root = &product.assembly("root");
  EXPECT_TRUE(convert());
  EXPECT_EQ(logLines("Version"), "obJt2Zix::ReadJt(): JT File Version: 10.5\n");
}

TEST_F(ToolkitStage, NoSecondImporterIsALossAndStillGivesTrue) {
  toolkit().importers = 1;
  EXPECT_TRUE(convert());
  EXPECT_EQ(toolkit().messages.str(), "The JT toolkit gives no importer.\n");
  EXPECT_EQ(observer.losses.size(), 1U);
  EXPECT_TRUE(observer.notes.empty());
  EXPECT_EQ(logLines("ReadJt():End"), "obJt2Zix::ReadJt():End\n");
}

}  // namespace
}  // namespace loftbay::doubles
