// The program's only window: two paths, two options, and the button that runs a conversion. It stays open
// for further conversions until the user closes it.
#pragma once

#include <string>

#include "app/dialog.h"

namespace loftbay::app {

// The output path that is proposed for an input path: the last two characters become "zix"
// (`C:\a\part.jt` -> `C:\a\part.zix`). A text of fewer characters loses what it has.
std::string proposedOutput(std::string input_path);

class CJt2ZixDlg : public Dialog {
 public:
  //   input_path, output_path  what the edit boxes show first
  //   optimize                 the state of the hidden check box (0 or 1)
  //   icon                     shown in the caption, the task bar and when minimised
  CJt2ZixDlg(std::string input_path, std::string output_path, int optimize, IconHandle icon);

  bool OnInitDialog() override;
  bool OnSysCommand(unsigned command) override;
  bool OnPaint() override;
  IconHandle OnQueryDragIcon() override;
  // Does what browsing for the input does.
  void OnDropFile(const std::string& path) override;

 protected:
  void DoDataExchange(const DataExchange& exchange) override;
  bool onClicked(int control) override;

 private:
  void OnBnClickedOk();
  void OnBnClickedBrowseInput();
  void OnBnClickedBrowseOutput();
  void showAboutBox();
  void takeInput(std::string path);

  IconHandle icon_;
  CursorHandle wait_cursor_ = nullptr;
  CursorHandle arrow_cursor_ = nullptr;
  std::string input_path_;
  std::string output_path_;
  int optimize_;
};

}  // namespace loftbay::app
