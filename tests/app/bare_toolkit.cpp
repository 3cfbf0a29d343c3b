#include "tests/app/bare_toolkit.h"

#include <utility>

#include "diag/program_seams.h"
#include "jttk/interface/jttk.h"

namespace {

std::function<void()>& importAction() {
  static std::function<void()> action;
  return action;
}

class BareImporter : public JtkCADImporter {
 public:
  void configureImporter(void* /*configuration*/, int /*option*/) override {}
  void setImporterMode(int /*mode*/) override {}
  JtkEntity* importFile(const JtkString& /*path*/) override {
    importAction()();
    return nullptr;
  }
  int getFileVersion(const JtkString& /*path*/, int& /*major*/, int& /*minor*/) override { return 0; }
};

}  // namespace

namespace loftbay::tests {

void setImport(std::function<void()> action) { importAction() = std::move(action); }

}  // namespace loftbay::tests

JtkRefCounted::~JtkRefCounted() = default;

void JtkRefCounted::ref() { ++references_; }

void JtkRefCounted::unref() {
  if (--references_ == 0) delete this;
}

JtkString::JtkString() = default;
JtkString::JtkString(const char* text) : text_(text) {}
JtkString::~JtkString() = default;
JtkString::JtkString(const JtkString& other) = default;
JtkString& JtkString::operator=(const JtkString& other) = default;

void JtkString::getString(char*& buffer, int& length) const {
  buffer = new char[text_.size() + 1];
  text_.copy(buffer, text_.size());
  buffer[text_.size()] = '\0';
  length = static_cast<int>(text_.size());
}

bool JtkEntity::isOfSubType(TypeID type) const { return isOfType(type) != 0; }

JtkEntity* JtkEntityList::operator[](int index) const { return at(index); }

void JtkEntityFactory::init(kernelOption /*kernel*/, environmentOption /*environment*/,
                            const char* /*text*/) {}

JtkCADImporter* JtkEntityFactory::createCADImporter() { return importAction() ? new BareImporter : nullptr; }

JtkTessParams* JtkEntityFactory::createTessParams(float /*chord_percent*/, float /*second*/, float /*third*/,
                                                  float /*fourth*/, float /*fifth*/, float /*sixth*/,
                                                  float /*minimum_edge_length*/, int /*option*/,
                                                  JtkString& /*text*/, int /*flag*/) {
  return nullptr;
}

JtkTraverser* JtkEntityFactory::createTraverser() { return nullptr; }

void JtkEntityFactory::deleteMemory(char* memory) { delete[] memory; }

void JtkEntityFactory::fini() {}

std::ostream& JtkInfo::post(Streams /*stream*/) { return *loftbay::diag::programSeams().toolkit_messages; }
