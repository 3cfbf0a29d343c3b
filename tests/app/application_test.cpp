// Start-up and shut-down of the desktop program, without windows.
#include "app/application.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "app/about_dialog.h"
#include "app/application_name.h"
#include "diag/system_description.h"
#include "diag/tolerance.h"
#include "diag/work_directory.h"
#include "host/path.h"
#include "tests/app/recorded_window.h"

namespace loftbay {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

void setVariable(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

void clearVariable(const char* name) {
#ifdef _WIN32
  _putenv_s(name, "");
#else
  unsetenv(name);
#endif
}

class RecordedFrame : public app::ApplicationFrame {
 public:
  void defaultInitInstance() override { calls.emplace_back("default start-up"); }
  void enableControlContainer() override { calls.emplace_back("control container"); }
  void setRegistryKey(std::string_view key) override {
    calls.emplace_back(key);
    given_at_key = diag::UlpTessToleranceGiven;
  }
  app::IconHandle loadIcon(int id) override {
    calls.push_back("icon " + std::to_string(id));
    given_at_icon = diag::UlpTessToleranceGiven;
    return &tests::RecordedWindow::icon_handle;
  }
  int runMainDialog(app::Dialog& dialog) override {
    calls.push_back("dialog " + std::to_string(dialog.templateId()));
    tests::RecordedWindow window(dialog);
    dialog.OnInitDialog();
    dialog_calls = window.calls;
    return 2;
  }
  int defaultExitInstance() override {
    calls.emplace_back("default shut-down");
    return 7;
  }

  std::vector<std::string> calls;
  std::vector<std::string> dialog_calls;
  bool given_at_key = false;
  bool given_at_icon = false;
};

class Application : public testing::Test {
 protected:
  Application() {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    base_ = fs::temp_directory_path() / ("loftbay-application-" + name);
    fs::remove_all(base_);
    setVariable("MERIDAN_TEMP_PATH", base_.string());
    clearVariable("MERIDAN_JT_ULP_TESS_TOLERANCE");
  }
  ~Application() override {
    clearVariable("MERIDAN_TEMP_PATH");
    clearVariable("MERIDAN_JT_ULP_TESS_TOLERANCE");
    diag::UlpTessTolerance = diag::kDefaultUlpTessTolerance;
    diag::UlpTessToleranceGiven = false;
    fs::remove_all(base_);
  }

  static std::vector<std::string> logLines() {
    std::ifstream stream(host::toFileSystemPath(diag::workDirectory() + "\\Loftbay_Log.txt"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line.substr(line.find("] ") + 2));
    return lines;
  }

  fs::path base_;
  RecordedFrame frame_;
  app::CJt2ZixApp application_{frame_};
};

TEST_F(Application, StartsUpStepByStep) {
  EXPECT_FALSE(application_.InitInstance());
  EXPECT_THAT(frame_.calls, ElementsAre("default start-up", "control container",
                                        "Local AppWizard-Generated Applications", "icon 128", "dialog 102"));
  EXPECT_EQ(app::applicationName(), "Loftbay");
  EXPECT_THAT(frame_.dialog_calls, testing::Contains("caption Loftbay"));
  EXPECT_THAT(frame_.dialog_calls, testing::Contains("text 1001 ''"));
}

TEST_F(Application, ClosingAtOnceLogsIdentificationAndExit) {
  application_.InitInstance();
  EXPECT_EQ(application_.ExitInstance(), 7);
  EXPECT_EQ(frame_.calls.back(), "default shut-down");
  EXPECT_THAT(logLines(),
              ElementsAre("Jt2Zix : Win64 Application", "Jt2Zix::Version: 2.2.125.331",
                          "Jt2Zix::OS Version:" + diag::systemDescription(), "Jt2Zix::ExitInstance : Exit"));
}

TEST_F(Application, WithoutTheVariableTheToleranceKeepsItsDefault) {
  application_.InitInstance();
  EXPECT_FALSE(diag::UlpTessToleranceGiven);
  EXPECT_EQ(diag::UlpTessTolerance, 0.02F);
}

TEST_F(Application, TheToleranceIsReadAndItsLineFollowsTheIdentification) {
  setVariable("MERIDAN_JT_ULP_TESS_TOLERANCE", "0.005");
  application_.InitInstance();
  EXPECT_TRUE(diag::UlpTessToleranceGiven);
  EXPECT_EQ(diag::UlpTessTolerance, 0.005F);
  const auto lines = logLines();
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[3], "obJt2Zix::ULP : MERIDAN_JT_ULP_TESS_TOLERANCE is set.");
  // Behind the frame's own start-up and before the dialog.
  EXPECT_FALSE(frame_.given_at_key);
  EXPECT_TRUE(frame_.given_at_icon);
}

TEST_F(Application, AToleranceThatIsNoNumberIsZero) {
  setVariable("MERIDAN_JT_ULP_TESS_TOLERANCE", "fine");
  application_.InitInstance();
  EXPECT_TRUE(diag::UlpTessToleranceGiven);
  EXPECT_EQ(diag::UlpTessTolerance, 0.0F);
}

TEST_F(Application, ALogThatCannotBeOpenedDoesNotStopIt) {
  setVariable("MERIDAN_TEMP_PATH", (base_ / "missing" / "folder").string());
  EXPECT_FALSE(application_.InitInstance());
  EXPECT_EQ(frame_.calls.back(), "dialog 102");
  EXPECT_EQ(application_.ExitInstance(), 7);
}

TEST_F(Application, TheAboutTextNamesTheApplication) {
  application_.InitInstance();
  EXPECT_EQ(app::aboutText(),
            "Loftbay 2.2 \n\nBuild # 2.2.125.331 (64-Bit)\n\nConverts JT product models into Zix scenes.");
}

}  // namespace
}  // namespace loftbay
