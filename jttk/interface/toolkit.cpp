// The small classes of the interface, and the factory.
#include <cmath>
#include <cstring>
#include <vector>

#include "diag/program_seams.h"
#include "jttk/interface/importer.h"
#include "jttk/interface/jttk.h"
#include "jttk/interface/tess_params.h"
#include "jttk/interface/traverser.h"

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

// They live until fini: callers never release them.
std::vector<jttk::TessParams*>& tessParams() {
  static std::vector<jttk::TessParams*> params;
  return params;
}

}  // namespace

namespace jttk {

TessParams::TessParams(float chord_percent, float minimum_edge_length) {
  if (std::isfinite(chord_percent) && chord_percent > 0) values_.chord_percent = chord_percent;
  if (std::isfinite(minimum_edge_length) && minimum_edge_length > 0) {
    values_.minimum_edge_length = minimum_edge_length;
  }
}

}  // namespace jttk

void JtkEntityFactory::init(kernelOption /*kernel*/, environmentOption /*environment*/,
                            const char* /*text*/) {}

JtkCADImporter* JtkEntityFactory::createCADImporter() { return new jttk::Importer; }

JtkTessParams* JtkEntityFactory::createTessParams(float chord_percent, float /*second*/, float /*third*/,
                                                  float /*fourth*/, float /*fifth*/, float /*sixth*/,
                                                  float minimum_edge_length, int /*option*/,
                                                  JtkString& /*text*/, int /*flag*/) {
  tessParams().push_back(new jttk::TessParams(chord_percent, minimum_edge_length));
  tessParams().back()->ref();
  jttk::currentTessValues() = tessParams().back()->values();
  return tessParams().back();
}

JtkTraverser* JtkEntityFactory::createTraverser() { return new jttk::Traverser; }

void JtkEntityFactory::deleteMemory(char* memory) { delete[] memory; }

void JtkEntityFactory::fini() {
  for (jttk::TessParams* params : tessParams()) params->unref();
  tessParams().clear();
  jttk::currentTessValues() = {};
}
