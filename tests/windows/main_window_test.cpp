// The main window and the about box as they are on the screen: captions, controls, geometry, keyboard.
#include <algorithm>

#include "tests/windows/desk.h"
#include "tests/windows/pictures.h"

namespace loftbay::gui {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

struct Control {
  int id;
  const wchar_t* window_class;
  const wchar_t* text;
  int left, top, width, height;
};

// In the order of the tab key.
const Control kMainControls[] = {
    {1, L"Button", L"Translate", 7, 118, 50, 16},
    {2, L"Button", L"Close", 163, 118, 50, 16},
    {0xFFFF, L"Button", L"Input", 7, 4, 207, 43},
    {1000, L"Static", L"Input File", 14, 24, 31, 8},
    {1001, L"Edit", L"", 51, 20, 138, 14},
    {1002, L"Button", L"...", 192, 20, 19, 14},
    {0xFFFF, L"Button", L"Output", 7, 53, 207, 43},
    {1003, L"Static", L"Output File", 14, 72, 36, 8},
    {1004, L"Edit", L"", 51, 69, 138, 14},
    {1005, L"Button", L"...", 192, 69, 19, 14},
    {1006, L"Button", L"About...", 85, 118, 50, 16},
    {1007, L"Button", L"Optimize", 167, 101, 47, 10},
    {1009, L"Button", L"Ignore Lines", 7, 100, 55, 10},
    {1010, L"Button", L"Ignore Points", 69, 100, 59, 10},
};

void expectClientSize(HWND window, int width, int height) {
  RECT client{};
  GetClientRect(window, &client);
  const RECT expected = pixels(0, 0, width, height);
  EXPECT_EQ(client.right, expected.right);
  EXPECT_EQ(client.bottom, expected.bottom);
}

// Position and size in dialog units; each is rounded to pixels by itself.
void expectPlace(HWND window, HWND control, int left, int top, int width, int height) {
  const RECT actual = rectangleIn(window, control);
  const RECT position = pixels(left, top, 0, 0);
  const RECT size = pixels(0, 0, width, height);
  EXPECT_EQ(actual.left, position.left);
  EXPECT_EQ(actual.top, position.top);
  EXPECT_EQ(actual.right - actual.left, size.right);
  EXPECT_EQ(actual.bottom - actual.top, size.bottom);
}

long buttonKind(HWND button) { return static_cast<long>(GetWindowLongPtrW(button, GWL_STYLE) & BS_TYPEMASK); }

class MainWindow : public Desk {
 protected:
  Program program_{options()};
  HWND window_ = program_.mainWindow();
};

TEST_F(MainWindow, HasTheStatedFrame) {
  EXPECT_EQ(text(window_), L"Loftbay");
  expectClientSize(window_, 221, 141);
  const auto style = GetWindowLongPtrW(window_, GWL_STYLE);
  EXPECT_NE(style & WS_POPUP, 0);
  EXPECT_EQ(style & WS_CAPTION, WS_CAPTION);
  EXPECT_NE(style & WS_SYSMENU, 0);
  EXPECT_NE(GetWindowLongPtrW(window_, GWL_EXSTYLE) & WS_EX_APPWINDOW, 0);
  activate(window_);
  keepPicture(window_, "main-window");
}

// The icon is blue, green and orange; captions are not orange.
TEST_F(MainWindow, ShowsTheApplicationsIconInItsCaption) {
  activate(window_);
  const auto orangePixels = [&] {
    const Picture picture = pictureOf(window_);
    constexpr int kCaptionCorner = 24;
    int count = 0;
    for (int y = 0; y < std::min(kCaptionCorner, picture.height); ++y) {
      for (int x = 0; x < std::min(kCaptionCorner, picture.width); ++x) {
        const auto pixel =
            picture.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                           static_cast<std::size_t>(x)];
        const auto red = (pixel >> 16U) & 0xFFU;
        const auto blue = pixel & 0xFFU;
        count += red > blue + 60 ? 1 : 0;
      }
    }
    return count;
  };
  waitFor("the icon in the caption", [&] { return orangePixels() > 10; });
}

TEST_F(MainWindow, HasTheStatedControlsInTheirPlaces) {
  HWND child = GetWindow(window_, GW_CHILD);
  for (const Control& control : kMainControls) {
    SCOPED_TRACE(testing::Message() << "control " << control.id);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(GetDlgCtrlID(child) & 0xFFFF, control.id);
    EXPECT_EQ(className(child), control.window_class);
    EXPECT_EQ(text(child), control.text);
    expectPlace(window_, child, control.left, control.top, control.width, control.height);
    EXPECT_EQ(IsWindowVisible(child) != 0, control.id != kOptimize);
    EXPECT_EQ(IsWindowEnabled(child) != 0, control.id != kOptimize);
    child = GetWindow(child, GW_HWNDNEXT);
  }
  EXPECT_EQ(child, nullptr);
}

TEST_F(MainWindow, StartsWithCheckedBoxesAndEmptyPaths) {
  EXPECT_TRUE(isChecked(item(window_, kOptimize)));
  EXPECT_TRUE(isChecked(item(window_, kIgnoreLines)));
  EXPECT_TRUE(isChecked(item(window_, kIgnorePoints)));
  for (const int id : {kOptimize, kIgnoreLines, kIgnorePoints})
    EXPECT_EQ(buttonKind(item(window_, id)), BS_AUTOCHECKBOX);
  EXPECT_EQ(text(item(window_, kInput)), L"");
  EXPECT_EQ(text(item(window_, kOutput)), L"");
  for (const int id : {kInput, kOutput}) {
    EXPECT_NE(GetWindowLongPtrW(item(window_, id), GWL_STYLE) & ES_AUTOHSCROLL, 0);
  }
}

TEST_F(MainWindow, ClickingABoxTogglesIt) {
  const HWND box = item(window_, kIgnoreLines);
  click(box);
  waitFor("the box to be cleared", [&] { return !isChecked(box); });
  EXPECT_TRUE(isChecked(item(window_, kIgnorePoints)));
  click(box);
  waitFor("the box to be checked", [&] { return isChecked(box); });
}

void expectAboutBox(Program& program, const char* picture) {
  const HWND about = program.waitForSecondWindow("the about box");
  EXPECT_EQ(text(about), L"Loftbay");
  expectClientSize(about, 235, 73);
  EXPECT_EQ(text(item(about, kAboutText)),
            L"Loftbay 2.2 \n\nBuild # 2.2.125.331 (64-Bit)\n\nConverts JT product models into Zix scenes.");
  expectPlace(about, item(about, kAboutText), 40, 10, 188, 56);
  EXPECT_EQ(text(item(about, IDOK)), L"OK");
  expectPlace(about, item(about, IDOK), 178, 7, 50, 16);
  int icons = 0;
  for (HWND child = GetWindow(about, GW_CHILD); child != nullptr; child = GetWindow(child, GW_HWNDNEXT)) {
    if (className(child) != L"Static" || (GetWindowLongPtrW(child, GWL_STYLE) & SS_TYPEMASK) != SS_ICON)
      continue;
    ++icons;
    const RECT place = rectangleIn(about, child);
    EXPECT_EQ(place.left, pixels(11, 17, 20, 20).left);
    EXPECT_EQ(place.top, pixels(11, 17, 20, 20).top);
    EXPECT_NE(SendMessageW(child, STM_GETICON, 0, 0), 0);
  }
  EXPECT_EQ(icons, 1);
  EXPECT_EQ(IsWindowEnabled(program.mainWindow()), 0) << "the about box is modal";
  if (picture != nullptr) keepPicture(about, picture);
  click(item(about, IDOK));
  program.waitForMainWindowOnly();
}

TEST_F(MainWindow, TheAboutButtonShowsTheAboutBox) {
  click(item(window_, kAbout));
  expectAboutBox(program_, "about-box");
}

TEST_F(MainWindow, TheAboutCommandShowsTheAboutBox) {
  PostMessageW(window_, WM_SYSCOMMAND, 16, 0);
  expectAboutBox(program_, nullptr);
}

TEST_F(MainWindow, TheSystemMenuShowsTheAboutBox) {
  activate(window_);
  press(VK_SPACE, VK_MENU);
  HWND menu = nullptr;
  waitFor("the system menu", [&] {
    menu = FindWindowW(L"#32768", nullptr);
    return menu != nullptr && IsWindowVisible(menu) != 0;
  });
  keepPicture(menu, "system-menu");
  press(VK_UP);  // from above the first entry to the last one
  press(VK_RETURN);
  expectAboutBox(program_, nullptr);
}

TEST_F(MainWindow, CanBeUsedWithTheKeyboardAlone) {
  activate(window_);
  waitFor("the focus on the first control", [&] { return focusOf(window_) == item(window_, kTranslate); });
  std::vector<int> order;
  for (int i = 0; i < 9; ++i) {
    const HWND before = focusOf(window_);
    press(VK_TAB);
    waitFor("the focus to move", [&] { return focusOf(window_) != before; });
    order.push_back(GetDlgCtrlID(focusOf(window_)));
  }
  EXPECT_THAT(order, ElementsAre(kClose, kInput, kBrowseInput, kOutput, kBrowseOutput, kAbout, kIgnoreLines,
                                 kIgnorePoints, kTranslate));
  // Enter is "Translate" wherever the focus is in a text, and Esc is "Close".
  press(VK_TAB);
  press(VK_TAB);
  waitFor("the focus in the input", [&] { return focusOf(window_) == item(window_, kInput); });
  press(VK_RETURN);
  EXPECT_EQ(program_.closeMessageBox().text, L"Please specify the input file.");
  activate(window_);
  press(VK_ESCAPE);
  EXPECT_EQ(program_.waitForExit(), 0U);
}

TEST_F(MainWindow, TheCloseButtonOfTheFrameCloses) {
  PostMessageW(window_, WM_SYSCOMMAND, SC_CLOSE, 0);
  EXPECT_EQ(program_.waitForExit(), 0U);
}

TEST_F(MainWindow, ClosingAtOnceLeavesFourLines) {
  click(item(window_, kClose));
  EXPECT_EQ(program_.waitForExit(), 0U);
  EXPECT_THAT(log(), ElementsAre("Jt2Zix : Win64 Application", "Jt2Zix::Version: 2.2.125.331",
                                 testing::AllOf(StartsWith("Jt2Zix::OS Version:Microsoft "),
                                                testing::EndsWith(", 64-bit")),
                                 "Jt2Zix::ExitInstance : Exit"));
}

}  // namespace
}  // namespace loftbay::gui
