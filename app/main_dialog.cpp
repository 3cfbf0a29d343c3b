#include "app/main_dialog.h"

#include <algorithm>
#include <utility>

#include "app/about_dialog.h"
#include "app/application_name.h"
#include "app/resource_ids.h"
#include "convert/job.h"
#include "convert/path_validation.h"
#include "diag/memory_report.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "diag/work_directory.h"

namespace loftbay::app {

namespace {

// The low four bits of a system command are the system's own.
constexpr unsigned kSystemCommandMask = 0xFFF0;

constexpr std::uint32_t kFileDialogFlags = kPathMustExist | kOverwritePrompt;

}  // namespace

std::string proposedOutput(std::string input_path) {
  input_path.resize(input_path.size() - std::min<std::size_t>(input_path.size(), 2));
  return input_path + "zix";
}

CJt2ZixDlg::CJt2ZixDlg(std::string input_path, std::string output_path, int optimize, IconHandle icon)
    : Dialog(LOFTBAY_DIALOG_MAIN),
      icon_(icon),
      input_path_(std::move(input_path)),
      output_path_(std::move(output_path)),
      optimize_(optimize) {}

void CJt2ZixDlg::DoDataExchange(const DataExchange& exchange) {
  exchange.text(LOFTBAY_CONTROL_INPUT, input_path_);
  exchange.text(LOFTBAY_CONTROL_OUTPUT, output_path_);
  exchange.check(LOFTBAY_CONTROL_OPTIMIZE, optimize_);
}

bool CJt2ZixDlg::OnInitDialog() {
  Dialog::OnInitDialog();
  if (window().hasSystemMenu()) {
    const std::string about = window().loadString(LOFTBAY_STRING_ABOUT);
    if (!about.empty()) window().appendSystemMenuEntry(LOFTBAY_COMMAND_ABOUT, about);
  }
  window().setIcon(icon_, true);
  window().setIcon(icon_, false);
  wait_cursor_ = window().loadCursor(SystemCursor::Wait);
  arrow_cursor_ = window().loadCursor(SystemCursor::Arrow);
  window().setItemChecked(LOFTBAY_CONTROL_IGNORE_LINES, true);
  window().setItemChecked(LOFTBAY_CONTROL_IGNORE_POINTS, true);
  window().setCaption(applicationName());
  window().acceptFiles();
  return true;
}

bool CJt2ZixDlg::OnSysCommand(unsigned command) {
  if ((command & kSystemCommandMask) != LOFTBAY_COMMAND_ABOUT) return false;
  showAboutBox();
  return true;
}

bool CJt2ZixDlg::OnPaint() {
  if (!window().isMinimised()) return false;
  window().paintCentredIcon(icon_);
  return true;
}

IconHandle CJt2ZixDlg::OnQueryDragIcon() { return icon_; }

void CJt2ZixDlg::OnDropFile(const std::string& path) { takeInput(path); }

bool CJt2ZixDlg::onClicked(int control) {
  switch (control) {
    case LOFTBAY_CONTROL_OK:
      OnBnClickedOk();
      return true;
    case LOFTBAY_CONTROL_BROWSE_INPUT:
      OnBnClickedBrowseInput();
      return true;
    case LOFTBAY_CONTROL_BROWSE_OUTPUT:
      OnBnClickedBrowseOutput();
      return true;
    case LOFTBAY_CONTROL_ABOUT:
      showAboutBox();
      return true;
    case LOFTBAY_CONTROL_OPTIMIZE:
      return true;
    case LOFTBAY_CONTROL_IGNORE_LINES:
      convert::ignoreLines = !convert::ignoreLines;
      return true;
    case LOFTBAY_CONTROL_IGNORE_POINTS:
      convert::ignorePoints = !convert::ignorePoints;
      return true;
    default:
      return Dialog::onClicked(control);
  }
}

void CJt2ZixDlg::showAboutBox() {
  CAboutDlg about;
  window().runModal(about);
}

void CJt2ZixDlg::takeInput(std::string path) {
  input_path_ = std::move(path);
  output_path_ = proposedOutput(input_path_);
  window().setItemText(LOFTBAY_CONTROL_INPUT, input_path_);
  window().setItemText(LOFTBAY_CONTROL_OUTPUT, output_path_);
}

void CJt2ZixDlg::OnBnClickedBrowseInput() {
  auto chosen = window().runFileDialog(
      {.open = true, .filter = "JT Files (*.jt)|*.jt|", .default_extension = "", .flags = kFileDialogFlags});
  if (chosen) takeInput(*std::move(chosen));
}

void CJt2ZixDlg::OnBnClickedBrowseOutput() {
  auto chosen = window().runFileDialog({.open = false,
                                        .filter = "ZIX files(*.zix)|*.zix||",
                                        .default_extension = "zix",
                                        .flags = kFileDialogFlags});
  if (!chosen) return;
  output_path_ = *std::move(chosen);
  // This box alone: an input that was typed and not yet taken stays.
  window().setItemText(LOFTBAY_CONTROL_OUTPUT, output_path_);
}

void CJt2ZixDlg::OnBnClickedOk() {
  using diag::WriteTraceLog;
  UpdateData(true);
  if (!convert::validatePaths(input_path_, output_path_)) {
    WriteTraceLog("CJt2ZixDlg:: Input/Output Validation failed");
    return;
  }
  WriteTraceLog("CJt2ZixDlg:: Input File :  " + input_path_);
  WriteTraceLog("CJt2ZixDlg:: Output File : " + output_path_);
  WriteTraceLog("CJt2ZixDlg::OnBnClickedOk : Memory Usage b4 conversion: " + diag::memoryUsageReport());
  window().setCursor(wait_cursor_);
  optimize_ = 1;
  bool success = false;
  diag::findBaseDirectory();  // for the directory that it may create; the log stays where it is
  const convert::obJt2Zix job(input_path_.c_str(), output_path_.c_str(), &success, true);
  WriteTraceLog("CJt2ZixDlg::OnBnClickedOk : Memory Usage after conversion: " + diag::memoryUsageReport());
  window().setCursor(arrow_cursor_);
  if (success) {
    diag::programSeams().showMessageBox("Translated Successfully!!!", diag::BoxIcon::Information);
  } else {
    diag::programSeams().showMessageBox("Translation failed!!!", diag::BoxIcon::Error);
  }
}

}  // namespace loftbay::app
