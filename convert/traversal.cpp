// Turns the product structure into the scene's tree: what happens when the toolkit's traverser enters and
// leaves a node.
//
// Two stacks carry the state. The top of `parentStack` is the parent of the next scene object; assemblies and
// instances push theirs on entering and lose it on leaving, a part with a transform pushes and pops inside
// its handler. `materialStack` grows at parts and instances that have a material and shrinks by one at each
// leave of an assembly or instance; its depth does not match the tree (see leaveNode). Existing scenes depend
// on that, so keep it.
#include <new>
#include <stdexcept>

#include "convert/held.h"
#include "convert/job.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"

namespace loftbay::convert {

using diag::Counted;
using diag::text;
using diag::WriteTraceLog;
using Orb::Zix::ObjectId;
using Orb::Zix::ObjectType;

namespace {

constexpr int kTessellated = 1;  // what tessellate answers on success

std::string nameOf(JtkHierarchy* node) {
  const JtkString name = node->getName();
  char* buffer = nullptr;
  int length = 0;
  name.getString(buffer, length);
  std::string result(buffer, static_cast<std::size_t>(length));
  JtkEntityFactory::deleteMemory(buffer);
  return result;
}

JtkTransform* transformOf(JtkHierarchy* node) {
  JtkTransform* transform = nullptr;
  node->getTransform(transform);
  return transform;
}

JtkMaterial* materialOf(JtkHierarchy* node) {
  JtkMaterial* material = nullptr;
  node->getMaterial(material);
  return material;
}

void count(Counted kind) { diag::programSeams().observer->counted(kind, 1); }

// Holds a tessellation result by reference count, if its type allows that.
class HeldResult {
 public:
  explicit HeldResult(JtkEntity* entity) : entity_(entity) {
    if (entity_->isOfSubType(JtkEntity::JtkSHAREABLE)) entity_->ref();
  }
  HeldResult(const HeldResult&) = delete;
  HeldResult& operator=(const HeldResult&) = delete;
  ~HeldResult() {
    if (entity_->isOfSubType(JtkEntity::JtkSHAREABLE)) entity_->unref();
  }

 private:
  JtkEntity* entity_;
};

}  // namespace

int enterNode(JtkEntity* node, int /*depth*/, int /*client_data*/) {
  switch (node->typeID()) {
    case JtkEntity::JtkASSEMBLY:
      activeConverter->ReadJtAssembly(static_cast<JtkAssembly*>(node));
      break;
    case JtkEntity::JtkPART:
      activeConverter->ReadJtPart(static_cast<JtkPart*>(node));
      break;
    case JtkEntity::JtkINSTANCE:
      activeConverter->ReadJtInstance(static_cast<JtkInstance*>(node));
      break;
    default:
      break;
  }
  return 1;
}

int leaveNode(JtkEntity* node, int /*depth*/, int /*client_data*/) {
  const auto type = node->typeID();
  if (type == JtkEntity::JtkASSEMBLY || type == JtkEntity::JtkINSTANCE) {
    obJt2Zix& job = *activeConverter;
    if (!job.parentStack.empty()) job.popParent();
    if (!job.materialStack.empty()) job.materialStack.pop_back();
  }
  return 1;
}

const ObjectId& obJt2Zix::topParent() const {
  if (parentStack.empty()) throw std::out_of_range("invalid vector subscript");
  return parentStack.back();
}

ObjectId obJt2Zix::pushParent(const ObjectId& object) {
  const ObjectId parent = topParent();
  parentStack.push_back(object);
  return parent;
}

void obJt2Zix::popParent() {
  if (unwindPending && unwindMark != -1 && parentStack.size() == static_cast<std::size_t>(unwindMark)) {
    unwindPending = false;
    unwindMark = -1;
  }
  parentStack.pop_back();
}

void obJt2Zix::attachWithTransform(JtkHierarchy* node, const ObjectId& parent, const ObjectId& object,
                                   JtkTransform* transform) {
  if (transform == nullptr) {
    scene.addComponent(parent, object);
    return;
  }
  const ObjectId placement = scene.createObject(ObjectType::Transform);
  count(Counted::Transforms);
  scene.setName(placement, MakeUniqueName(nameOf(node).c_str()).c_str());
  parentStack.push_back(placement);
  SetZixTransformation(transform);
  popParent();
  scene.addComponent(parent, object, placement);
}

bool obJt2Zix::ReadJtAssembly(JtkAssembly* node) {
  WriteTraceLog("obJt2Zix::ReadJtAssembly():Start");
  const std::string name = nameOf(node);
  WriteTraceLog(text("obJt2Zix::ReadJtAssembly(): Name : ", name));
  const ObjectId object = scene.createObject(ObjectType::Node);
  count(Counted::Nodes);
  scene.setName(object, MakeUniqueName(nameOf(node).c_str()).c_str());

  const ObjectId parent = pushParent(object);
  JtkTransform* transform = transformOf(node);
  if (transform != nullptr) {
    WriteTraceLog("obJt2Zix::ReadJtAssembly():Assembly has got Transformation");
    // An assembly that is reached through an instance is placed by the instance alone.
    if (inInstancedAssembly) {
      notes_.add(Dropped::SubAssemblyTransform, name);
      transform = nullptr;
    } else if (nested_walks_ > 0) {
      notes_.add(Dropped::SubAssemblyTransformKept, name);
    }
  }
  attachWithTransform(node, parent, object, transform);
  // Asked for and not used: an assembly pushes no material, although leaving it pops one.
  materialOf(node);
  WriteTraceLog("obJt2Zix::ReadJtAssembly():End");
  return true;
}

bool obJt2Zix::ReadJtInstance(JtkInstance* node) {
  WriteTraceLog("obJt2Zix::ReadJtInstance():Start");
  const std::string name = nameOf(node);
  WriteTraceLog(text("obJt2Zix::ReadJtInstance(): Name : ", name));
  JtkHierarchy* const referenced = node->getReferencedNode();
  const auto type = referenced->typeID();

  const ObjectId object = scene.createObject(ObjectType::Node);
  count(Counted::Nodes);
  scene.setName(object, MakeUniqueName(nameOf(node).c_str()).c_str());
  const ObjectId parent = pushParent(object);
  JtkTransform* const transform = transformOf(node);
  if (transform != nullptr) WriteTraceLog("obJt2Zix::ReadJtInstance():Instance has got Transformation");
  attachWithTransform(node, parent, object, transform);
  if (JtkMaterial* const material = materialOf(referenced)) materialStack.push_back(material);

  if (type == JtkEntity::JtkPART) {
    WriteTraceLog("obJt2Zix::ReadJtInstance():Instance Type = JtkEntity::JtkPART");
    writeInstancedPart(node, name, static_cast<JtkPart*>(referenced));
  } else if (type == JtkEntity::JtkASSEMBLY) {
    WriteTraceLog("obJt2Zix::ReadJtInstance():Instance Type = JtkEntity::JtkASSEMBLY");
    walkInstancedAssembly(referenced);
  }
  WriteTraceLog("obJt2Zix::ReadJtInstance():End");
  return true;
}

// The shapes of the finest level under the instance's object and name. The part gets no object and no
// transform of its own here, and is not tessellated.
void obJt2Zix::writeInstancedPart(JtkInstance* instance, const std::string& name, JtkPart* part) {
  const int shapes = part->numShapeLODs() < 1 ? 0 : part->numShapes(0);
  if (shapes < 1) {
    notes_.add(Dropped::InstanceWithoutShapes, name);
    return;
  }
  for (int index = 0; index < shapes; ++index) {
    JtkShape* shape = nullptr;
    part->getShape(shape, 0, index);
    if (shape != nullptr) WriteShape(shape, nameOf(instance).c_str());
  }
}

// Walks the assembly itself first, so its object is a child of the instance's. The flag is not a counter: an
// instance inside clears it when its own walk ends.
void obJt2Zix::walkInstancedAssembly(JtkHierarchy* assembly) {
  JtkTraverser* const traverser = JtkEntityFactory::createTraverser();
  traverser->setPreActionCallback(&enterNode);
  traverser->setPostActionCallback(&leaveNode);
  inInstancedAssembly = true;
  ++nested_walks_;
  {
    const Held held_traverser(traverser);
    traverser->traverse(assembly, 0);
  }
  --nested_walks_;
  inInstancedAssembly = false;
}

bool obJt2Zix::ReadJtPart(JtkPart* node) {
  WriteTraceLog("obJt2Zix::ReadJtPart():Start");
  WriteTraceLog(text("obJt2Zix::ReadJtPart(): Name : ", nameOf(node)));
  JtkTransform* const transform = transformOf(node);
  if (transform != nullptr) {
    WriteTraceLog("obJt2Zix::ReadJtPart():Part has got Transformation");
    const ObjectId object = scene.createObject(ObjectType::Node);
    count(Counted::Nodes);
    scene.setName(object, MakeUniqueName(nameOf(node).c_str()).c_str());
    attachWithTransform(node, pushParent(object), object, transform);
  }

  // The first part seen under a name supplies material and geometry for all later ones of that name.
  const std::string name = nameOf(node);
  JtkPart*& first = partsByName[name];
  if (first == nullptr) first = node;
  JtkPart* const part = first;

  // Not popped by the part: the next leave of an assembly or instance pops one.
  if (JtkMaterial* const material = materialOf(part)) materialStack.push_back(material);

  if (part->requiresTessellation() != 0) {
    WriteTraceLog("obJt2Zix::ReadJtPart(): ULP - Start");
    if (tessParams == nullptr) {
      // Returns without popParent: the object of a part with a transform stays the parent of what follows.
      // Kept, because existing scenes have it so.
      std::string reason = "the part needs tessellation, and there are no parameters";
      if (no_memory_for_tess_params_) reason += ": out of memory";
      diag::programSeams().observer->lost(name, reason);
      return true;
    }
    tessellatePart(part, name);
  } else {
    writePartShapes(part, name);
  }

  if (transform != nullptr) popParent();
  WriteTraceLog("obJt2Zix::ReadJtPart():End");
  return true;
}

void obJt2Zix::tessellatePart(JtkPart* part, const std::string& name) {
  diag::Observer& observer = *diag::programSeams().observer;
  JtkEntityList* results = nullptr;
  bool failed = true;
  std::string reason = "the part could not be tessellated";
  try {
    failed = part->tessellate(tessParams, results) != kTessellated;
    if (failed) WriteTraceLog("obJt2Zix::ReadJtPart(): ULP - Tessellation failed");
  } catch (const std::bad_alloc&) {
    WriteTraceLog("obJt2Zix::ReadJtPart(): ULP - Tessellation failed - Exception is caught");
    reason += ": out of memory";
  } catch (...) {
    WriteTraceLog("obJt2Zix::ReadJtPart(): ULP - Tessellation failed - Exception is caught");
  }
  if (failed) observer.lost(name, reason);
  WriteTraceLog("obJt2Zix::ReadJtPart(): ULP - Tessellation done");

  if (results == nullptr) {
    if (!failed) observer.lost(name, "the tessellation of the part gave no result");
    return;
  }
  const HeldResult held_list(results);
  auto* const shape = dynamic_cast<JtkShape*>((*results)[0]);
  if (shape == nullptr) {
    if (!failed) observer.lost(name, "the tessellation of the part gave no shape");
    return;
  }
  const HeldResult held_shape(shape);
  writeTessellatedPart(shape, name.c_str());
  WriteTraceLog("obJt2Zix::ReadJtPart(): ULP - End");
}

// Level 0, the finest; the others are never converted.
void obJt2Zix::writePartShapes(JtkPart* part, const std::string& name) {
  const int levels = part->numShapeLODs();
  WriteTraceLog(text("obJt2Zix::ReadJtPart(): partNumShapeLODs : ", levels));
  if (levels <= 0) {
    notes_.add(Dropped::PartWithoutShapes, name);
    return;
  }
  const int shapes = part->numShapes(0);
  WriteTraceLog(text("obJt2Zix::ReadJtPart(): partNumShapes : ", shapes));
  if (shapes <= 0) notes_.add(Dropped::PartWithoutShapes, name);
  for (int index = 0; index < shapes; ++index) {
    JtkShape* shape = nullptr;
    part->getShape(shape, 0, index);
    if (shape != nullptr) WriteShape(shape, name.c_str());
  }
}

}  // namespace loftbay::convert
