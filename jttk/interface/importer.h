// Opens JT files for the interface.
#pragma once

#include "jttk/interface/jttk.h"

namespace jttk {

class Importer final : public JtkCADImporter {
 public:
  void configureImporter(void* /*configuration*/, int /*option*/) override {}
  void setImporterMode(int /*mode*/) override {}
  JtkEntity* importFile(const JtkString& path) override;
  // 1 when the version could be read, else 0.
  int getFileVersion(const JtkString& path, int& major, int& minor) override;
};

}  // namespace jttk
