#include "app/application.h"

#include "app/application_name.h"
#include "app/main_dialog.h"
#include "app/resource_ids.h"
#include "diag/build_info.h"
#include "diag/system_description.h"
#include "diag/tolerance.h"
#include "diag/trace_log.h"
#include "diag/work_directory.h"

namespace loftbay::app {

bool CJt2ZixApp::InitInstance() {
  setApplicationName(diag::CBuildInfo().GetAppName("loftbay"));
  diag::SelectWorkDirectory("Loftbay_Log.txt");
  diag::WriteTraceLog("Jt2Zix : Win64 Application");
  diag::WriteTraceLog(std::string("Jt2Zix::Version: ") + diag::kBuildNumber);
  diag::WriteTraceLog("Jt2Zix::OS Version:" + diag::systemDescription());
  frame_.defaultInitInstance();
  frame_.enableControlContainer();
  frame_.setRegistryKey("Local AppWizard-Generated Applications");
  diag::readUlpTessTolerance();

  CJt2ZixDlg dialog("", "", 1, frame_.loadIcon(LOFTBAY_ICON));
  frame_.runMainDialog(dialog);
  return false;
}

int CJt2ZixApp::ExitInstance() {
  diag::WriteTraceLog("Jt2Zix::ExitInstance : Exit");
  return frame_.defaultExitInstance();
}

}  // namespace loftbay::app
