// The job's side of the JT toolkit: start-up, tessellation parameters, opening the file and starting the
// walk, shut-down.
#include <new>
#include <ostream>

#include "convert/held.h"
#include "convert/job.h"
#include "diag/program_seams.h"
#include "diag/tolerance.h"
#include "diag/trace_log.h"
#include "host/path.h"

namespace loftbay::convert {

using diag::text;
using diag::WriteTraceLog;

namespace {

constexpr int kImporterMode = 2;

JtkTessParams* createTessParams(float minimum_edge_length) {
  JtkString no_text;
  return JtkEntityFactory::createTessParams(0.08F, 0.08F, 0.1F, 1.0F, 1.0F, 1.0F, minimum_edge_length, 0,
                                            no_text, 0);
}

void walk(JtkEntity* root) {
  const Held held_root(root);
  JtkTraverser* const traverser = JtkEntityFactory::createTraverser();
  traverser->setPreActionCallback(&enterNode);
  traverser->setPostActionCallback(&leaveNode);
  const Held held_traverser(traverser);
  traverser->traverse(root, 0);
}

}  // namespace

bool obJt2Zix::InitializeJt() {
  WriteTraceLog("obJt2Zix::InitializeJt():Start");
  JtkEntityFactory::init(JtkEntityFactory::kernelDefault, JtkEntityFactory::environmentDefault, nullptr);
  JtkCADImporter* const probe = JtkEntityFactory::createCADImporter();
  if (probe == nullptr) {
    WriteTraceLog("obJt2Zix::InitializeJt():End - The JT toolkit gives no importer");
    *diag::programSeams().startup_failures << "The JT toolkit gives no importer." << std::endl;
    diag::programSeams().observer->lost(host::toHostPath(inputPath), "the JT toolkit could not be started");
    notes_.nothingWasRead();
    return false;
  }
  // Only proves that one can be made; ReadJt makes its own.
  probe->ref();
  probe->unref();
  WriteTraceLog("obJt2Zix::InitializeJt():End");
  return true;
}

bool obJt2Zix::SetTessParams() {
  WriteTraceLog("obJt2Zix::SetTessParams():Start...");
  const float minimum_edge_length =
      diag::UlpTessToleranceGiven ? diag::UlpTessTolerance : diag::kDefaultUlpTessTolerance;
  WriteTraceLog(text("obJt2Zix::SetTessParams(): ULP : MinEdgeLength : ", minimum_edge_length));
  if (tessParams == nullptr) {
    try {
      tessParams = createTessParams(minimum_edge_length);
    } catch (const std::bad_alloc&) {
      WriteTraceLog("obJt2Zix::SetTessParams(): createTessParams failed");
      no_memory_for_tess_params_ = true;
    } catch (...) {
      WriteTraceLog("obJt2Zix::SetTessParams(): createTessParams failed");
    }
  }
  if (tessParams == nullptr) {
    WriteTraceLog("obJt2Zix::SetTessParams():End...Failed");
    return false;
  }
  WriteTraceLog("obJt2Zix::SetTessParams():End");
  return true;
}

bool obJt2Zix::ReadJt() {
  WriteTraceLog("obJt2Zix::ReadJt():Start");
  JtkCADImporter* const importer = JtkEntityFactory::createCADImporter();
  if (importer == nullptr) {
    WriteTraceLog("obJt2Zix::ReadJt():The JT toolkit gives no importer");
    JtkInfo::post(JtkInfo::JtkERRORS) << "The JT toolkit gives no importer." << std::endl;
    diag::programSeams().observer->lost(host::toHostPath(inputPath), "the JT toolkit gives no importer");
    notes_.nothingWasRead();
  } else {
    const Held held_importer(importer);
    importer->configureImporter(nullptr, 0);
    importer->setImporterMode(kImporterMode);
    int major = 0;
    int minor = 0;
    importer->getFileVersion(JtkString(inputPath.c_str()), major, minor);
    WriteTraceLog(text("obJt2Zix::ReadJt(): JT File Version: ", major, ".", minor));
    if (JtkEntity* const root = importer->importFile(JtkString(inputPath.c_str()))) {
      walk(root);
    } else {
      // The toolkit has reported to the observer what is wrong with the file.
      WriteTraceLog("obJt2Zix::ReadJt():File loading failed!");
      JtkInfo::post(JtkInfo::JtkERRORS) << "Unable to find root node.  Check file...\n";
      notes_.nothingWasRead();
    }
  }
  WriteTraceLog("obJt2Zix::ReadJt():End");
  return true;
}

void obJt2Zix::CloseJt() {
  WriteTraceLog("obJt2Zix::CloseJt():Start");
  JtkEntityFactory::fini();
  WriteTraceLog("obJt2Zix::CloseJt():End");
}

}  // namespace loftbay::convert
