// Conversions through the window: the project's own sample, failures, odd paths, the ignore boxes, browsing.
#include <algorithm>
#include <cstdlib>
#include <cwchar>

#include "samples/maker/bench_models.h"
#include "samples/maker/write_jt.h"
#include "tests/support/figures_model.h"
#include "tests/windows/desk.h"
#include "tests/windows/pictures.h"
// After windows.h, whose types it uses.
#include <shellapi.h>
// After shellapi.h, whose types it uses.
#include <shlobj.h>

namespace loftbay::gui {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

Path sample() {
  const wchar_t* const folder = _wgetenv(L"LOFTBAY_SAMPLES");
  return folder == nullptr ? Path() : Path(folder) / L"beam_engine.jt";
}

std::ptrdiff_t count(const std::vector<std::string>& lines, const std::string& line) {
  return std::count(lines.begin(), lines.end(), line);
}

class Conversion : public Desk {
 protected:
  Conversion() { fs::copy_file(sample(), model_); }

  static void expectSuccess(Program& program, const char* picture = nullptr) {
    const MessageBox box = program.closeMessageBox(picture);
    EXPECT_EQ(box.text, L"Translated Successfully!!!");
    EXPECT_EQ(box.caption, L"Loftbay");
    EXPECT_EQ(box.icon, MessageBox::Icon::Information);
    EXPECT_EQ(box.buttons, 1);
  }

  // The file dialog's edit box for the name, whatever its number.
  static HWND nameBox(HWND dialog) {
    HWND found = nullptr;
    EnumChildWindows(
        dialog,
        [](HWND child, LPARAM data) {
          if (className(child) != L"Edit" || IsWindowVisible(child) == 0) return TRUE;
          *reinterpret_cast<HWND*>(data) = child;
          return FALSE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
  }

  static HWND fileDialog(Program& program, int button) {
    click(item(program.mainWindow(), button));
    const HWND dialog = program.waitForSecondWindow("the file dialog");
    waitFor("the name box", [&] { return nameBox(dialog) != nullptr; });
    EXPECT_EQ(IsWindowEnabled(program.mainWindow()), 0) << "the file dialog is modal";
    return dialog;
  }

  // The box that a file dialog shows above itself.
  static HWND boxAbove(Program& program, HWND dialog) {
    HWND box = nullptr;
    waitFor("a box above the file dialog", [&] {
      for (const HWND window : program.windows()) {
        if (window != dialog && IsWindowEnabled(window) != 0) box = window;
      }
      return box != nullptr && IsWindowEnabled(dialog) == 0;
    });
    return box;
  }

  static void choose(Program& program, HWND dialog, const Path& path) {
    type(nameBox(dialog), path.wstring());
    click(item(dialog, IDOK));
    program.waitForMainWindowOnly();
  }

  Path model_ = folder_ / L"beam engine.jt";
  Path scene_ = folder_ / L"beam engine.zix";
};

TEST_F(Conversion, ConvertsTheSample) {
  Program program(options());
  translate(program, model_, scene_);
  expectSuccess(program, "translated");
  EXPECT_GT(fs::file_size(scene_), 10000U);
  keepPicture(program.mainWindow(), "main-window-after");
  const auto lines = log();
  EXPECT_EQ(lines[3], "CJt2ZixDlg:: Input File :  " + model_.string());
  EXPECT_EQ(lines[4], "CJt2ZixDlg:: Output File : " + scene_.string());
  EXPECT_THAT(lines[5], LooksLike("CJt2ZixDlg::OnBnClickedOk : Memory Usage b4 conversion: "
                                  "[0-9]+ Kb\t\tPeak Memory Usage :[0-9]+ Kb\t"));
  EXPECT_EQ(lines[6], "obJt2Zix::Start conversion...");
  EXPECT_EQ(lines[lines.size() - 2], "obJt2Zix::Conversion completed.");
  EXPECT_THAT(lines.back(), LooksLike("CJt2ZixDlg::OnBnClickedOk : Memory Usage after conversion: "
                                      "[0-9]+ Kb\t\tPeak Memory Usage :[0-9]+ Kb\t"));
  EXPECT_EQ(count(lines, "obJt2Zix::WriteShape():Optimize option enabled") > 0, true);
}

TEST_F(Conversion, ReplacesAnExistingScene) {
  write(scene_, "old scene");
  Program program(options());
  translate(program, model_, scene_);
  expectSuccess(program);
  EXPECT_NE(contents(scene_), "old scene");
}

TEST_F(Conversion, TellsOfAFailure) {
  Program program(options(noImporterProgram()));
  translate(program, model_, scene_);
  const MessageBox box = program.closeMessageBox("failed");
  EXPECT_EQ(box.text, L"Translation failed!!!");
  EXPECT_EQ(box.caption, L"Loftbay");
  EXPECT_EQ(box.icon, MessageBox::Icon::Error);
  EXPECT_EQ(box.buttons, 1);
  EXPECT_THAT(log(), Contains("obJt2Zix::Conversion completed."));
  EXPECT_FALSE(fs::exists(scene_));
}

TEST_F(Conversion, LineAndPointShapesFollowTheIgnoreBoxesThroughTheRun) {
  // A triangle, a line and two points.
  const auto bytes = maker::writeJtBytes(testing_support::figuresModel(), {});
  write(model_, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  Program program(options());
  const HWND window = program.mainWindow();
  const auto lines = [&] { return count(log(), "obJt2Zix::Write2DElements():Start"); };
  const auto points = [&] { return count(log(), "obJt2Zix::WritePointElements():Start"); };
  const auto toggle = [&](int control) {
    const bool checked = isChecked(item(window, control));
    click(item(window, control));
    waitFor("the box to change", [&] { return isChecked(item(window, control)) != checked; });
  };

  translate(program, model_, scene_);
  expectSuccess(program);
  EXPECT_EQ(lines(), 0);
  EXPECT_EQ(points(), 0);
  const std::string triangles_only = contents(scene_);

  toggle(kIgnoreLines);
  click(item(window, kTranslate));
  expectSuccess(program);
  EXPECT_EQ(lines(), 1);
  EXPECT_EQ(points(), 0);

  toggle(kIgnorePoints);
  click(item(window, kTranslate));
  expectSuccess(program);
  EXPECT_EQ(lines(), 2) << "a second conversion starts from the settings of the first";
  EXPECT_EQ(points(), 1);
  EXPECT_GT(fs::file_size(scene_), triangles_only.size());

  toggle(kIgnoreLines);
  toggle(kIgnorePoints);
  click(item(window, kTranslate));
  expectSuccess(program);
  EXPECT_EQ(lines(), 2);
  EXPECT_EQ(points(), 1);
  EXPECT_EQ(contents(scene_), triangles_only);
}

TEST_F(Conversion, PathsMayHoldAnyCharacter) {
  for (const wchar_t* name : {L"mit Leerzeichen", L"Größe äöü", L"模型 尺寸", L"smile \U0001F600 part"}) {
    SCOPED_TRACE(testing::PrintToString(Path(name).u8string()));
    const Path folder = folder_ / name;
    fs::create_directory(folder);
    const Path model = folder / (std::wstring(name) + L".jt");
    const Path scene = folder / (std::wstring(name) + L".zix");
    fs::copy_file(model_, model);
    base_ = folder / L"logs";
    Program program(options());
    translate(program, model, scene);
    expectSuccess(program);
    EXPECT_GT(fs::file_size(scene), 10000U);
    const auto u8 = model.u8string();
    EXPECT_THAT(log(), Contains("CJt2ZixDlg:: Input File :  " + std::string(u8.begin(), u8.end())));
  }
}

TEST_F(Conversion, PathsMayBeLongerThan260Characters) {
  Path folder = folder_;
  while (folder.wstring().size() < 300) {
    folder /= std::wstring(60, L'd');
    ASSERT_NE(CreateDirectoryW((L"\\\\?\\" + folder.wstring()).c_str(), nullptr), 0);
  }
  const Path model = folder / L"model.jt";
  ASSERT_NE(CopyFileW(model_.c_str(), (L"\\\\?\\" + model.wstring()).c_str(), TRUE), 0);
  Program program(options());
  translate(program, model, folder / L"scene.zix");
  expectSuccess(program);
  EXPECT_NE(GetFileAttributesW((L"\\\\?\\" + (folder / L"scene.zix").wstring()).c_str()),
            INVALID_FILE_ATTRIBUTES);
}

TEST_F(Conversion, AFileThatIsNoModelGivesAnEmptySceneAndALogLine) {
  write(model_, "no model at all");
  Program program(options());
  translate(program, model_, scene_);
  expectSuccess(program);
  EXPECT_THAT(log(), Contains("obJt2Zix::ReadJt():File loading failed!"));
  EXPECT_TRUE(fs::exists(scene_));
}

TEST_F(Conversion, AnErrorOutOfTheJobShowsNoBoxAndTheProgramLivesOn) {
  const Path short_name = folder_ / L".jt";
  fs::copy_file(model_, short_name);
  Program program(options());
  translate(program, short_name, scene_);
  waitFor("the job to begin", [&] { return count(log(), "obJt2Zix::Convert():Start") == 1; });
  program.waitForMainWindowOnly();
  EXPECT_THAT(log(), Not(Contains("obJt2Zix::Conversion completed.")));
  EXPECT_FALSE(fs::exists(scene_));

  type(item(program.mainWindow(), kInput), model_.wstring());
  click(item(program.mainWindow(), kTranslate));
  expectSuccess(program);
}

TEST_F(Conversion, BrowsingForTheInputProposesTheOutput) {
  Program program(options());
  const HWND window = program.mainWindow();
  const HWND dialog = fileDialog(program, kBrowseInput);
  keepPicture(dialog, "browse-input");
  choose(program, dialog, model_);
  EXPECT_EQ(text(item(window, kInput)), model_.wstring());
  EXPECT_EQ(text(item(window, kOutput)), scene_.wstring());
  click(item(window, kTranslate));
  expectSuccess(program);
}

TEST_F(Conversion, BrowsingRemembersTheFolder) {
  Program program(options());
  choose(program, fileDialog(program, kBrowseInput), model_);
  // A bare name is looked up in the dialog's current folder.
  choose(program, fileDialog(program, kBrowseOutput), L"elsewhere.zix");
  EXPECT_EQ(text(item(program.mainWindow(), kOutput)), (folder_ / L"elsewhere.zix").wstring());
}

TEST_F(Conversion, BrowsingForTheOutputAddsTheExtension) {
  Program program(options());
  const HWND window = program.mainWindow();
  type(item(window, kInput), L"typed.jt");
  const HWND dialog = fileDialog(program, kBrowseOutput);
  keepPicture(dialog, "browse-output");
  choose(program, dialog, folder_ / L"named");
  EXPECT_EQ(text(item(window, kOutput)), (folder_ / L"named.zix").wstring());
  EXPECT_EQ(text(item(window, kInput)), L"typed.jt");
}

// What the boxes of a file dialog offer, a line each.
std::wstring offers(HWND dialog) {
  std::wstring lines;
  EnumChildWindows(
      dialog,
      [](HWND child, LPARAM data) {
        if (className(child) == L"ComboBox" && IsWindowVisible(child) != 0) {
          *reinterpret_cast<std::wstring*>(data) += text(child) + L"\n";
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&lines));
  return lines;
}

TEST_F(Conversion, BrowsingShowsTheFilesOfItsKind) {
  Program program(options());
  HWND dialog = fileDialog(program, kBrowseInput);
  EXPECT_THAT(offers(dialog), testing::HasSubstr(L"JT Files (*.jt)\n"));
  click(item(dialog, IDCANCEL));
  program.waitForMainWindowOnly();
  dialog = fileDialog(program, kBrowseOutput);
  EXPECT_THAT(offers(dialog), testing::HasSubstr(L"ZIX files(*.zix)\n"));
}

TEST_F(Conversion, BrowsingAsksBeforeAnExistingSceneIsChosen) {
  write(scene_, "old scene");
  Program program(options());
  const HWND output = item(program.mainWindow(), kOutput);
  const HWND dialog = fileDialog(program, kBrowseOutput);
  const auto prompt = [&] {
    type(nameBox(dialog), scene_.wstring());
    click(item(dialog, IDOK));
    return boxAbove(program, dialog);
  };
  HWND question = prompt();
  keepPicture(question, "overwrite");
  click(item(question, IDNO));
  waitFor("the dialog to go on", [&] { return IsWindowEnabled(dialog) != 0; });
  EXPECT_EQ(text(output), L"");
  question = prompt();
  click(item(question, IDYES));
  program.waitForMainWindowOnly();
  EXPECT_EQ(text(output), scene_.wstring());
  EXPECT_EQ(contents(scene_), "old scene") << "browsing only chooses";
}

TEST_F(Conversion, BrowsingRefusesAFolderThatDoesNotExist) {
  Program program(options());
  const HWND dialog = fileDialog(program, kBrowseInput);
  type(nameBox(dialog), (folder_ / L"missing" / L"model.jt").wstring());
  click(item(dialog, IDOK));
  keepPicture(boxAbove(program, dialog), "missing-folder");
  EXPECT_EQ(text(item(program.mainWindow(), kInput)), L"");
}

// The model is large enough for the job to be looked at.
TEST_F(Conversion, TheCursorWaitsWhileTheJobRuns) {
  const auto cursor = [] {
    CURSORINFO information{};
    information.cbSize = sizeof(information);
    GetCursorInfo(&information);
    return information.hCursor;
  };
  const auto bytes = maker::writeJtBytes(maker::singlePart(300'000), {});
  write(model_, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  Program program(options());
  const HWND window = program.mainWindow();
  activate(window);
  RECT place{};
  GetWindowRect(window, &place);
  SetCursorPos(place.left + 60, place.bottom - 20);
  type(item(window, kInput), model_.wstring());
  type(item(window, kOutput), scene_.wstring());
  click(item(window, kTranslate));
  // What is shown before depends on when the window hears of the pointer; what is shown then does not.
  waitFor("the job to begin", [&] { return count(log(), "obJt2Zix::Convert():Start") == 1; });
  const HCURSOR during_the_job = cursor();
  EXPECT_EQ(program.windows().size(), 1U) << "the job is still running";
  program.waitForSecondWindow("the result");
  waitFor("another cursor", [&] { return cursor() != during_the_job; });
  expectSuccess(program);
}

TEST_F(Conversion, CancelledBrowsingChangesNothing) {
  Program program(options());
  const HWND window = program.mainWindow();
  type(item(window, kInput), L"typed.jt");
  type(item(window, kOutput), L"by hand.zix");
  for (const int button : {kBrowseInput, kBrowseOutput}) {
    click(item(fileDialog(program, button), IDCANCEL));
    program.waitForMainWindowOnly();
  }
  EXPECT_EQ(text(item(window, kInput)), L"typed.jt");
  EXPECT_EQ(text(item(window, kOutput)), L"by hand.zix");
}

// The list of dropped files as the system hands it to a window, in the memory of the window's program.
HDROP droppedFile(HANDLE process, const std::wstring& path) {
  std::vector<char> bytes(sizeof(DROPFILES) + (path.size() + 2) * sizeof(wchar_t));
  auto* const head = reinterpret_cast<DROPFILES*>(bytes.data());
  head->pFiles = sizeof(DROPFILES);
  head->fWide = TRUE;
  std::copy(path.begin(), path.end(), reinterpret_cast<wchar_t*>(bytes.data() + sizeof(DROPFILES)));
  void* const remote =
      VirtualAllocEx(process, nullptr, bytes.size(), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
  WriteProcessMemory(process, remote, bytes.data(), bytes.size(), nullptr);
  return static_cast<HDROP>(remote);
}

TEST_F(Conversion, ADroppedFileDoesWhatBrowsingForTheInputDoes) {
  Program program(options());
  const HWND window = program.mainWindow();
  EXPECT_NE(GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_ACCEPTFILES, 0);
  PostMessageW(window, WM_DROPFILES,
               reinterpret_cast<WPARAM>(droppedFile(program.process(), model_.wstring())), 0);
  waitFor("the dropped file's path", [&] { return text(item(window, kInput)) == model_.wstring(); });
  EXPECT_EQ(text(item(window, kOutput)), scene_.wstring());
}

}  // namespace
}  // namespace loftbay::gui
