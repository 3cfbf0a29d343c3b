// The start and end of a scene: its root before the traversal, the views and the closing of the file after
// it.
#include <exception>

#include "convert/job.h"
#include "diag/memory_report.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "host/out_of_memory.h"
#include "host/path.h"

namespace loftbay::convert {

using diag::text;
using diag::WriteTraceLog;

bool obJt2Zix::InitializeZixScene(const char* name) {
  WriteTraceLog("obJt2Zix::InitializeZixScene():Start");
  rootId = scene.createObject(Orb::Zix::ObjectType::Node);
  diag::programSeams().observer->counted(diag::Counted::Nodes, 1);
  scene.setName(rootId, MakeUniqueName(name).c_str());
  parentStack.push_back(rootId);
  WriteTraceLog("obJt2Zix::InitializeZixScene():End");
  return true;
}

bool obJt2Zix::WriteZix() {
  WriteTraceLog("obJt2Zix::WriteZix():Start");
  WriteTraceLog(text("obJt2Zix::WriteZix():b4 Writing ZIX:Memory Usage: ", diag::memoryUsageReport()));
  const auto failed = [this](const char* reason) {
    diag::programSeams().showMessageBox("Failed to save", diag::BoxIcon::None);
    diag::programSeams().observer->lost(host::toHostPath(outputPath), reason);
  };
  try {
    scene.createDefaultViews(rootId);
    scene.closeFile(outputPath.c_str());
  } catch (const std::exception& error) {
    failed(host::failureText(error));
  } catch (...) {
    failed("the scene could not be saved");
  }
  WriteTraceLog(text("obJt2Zix::WriteZix():after Writing ZIX:Memory Usage: ", diag::memoryUsageReport()));
  WriteTraceLog("obJt2Zix::WriteZix():End");
  return true;
}

}  // namespace loftbay::convert
