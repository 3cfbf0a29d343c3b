// A toolkit that starts but cannot make an importer: linked with the desktop program's own code, it shows how
// the program reports a conversion that fails.
#include <iostream>

#include "jttk/jttk.h"

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

JtkCADImporter* JtkEntityFactory::createCADImporter() { return nullptr; }

JtkTessParams* JtkEntityFactory::createTessParams(float /*chord_percent*/, float /*second*/, float /*third*/,
                                                  float /*fourth*/, float /*fifth*/, float /*sixth*/,
                                                  float /*minimum_edge_length*/, int /*option*/,
                                                  JtkString& /*text*/, int /*flag*/) {
  return nullptr;
}

JtkTraverser* JtkEntityFactory::createTraverser() { return nullptr; }

void JtkEntityFactory::deleteMemory(char* memory) { delete[] memory; }

void JtkEntityFactory::fini() {}

std::ostream& JtkInfo::post(Streams /*stream*/) { return std::cerr; }
