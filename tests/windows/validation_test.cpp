// The messages about unusable paths, and that nothing else happens.
#include <algorithm>

#include "tests/windows/desk.h"
#include "tests/windows/waiting.h"

namespace loftbay::gui {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::Not;
using testing::StartsWith;

constexpr const char* kRefused = "CJt2ZixDlg:: Input/Output Validation failed";

class Validation : public Desk {
 protected:
  Validation() { write(model_, "no model at all"); }

  void expectRefused(const Path& input, const Path& output, const std::wstring& message,
                     const char* picture = nullptr) {
    SCOPED_TRACE(testing::Message() << input << ", " << output);
    const auto refusals = [&] {
      const auto lines = log();
      return std::count(lines.begin(), lines.end(), kRefused);
    };
    const auto before = refusals();
    translate(program_, input, output);
    const MessageBox box = program_.closeMessageBox(picture);
    EXPECT_EQ(box.text, message);
    EXPECT_EQ(box.caption, L"Loftbay");
    EXPECT_EQ(box.icon, MessageBox::Icon::Error);
    EXPECT_EQ(box.buttons, 1);
    // The line is written when the box is gone.
    waitFor("the refusal's line in the log", [&] { return refusals() > before; });
    EXPECT_EQ(log().back(), kRefused);
    EXPECT_THAT(log(), Not(Contains(StartsWith("CJt2ZixDlg:: Input File"))));
    // What the user entered stays.
    const HWND window = program_.mainWindow();
    EXPECT_EQ(text(item(window, kInput)), input.wstring());
    EXPECT_EQ(text(item(window, kOutput)), output.wstring());
  }

  Path model_ = folder_ / L"model.jt";
  Path scene_ = folder_ / L"scene.zix";
  Program program_{options()};
};

TEST_F(Validation, TellsTheFirstProblemInTheFixedOrder) {
  expectRefused("", "", L"Please specify the input file.", "refused-input-missing");
  expectRefused("x", "", L"Please specify the output file.");
  expectRefused("x", "y", L"Error:Unsupported input format.");
  expectRefused("x.jt2", scene_, L"Error:Unsupported input format.");
  expectRefused("x.jt", "y", L"Error:Unsupported output format.");
  expectRefused("x.jt", "y.zix2", L"Error:Unsupported output format.");
  expectRefused(folder_ / L"missing.jt", scene_, L"Error:Input file is not found.");
  expectRefused(model_, folder_ / L"missing" / L"scene.zix", L"Error:Output directory is not available.");
}

TEST_F(Validation, RefusesADirectoryAsInput) {
  fs::create_directory(folder_ / L"folder.jt");
  expectRefused(folder_ / L"folder.jt", scene_, L"Error:Input file is not found.");
}

constexpr const wchar_t* kPermissionDenied =
    L"Permission denied for writing the ZIX file.\nPlease verify whether you have the write permission.";

TEST_F(Validation, TellsAndLogsThatTheOutputCannotBeWritten) {
  fs::create_directory(scene_);
  expectRefused(model_, scene_, kPermissionDenied, "refused-output");
  const auto lines = log();
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(
      lines[lines.size() - 2],
      "Permission denied for writing the ZIX file. Please verify whether you have the write permission.");
}

TEST_F(Validation, RefusesAReadOnlyOutput) {
  write(scene_, "old scene");
  SetFileAttributesW(scene_.c_str(), FILE_ATTRIBUTE_READONLY);
  const HANDLE opened =
      CreateFileW(scene_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  if (opened != INVALID_HANDLE_VALUE) {
    CloseHandle(opened);
    SetFileAttributesW(scene_.c_str(), FILE_ATTRIBUTE_NORMAL);
    GTEST_SKIP() << "this user may write read-only files (Wine as root)";
  }
  expectRefused(model_, scene_, kPermissionDenied);
  SetFileAttributesW(scene_.c_str(), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(contents(scene_), "old scene");
}

TEST_F(Validation, TellsThatTheOutputIsInUse) {
  write(scene_, "old scene");
  const HANDLE held =
      CreateFileW(scene_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  expectRefused(model_, scene_, kPermissionDenied);
  CloseHandle(held);
  EXPECT_EQ(contents(scene_), "old scene");
}

TEST_F(Validation, TheExtensionsMayBeInAnyCase) {
  write(folder_ / L"MODEL.Jt", "no model at all");
  translate(program_, folder_ / L"MODEL.Jt", folder_ / L"SCENE.ZiX");
  EXPECT_EQ(program_.closeMessageBox().text, L"Translated Successfully!!!");
  EXPECT_TRUE(fs::exists(folder_ / L"SCENE.ZiX"));
}

TEST_F(Validation, ABareOutputNameMeansTheCurrentDirectory) {
  auto start = options();
  start.directory = folder_;
  base_ = folder_ / L"other";
  start.environment = options().environment;
  Program program(start);
  translate(program, model_, L"bare.zix");
  EXPECT_EQ(program.closeMessageBox().text, L"Translated Successfully!!!");
  EXPECT_TRUE(fs::exists(folder_ / L"bare.zix"));
}

TEST_F(Validation, ABoxBelongsToTheDialogAlsoWhileAnotherProgramIsInFront) {
  const HWND window = program_.mainWindow();
  const HWND other = CreateWindowExW(0, L"Static", L"another program", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 10,
                                     10, 200, 100, nullptr, nullptr, nullptr, nullptr);
  activate(other);
  PostMessageW(window, WM_COMMAND, kTranslate, 0);
  const HWND box = program_.waitForSecondWindow("the box");
  EXPECT_EQ(GetWindow(box, GW_OWNER), window);
  EXPECT_EQ(IsWindowEnabled(window), 0) << "a second conversion could be started below the box";
  EXPECT_EQ(program_.closeMessageBox().text, L"Please specify the input file.");
  DestroyWindow(other);
}

TEST_F(Validation, ACorrectedPathConverts) {
  expectRefused(folder_ / L"missing.jt", scene_, L"Error:Input file is not found.");
  type(item(program_.mainWindow(), kInput), model_.wstring());
  click(item(program_.mainWindow(), kTranslate));
  EXPECT_EQ(program_.closeMessageBox().text, L"Translated Successfully!!!");
}

}  // namespace
}  // namespace loftbay::gui
