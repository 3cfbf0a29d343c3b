// What the main dialog does in which order: calls of its window, message boxes and log lines.
#include "app/main_dialog.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "app/about_dialog.h"
#include "app/application_name.h"
#include "convert/job.h"
#include "diag/memory_report.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "host/path.h"
#include "tests/app/bare_toolkit.h"
#include "tests/app/recorded_window.h"

namespace loftbay {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using tests::RecordedWindow;

constexpr int kInput = 1001;
constexpr int kOutput = 1004;

class MainDialog : public testing::Test {
 protected:
  MainDialog() {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    folder_ = fs::temp_directory_path() / ("loftbay-main-dialog-" + name);
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    diag::openTraceLog(programPath("log.txt"));
    diag::setClock([] { return diag::LocalTime{14, 7, 5, 3, 2, 2026}; });
    diag::setMemoryQuery([] { return host::MemoryCounters{2048, 4096}; });
    diag::programSeams().showMessageBox = [this](std::string_view text, diag::BoxIcon icon) {
      window_.calls.push_back(
          std::string(icon == diag::BoxIcon::Error ? "error box '" : "information box '") +
          std::string(text) + "'");
    };
    diag::programSeams().startup_failures = &discarded_;
    diag::programSeams().toolkit_messages = &discarded_;
    tests::setImport([] {});
  }
  ~MainDialog() override {
    tests::setImport(nullptr);
    diag::setMemoryQuery(nullptr);
    diag::setClock(nullptr);
    convert::ignoreLines = convert::ignorePoints = true;
    fs::remove_all(folder_);
  }

  std::string programPath(const std::string& name) const {
    const auto path = (folder_ / name).u8string();
    return host::toProgramPath(std::string(path.begin(), path.end()));
  }
  void writeFile(const std::string& name) const { std::ofstream(folder_ / name) << "content"; }

  // The log's lines without their time stamps; the job's own lines only if `with_job`.
  std::vector<std::string> log(bool with_job = false) const {
    std::ifstream stream(folder_ / "log.txt");
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
      const std::string stamp = "[14:7:5, 3-2-2026] ";
      EXPECT_EQ(line.substr(0, stamp.size()), stamp);
      line.erase(0, stamp.size());
      if (with_job || !line.starts_with("obJt2Zix::")) lines.push_back(line);
    }
    return lines;
  }

  // The dialog as the user sees it, with two paths typed into it; the input exists.
  void typePaths(const std::string& input, const std::string& output) {
    writeFile(input);
    dialog_.OnInitDialog();
    window_.texts = {{kInput, programPath(input)}, {kOutput, programPath(output)}};
    window_.taken();
  }

  std::ostringstream discarded_;
  fs::path folder_;
  app::CJt2ZixDlg dialog_{"", "", 1, &RecordedWindow::icon_handle};
  RecordedWindow window_{dialog_};
};

TEST_F(MainDialog, InitialisesItsWindowStepByStep) {
  EXPECT_TRUE(dialog_.OnInitDialog());
  EXPECT_THAT(
      window_.calls,
      ElementsAre("text 1001 ''", "text 1004 ''", "check 1007 on", "menu 16 &About Jt2Zix...",
                  "large icon application", "small icon application", "load wait", "load arrow",
                  "check 1009 on", "check 1010 on", "caption " + app::applicationName(), "accept files"));
}

TEST_F(MainDialog, LeavesTheSystemMenuAloneWithoutTextOrMenu) {
  window_.strings[101] = "";
  dialog_.OnInitDialog();
  EXPECT_THAT(window_.calls, testing::Not(testing::Contains(testing::StartsWith("menu"))));
  window_.strings[101] = "&About Jt2Zix...";
  window_.system_menu = false;
  dialog_.OnInitDialog();
  EXPECT_THAT(window_.calls, testing::Not(testing::Contains(testing::StartsWith("menu"))));
}

TEST_F(MainDialog, ShowsTheAboutBoxFromSystemMenuAndButton) {
  EXPECT_TRUE(dialog_.OnSysCommand(16));
  EXPECT_TRUE(dialog_.OnSysCommand(16 + 3));  // the system's own low bits
  EXPECT_FALSE(dialog_.OnSysCommand(0xF060));
  EXPECT_TRUE(dialog_.dispatchClick(1006));
  EXPECT_THAT(window_.calls, ElementsAre("modal 100", "modal 100", "modal 100"));
}

TEST_F(MainDialog, PaintsItsIconOnlyWhenMinimised) {
  EXPECT_FALSE(dialog_.OnPaint());
  window_.minimised = true;
  EXPECT_TRUE(dialog_.OnPaint());
  EXPECT_THAT(window_.calls, ElementsAre("paint application"));
  EXPECT_EQ(dialog_.OnQueryDragIcon(), &RecordedWindow::icon_handle);
}

TEST(CentredIcon, StandsInTheMiddleByIntegerDivision) {
  EXPECT_EQ(app::centredOffset(36, 32), 2);
  EXPECT_EQ(app::centredOffset(37, 32), 3);
  EXPECT_EQ(app::centredOffset(32, 32), 0);
}

TEST_F(MainDialog, BrowsingForTheInputProposesTheOutput) {
  window_.chosen = "C:\\data\\wheel.JT";
  EXPECT_TRUE(dialog_.dispatchClick(1002));
  EXPECT_THAT(window_.calls,
              ElementsAre("open [JT Files (*.jt)|*.jt|] [] 2050", "text 1001 'C:\\data\\wheel.JT'",
                          "text 1004 'C:\\data\\wheel.zix'"));
}

TEST_F(MainDialog, BrowsingForTheOutputChangesTheOutputOnly) {
  window_.texts = {{kInput, "typed by hand.jt"}, {kOutput, "before.zix"}};
  window_.chosen = "D:\\out\\scene.zix";
  EXPECT_TRUE(dialog_.dispatchClick(1005));
  EXPECT_THAT(window_.calls,
              ElementsAre("save [ZIX files(*.zix)|*.zix||] [zix] 2050", "text 1004 'D:\\out\\scene.zix'"));
  EXPECT_EQ(window_.texts[kInput], "typed by hand.jt");
}

TEST_F(MainDialog, CancelledBrowsingChangesNothing) {
  window_.texts = {{kInput, "typed"}, {kOutput, "by hand"}};
  dialog_.dispatchClick(1002);
  dialog_.dispatchClick(1005);
  EXPECT_EQ(window_.texts[kInput], "typed");
  EXPECT_EQ(window_.texts[kOutput], "by hand");
}

TEST_F(MainDialog, ADroppedFileDoesWhatBrowsingForTheInputDoes) {
  dialog_.OnDropFile("C:\\a\\part.jt");
  EXPECT_EQ(window_.texts[kInput], "C:\\a\\part.jt");
  EXPECT_EQ(window_.texts[kOutput], "C:\\a\\part.zix");
}

TEST(ProposedOutput, ReplacesTheLastTwoCharacters) {
  EXPECT_EQ(app::proposedOutput("C:\\a\\part.jt"), "C:\\a\\part.zix");
  EXPECT_EQ(app::proposedOutput("part"), "pazix");
  EXPECT_EQ(app::proposedOutput("x"), "zix");
  EXPECT_EQ(app::proposedOutput(""), "zix");
}

TEST_F(MainDialog, TheIgnoreBoxesNegateTheirFlags) {
  EXPECT_TRUE(dialog_.dispatchClick(1009));
  EXPECT_FALSE(convert::ignoreLines);
  EXPECT_TRUE(convert::ignorePoints);
  EXPECT_TRUE(dialog_.dispatchClick(1010));
  EXPECT_FALSE(convert::ignorePoints);
  EXPECT_TRUE(dialog_.dispatchClick(1009));
  EXPECT_TRUE(convert::ignoreLines);
  EXPECT_TRUE(dialog_.dispatchClick(1007));
  EXPECT_THAT(window_.calls, IsEmpty());
}

TEST_F(MainDialog, EmptyPathsShowOneBoxAndLogOneLine) {
  EXPECT_TRUE(dialog_.dispatchClick(1));
  EXPECT_THAT(window_.calls, ElementsAre("error box 'Please specify the input file.'"));
  EXPECT_THAT(log(true), ElementsAre("CJt2ZixDlg:: Input/Output Validation failed"));
}

TEST_F(MainDialog, RunsAConversionStepByStep) {
  typePaths("part.jt", "part.zix");
  EXPECT_TRUE(dialog_.dispatchClick(1));
  EXPECT_THAT(window_.calls,
              ElementsAre("cursor wait", "cursor arrow", "information box 'Translated Successfully!!!'"));
  EXPECT_THAT(log(), ElementsAre("CJt2ZixDlg:: Input File :  " + programPath("part.jt"),
                                 "CJt2ZixDlg:: Output File : " + programPath("part.zix"),
                                 "CJt2ZixDlg::OnBnClickedOk : Memory Usage b4 conversion: "
                                 "2 Kb\t\tPeak Memory Usage :4 Kb\t",
                                 "CJt2ZixDlg::OnBnClickedOk : Memory Usage after conversion: "
                                 "2 Kb\t\tPeak Memory Usage :4 Kb\t"));
  const auto lines = log(true);
  EXPECT_EQ(lines[3], "obJt2Zix::Start conversion...");
  EXPECT_EQ(lines[lines.size() - 2], "obJt2Zix::Conversion completed.");
  EXPECT_TRUE(fs::exists(folder_ / "part.zix"));
}

TEST_F(MainDialog, ShowsTheWaitCursorDuringTheJobOnly) {
  typePaths("part.jt", "part.zix");
  tests::setImport([this] { window_.calls.emplace_back("import"); });
  dialog_.dispatchClick(1);
  EXPECT_THAT(window_.calls, ElementsAre("cursor wait", "import", "cursor arrow",
                                         "information box 'Translated Successfully!!!'"));
}

// The order of log lines, cursor and box among each other.
TEST_F(MainDialog, TheCursorWaitsBetweenTheMemoryLinesAndTheBoxComesLast) {
  diag::setClock([this] {  // asked once for each line
    window_.calls.emplace_back("line");
    return diag::LocalTime{14, 7, 5, 3, 2, 2026};
  });
  typePaths("part.jt", "part.zix");
  dialog_.dispatchClick(1);
  const auto& calls = window_.calls;
  const std::size_t job_lines = log(true).size() - 4;
  ASSERT_EQ(calls.size(), job_lines + 7);
  EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 4),
              ElementsAre("line", "line", "line", "cursor wait"));
  EXPECT_THAT(std::vector(calls.end() - 3, calls.end()),
              ElementsAre("line", "cursor arrow", "information box 'Translated Successfully!!!'"));
}

// The unfinished file disappears with the job, so it shows when the job has ended. Where the file has no name
// yet, the process's open files show it.
TEST_F(MainDialog, TheJobLivesUntilItsBoxIsClosed) {
  const auto files = [this] {
    std::ptrdiff_t count = std::distance(fs::directory_iterator(folder_), fs::directory_iterator());
    std::error_code error;
    for (const auto& open : fs::directory_iterator("/proc/self/fd", error)) {
      const fs::path target = fs::read_symlink(open, error);
      count += target.parent_path() == fs::canonical(folder_) && !fs::exists(target) ? 1 : 0;
    }
    return count;
  };
  tests::setImport(nullptr);
  typePaths("part.jt", "part.zix");
  std::ptrdiff_t at_the_box = 0;
  diag::programSeams().showMessageBox = [&](std::string_view, diag::BoxIcon) { at_the_box = files(); };
  dialog_.dispatchClick(1);
  EXPECT_EQ(at_the_box, 3);  // model, log, unfinished scene
  EXPECT_EQ(files(), 2);
}

TEST_F(MainDialog, TellsOfAFailedJob) {
  tests::setImport(nullptr);
  typePaths("part.jt", "part.zix");
  dialog_.dispatchClick(1);
  EXPECT_EQ(window_.calls.back(), "error box 'Translation failed!!!'");
  EXPECT_THAT(log(), testing::SizeIs(4));
}

TEST_F(MainDialog, AnExceptionOutOfTheJobRestoresTheCursorAndShowsNoResult) {
  typePaths("part.jt", "part.zix");
  tests::setImport([] { throw std::runtime_error("lost"); });
  EXPECT_TRUE(dialog_.dispatchClick(1));
  EXPECT_THAT(window_.calls, ElementsAre("cursor wait", "load arrow", "cursor arrow"));
  EXPECT_FALSE(fs::exists(folder_ / "part.zix"));

  tests::setImport([] {});
  dialog_.dispatchClick(1);
  EXPECT_EQ(window_.calls.back(), "information box 'Translated Successfully!!!'");
}

TEST_F(MainDialog, AVeryShortFileNameLeavesNoResultBox) {
  typePaths(".jt", "part.zix");
  EXPECT_TRUE(dialog_.dispatchClick(1));
  EXPECT_THAT(window_.calls, ElementsAre("cursor wait", "load arrow", "cursor arrow"));
}

TEST_F(MainDialog, MakesTheNamedBaseDirectoryAgainBeforeAJobAndLeavesTheLogWhereItIs) {
  const fs::path base = folder_ / "base";
  const std::string log_path = diag::logPath();
#ifdef _WIN32
  _wputenv_s(L"MERIDAN_TEMP_PATH", base.c_str());
#else
  setenv("MERIDAN_TEMP_PATH", base.c_str(), 1);
#endif
  typePaths("part.jt", "part.zix");
  bool made_before_the_job = false;
  tests::setImport([&] { made_before_the_job = fs::is_directory(base); });
  dialog_.dispatchClick(1);
  EXPECT_TRUE(made_before_the_job);
#ifdef _WIN32
  _wputenv_s(L"MERIDAN_TEMP_PATH", L"");
#else
  unsetenv("MERIDAN_TEMP_PATH");
#endif
  EXPECT_TRUE(fs::is_directory(base));
  EXPECT_TRUE(fs::is_empty(base));
  EXPECT_EQ(diag::logPath(), log_path);
}

TEST_F(MainDialog, TheSecondConversionStartsFromTheSettingsOfTheFirst) {
  typePaths("part.jt", "part.zix");
  dialog_.dispatchClick(1009);
  dialog_.dispatchClick(1);
  EXPECT_FALSE(convert::ignoreLines);
  EXPECT_EQ(window_.texts[kInput], programPath("part.jt"));
  dialog_.dispatchClick(1);
  EXPECT_FALSE(convert::ignoreLines);
  EXPECT_EQ(window_.calls.back(), "information box 'Translated Successfully!!!'");
}

TEST_F(MainDialog, CloseEndsTheDialogAndNothingElse) {
  EXPECT_TRUE(dialog_.dispatchClick(2));
  EXPECT_THAT(window_.calls, ElementsAre("end 2"));
  EXPECT_THAT(log(true), IsEmpty());
}

TEST_F(MainDialog, UnknownControlsAreNotItsOwn) { EXPECT_FALSE(dialog_.dispatchClick(4711)); }

TEST(AboutBox, ShowsNameVersionAndBuild) {
  app::CAboutDlg about;
  RecordedWindow window(about);
  EXPECT_TRUE(about.OnInitDialog());
  EXPECT_THAT(window.texts[1008], testing::EndsWith(" 2.2 \n\nBuild # 2.2.125.331 (64-Bit)\n\n"
                                                    "Converts JT product models into Zix scenes."));
  EXPECT_THAT(window.calls,
              ElementsAre("text 1008 '" + window.texts[1008] + "'", "caption " + app::applicationName()));
  about.dispatchClick(1);
  EXPECT_EQ(window.calls.back(), "end 1");
}

}  // namespace
}  // namespace loftbay
