// The job's side of the scene: its root, its names and its save.
#include "convert/job.h"
#include "diag/memory_report.h"
#include "diag/trace_log.h"
#include "scene/scene_setup.h"

namespace loftbay::convert {

using diag::text;
using diag::WriteTraceLog;

bool obJt2Zix::InitializeZixScene(const char* name) {
  WriteTraceLog("obJt2Zix::InitializeZixScene():Start");
  rootId = scene::createRoot(scene, name_maker_, name);
  parentStack.push_back(rootId);
  WriteTraceLog("obJt2Zix::InitializeZixScene():End");
  return true;
}

std::string obJt2Zix::MakeUniqueName(const char* name) { return name_maker_.unique(name); }

bool obJt2Zix::WriteZix() {
  WriteTraceLog("obJt2Zix::WriteZix():Start");
  WriteTraceLog(text("obJt2Zix::WriteZix():b4 Writing ZIX:Memory Usage: ", diag::memoryUsageReport()));
  scene::save(scene, rootId, outputPath);
  WriteTraceLog(text("obJt2Zix::WriteZix():after Writing ZIX:Memory Usage: ", diag::memoryUsageReport()));
  WriteTraceLog("obJt2Zix::WriteZix():End");
  return true;
}

}  // namespace loftbay::convert
