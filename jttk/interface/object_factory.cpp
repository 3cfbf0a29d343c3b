#include "jttk/interface/object_factory.h"

#include "jttk/graph/shown_children.h"
#include "jttk/interface/hierarchy.h"
#include "jttk/interface/part.h"

namespace jttk {

namespace {

class ObjectFactory final : public Objects {
 public:
  using Objects::Objects;

  JtkHierarchy* make(NodeRef ref, Reached reached, const Inherited& inherited) override {
    Product product = isShown(ref.document().graph, ref.node)
                          ? classify(ref, reached, model().library())
                          : Product{ProductKind::Part, {}, {ref.file, kNone}, false};
    if (product.top().node == kNone) return new PartObject(*this, ref, ref.document().nearestLabel(ref.node));
    switch (product.kind) {
      case ProductKind::Assembly:
        return new AssemblyObject(*this, std::move(product), reached, inherited);
      case ProductKind::Instance:
        return new InstanceObject(*this, std::move(product), reached, inherited);
      case ProductKind::Part:
        break;
    }
    return new PartObject(*this, std::move(product), reached, inherited);
  }

  JtkHierarchy* makeEmpty(NodeRef near, std::string name) override {
    return new PartObject(*this, near, std::move(name));
  }
};

}  // namespace

JtkHierarchy* createRoot(std::unique_ptr<Document> main) {
  auto objects = std::make_unique<ObjectFactory>(std::move(main));
  const FileChain* file = objects->model().library().mainFile();
  const NodeRef root{file, file->document->graph.root};
  ObjectFactory& owned = *objects;  // the root takes the pointer
  JtkHierarchy* object = owned.make(root, rootReached(root), {});
  switch (object->typeID()) {
    case JtkEntity::JtkASSEMBLY:
      static_cast<AssemblyObject*>(object)->own(std::move(objects));
      break;
    case JtkEntity::JtkINSTANCE:
      static_cast<InstanceObject*>(object)->own(std::move(objects));
      break;
    default:
      static_cast<PartObject*>(object)->own(std::move(objects));
  }
  return object;
}

}  // namespace jttk
