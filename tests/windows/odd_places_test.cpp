// Conversions to and from other locations than a folder of a drive, and locations that fail during the
// conversion.
#include <cstdlib>

#include "tests/windows/desk.h"

namespace loftbay::gui {
namespace {

namespace fs = std::filesystem;

class OddPlaces : public Desk {
 protected:
  OddPlaces() { fs::copy_file(Path(_wgetenv(L"LOFTBAY_SAMPLES")) / L"beam_engine.jt", model_); }

  // A folder that the test's surroundings name in a variable; empty when they have none.
  static Path named(const wchar_t* variable) {
    const wchar_t* const folder = _wgetenv(variable);
    return folder == nullptr ? Path() : Path(folder);
  }

  // Without a drive of its own folder: the log stays below folder_.
  void convertIn(const Path& place) {
    CopyFileW(model_.c_str(), (place / L"there.jt").c_str(), FALSE);
    DeleteFileW((place / L"there.zix").c_str());
    Program program(options());
    translate(program, place / L"there.jt", place / L"there.zix");
    EXPECT_EQ(program.closeMessageBox().text, L"Translated Successfully!!!");
    EXPECT_GT(contents(place / L"there.zix").size(), 10000U);
  }

  Path model_ = folder_ / L"model.jt";
};

TEST_F(OddPlaces, AFolderOnAServer) {
  const Path share = named(L"LOFTBAY_SHARE");
  if (share.empty()) GTEST_SKIP() << "no folder of a server";
  ASSERT_EQ(share.wstring().substr(0, 2), L"\\\\");
  convertIn(share);
}

TEST_F(OddPlaces, ADriveThatStandsForAFolder) {
  // Made by the surroundings: DefineDosDevice, which `subst` uses, makes no drive under Wine 8.
  const Path drive = named(L"LOFTBAY_SUBST_DRIVE");
  if (drive.empty()) GTEST_SKIP() << "no drive that stands for a folder";
  convertIn(drive);
}

TEST_F(OddPlaces, AFullDiskIsToldAndKeepsNothingUnfinished) {
  const Path disk = named(L"LOFTBAY_SMALL_DISK");
  if (disk.empty()) GTEST_SKIP() << "no disk of limited size";
  Program program(options());
  translate(program, model_, disk / L"scene.zix");
  // The job's own box, and the dialog's answer after it: a scene that was not saved is no failure of the job.
  const HWND box = program.waitForSecondWindow("the job's box");
  waitFor("its text", [&] { return FindWindowExW(box, nullptr, L"Static", L"Failed to save") != nullptr; });
  PostMessageW(box, WM_COMMAND, IDOK, 0);
  waitFor("the box to close", [&] { return IsWindow(box) == 0; });
  EXPECT_EQ(program.closeMessageBox().text, L"Translated Successfully!!!");
  waitFor("the disk to be empty", [&] { return fs::is_empty(disk); });
}

}  // namespace
}  // namespace loftbay::gui
