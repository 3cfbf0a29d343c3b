#include "jttk/interface/importer.h"

#include "diag/program_seams.h"
#include "host/path.h"
#include "host/shown_text.h"
#include "jttk/file/jt_file.h"
#include "jttk/interface/object_factory.h"
#include "jttk/model/document.h"

namespace jttk {

namespace diag = loftbay::diag;

JtkEntity* Importer::importFile(const JtkString& path) {
  Result<std::unique_ptr<Document>> document = openDocument(path.text());
  if (!document) {
    const Error& error = document.error();
    const std::string file = loftbay::host::toHostPath(path.text());
    const std::string reason = file + ": " + error.text();
    diag::programSeams().observer->lost(file, reason);
    JtkInfo::post(JtkInfo::JtkERRORS) << loftbay::host::shownText(reason) << '\n';
    return nullptr;
  }
  const Version version = (*document)->file->version();
  diag::programSeams().observer->jtVersion(version.major, version.minor);
  return createRoot(std::move(*document));
}

int Importer::getFileVersion(const JtkString& path, int& major, int& minor) {
  const Result<Version> version = JtFile::readVersion(path.text());
  if (!version) return 0;
  major = version->major;
  minor = version->minor;
  diag::programSeams().observer->jtVersion(major, minor);
  return 1;
}

}  // namespace jttk
