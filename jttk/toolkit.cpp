// The small classes of the interface, and the factory.
#include <cstring>
#include <vector>

#include "diag/program_seams.h"
#include "jttk/importer.h"
#include "jttk/jttk.h"
#include "jttk/traverser.h"

void JtkRefCounted::ref() { ++references_; }

void JtkRefCounted::unref() {
  if (--references_ <= 0) delete this;
}

JtkRefCounted::~JtkRefCounted() = default;

JtkString::JtkString() = default;
JtkString::JtkString(const char* text) : text_(text == nullptr ? "" : text) {}
JtkString::~JtkString() = default;
JtkString::JtkString(const JtkString& other) = default;
JtkString& JtkString::operator=(const JtkString& other) = default;

void JtkString::getString(char*& buffer, int& length) const {
  buffer = new char[text_.size() + 1];
  std::memcpy(buffer, text_.c_str(), text_.size() + 1);
  length = static_cast<int>(text_.size());
}

bool JtkEntity::isOfSubType(TypeID type) const {
  if (type == typeID() || type == JtkENTITY || type == JtkSHAREABLE) return true;
  const bool is_primitive = (typeID() >= JtkPRIMITIVESET && typeID() <= JtkTRISTRIPSET) ||
                            (typeID() >= JtkBOXSET && typeID() <= JtkTRIPRISMSET);
  if (type == JtkSHAPE) return is_primitive || typeID() == JtkNULLSHAPE;
  return type == JtkPRIMITIVESET && is_primitive;
}

JtkEntity* JtkEntityList::operator[](int index) const {
  return index < 0 || index >= length() ? nullptr : at(index);
}

std::ostream& JtkInfo::post(Streams /*stream*/) { return *loftbay::diag::programSeams().toolkit_messages; }

namespace {

// They live until fini: who asks for them never releases them.
std::vector<JtkTessParams*>& tessParams() {
  static std::vector<JtkTessParams*> params;
  return params;
}

class TessParams final : public JtkTessParams {};

}  // namespace

void JtkEntityFactory::init(kernelOption /*kernel*/, environmentOption /*environment*/,
                            const char* /*text*/) {}

JtkCADImporter* JtkEntityFactory::createCADImporter() { return new jttk::Importer; }

JtkTessParams* JtkEntityFactory::createTessParams(float /*chord_percent*/, float /*second*/, float /*third*/,
                                                  float /*fourth*/, float /*fifth*/, float /*sixth*/,
                                                  float /*minimum_edge_length*/, int /*option*/,
                                                  JtkString& /*text*/, int /*flag*/) {
  tessParams().push_back(new TessParams);
  tessParams().back()->ref();
  return tessParams().back();
}

JtkTraverser* JtkEntityFactory::createTraverser() { return new jttk::Traverser; }

void JtkEntityFactory::deleteMemory(char* memory) { delete[] memory; }

void JtkEntityFactory::fini() {
  for (JtkTessParams* params : tessParams()) params->unref();
  tessParams().clear();
}
