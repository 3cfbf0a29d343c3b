// The job's frame: construction, the order of the stages, and the name of the scene's root.
#include "convert/job.h"

#include <stdexcept>

#include "diag/build_info.h"
#include "diag/trace_log.h"

namespace loftbay::convert {

using diag::WriteTraceLog;

obJt2Zix* activeConverter = nullptr;
bool ignoreLines = true;
bool ignorePoints = true;

namespace {

// The file name without the three characters before its last one: "part.jt" gives "part", "model.jt"
// "modet". Existing scenes are named so; keep it. Only `\` separates directories.
std::string modelNameOf(const std::string& path) {
  constexpr std::size_t kRemoved = 3;
  const auto separator = path.rfind('\\');
  std::string name = separator == std::string::npos ? path : path.substr(separator + 1);
  if (name.size() < kRemoved + 1) throw std::out_of_range("invalid string position");
  name.erase(name.size() - (kRemoved + 1), kRemoved);
  return name;
}

}  // namespace

obJt2Zix::obJt2Zix(const char* input_path, const char* output_path, bool* success, bool optimize_meshes) {
  const std::string application = diag::text("Loftbay ", diag::kBuildNumber);
  scene.setApplicationInfo<double>(application.c_str(), 1.0);
  try {
    scene.saveTo(output_path, " ", true, true);
  } catch (...) {
    // Errors of the output are kept by the scene and thrown when it is closed.
  }
  activeConverter = this;
  inputPath = input_path;
  outputPath = output_path;
  optimize = optimize_meshes;
  WriteTraceLog("obJt2Zix::Start conversion...");
  *success = Convert();
  WriteTraceLog("obJt2Zix::Conversion completed.");
  notes_.report();
}

bool obJt2Zix::Convert() {
  WriteTraceLog("obJt2Zix::Convert():Start");
  if (!InitializeJt()) return false;
  const std::string modelName = modelNameOf(inputPath);
  if (!InitializeZixScene(modelName.c_str())) return false;
  SetTessParams();
  if (!ReadJt()) return false;
  WriteZix();
  CloseJt();
  return true;
}

}  // namespace loftbay::convert
