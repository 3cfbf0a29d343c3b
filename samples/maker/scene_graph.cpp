// Elements, end mark, property atoms, end mark, property table. The root partition comes first, every other
// node after the one that names it first.
#include "samples/maker/scene_graph.h"

#include <cstddef>
#include <deque>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "samples/maker/container.h"
#include "samples/maker/elements.h"

namespace loftbay::maker {
namespace {

class GraphWriter {
 public:
  explicit GraphWriter(const SceneGraphInput& input)
      : in_(input),
        product_(input.product),
        nodes_(input.options.big_endian),
        atoms_(input.options.big_endian),
        node_writer_(nodes_, input.options),
        atom_writer_(atoms_, input.options),
        next_id_(input.first_free_id),
        part_ids_(product_.parts.size(), -1),
        assembly_ids_(product_.assemblies.size(), -1),
        instances_of_(product_.parts.size() + product_.assemblies.size(), 0) {}

  Bytes run() {
    const std::int32_t root = nodeOf(product_.root, nullptr);
    const Figures figures = figuresOf(product_.root);
    node_writer_.partition(0, {}, {root}, in_.file_name, figures, figures);
    const bool assembly = product_.root.kind == Ref::Kind::Assembly;
    property(0, "JT_PROP_NAME", fullName(product_.name, product_.root.kind, 0));
    property(0, "PartitionType", assembly ? "Assembly" : "Part");
    while (!queue_.empty()) {
      const Work work = queue_.front();
      queue_.pop_front();
      if (work.target.kind == Ref::Kind::Part) {
        writePart(work);
      } else {
        writeAssembly(work);
      }
    }
    node_writer_.end();
    atom_writer_.end();
    nodes_.append(atoms_.bytes());
    writeTable();
    return nodes_.take();
  }

 private:
  struct Work {
    Ref target;
    std::int32_t id = 0;
    const Child* direct = nullptr;  // the occurrence whose transform and material are on the node itself
  };

  // The id of the target's node; the node itself is written later, once.
  std::int32_t nodeOf(const Ref& target, const Child* direct) {
    auto& id = target.kind == Ref::Kind::Part ? part_ids_.at(target.index) : assembly_ids_.at(target.index);
    if (id < 0) {
      id = next_id_++;
      queue_.push_back({target, id, direct});
    }
    return id;
  }

  static std::string fullName(const std::string& name, Ref::Kind kind, std::size_t instance) {
    if (name.empty()) return name;
    return name + (kind == Ref::Kind::Part ? ".part;0;" : ".asm;0;") + std::to_string(instance) + ":";
  }

  Ids attributesOf(const std::optional<Material>& material, const Child* occurrence) {
    Ids ids;
    if (occurrence != nullptr && occurrence->transform) {
      ids.push_back(next_id_++);
      node_writer_.transform(ids.back(), *occurrence->transform);
    }
    const auto& own = occurrence != nullptr && occurrence->material ? occurrence->material : material;
    if (own) {
      ids.push_back(next_id_++);
      node_writer_.material(ids.back(), *own);
    }
    return ids;
  }

  void describe(std::int32_t id, const std::string& name, const std::string& units, Ref::Kind kind,
                const Child* direct) {
    const std::string& shown = direct != nullptr && !direct->name.empty() ? direct->name : name;
    property(id, "JT_PROP_NAME", fullName(shown, kind, 0));
    property(id, "JT_PROP_MEASUREMENT_UNITS", units);
  }

  void writeAssembly(const Work& work) {
    const Assembly& assembly = product_.assemblies[work.target.index];
    Ids children;
    for (const auto& child : assembly.children) {
      if (child.direct) {
        children.push_back(nodeOf(child.target, &child));
        continue;
      }
      const std::int32_t target = nodeOf(child.target, nullptr);
      const Ids attributes = attributesOf(std::nullopt, &child);
      const std::int32_t id = next_id_++;
      node_writer_.instance(id, attributes, target);
      const std::size_t slot =
          child.target.index + (child.target.kind == Ref::Kind::Part ? 0 : product_.parts.size());
      property(id, "JT_PROP_NAME", fullName(child.name, child.target.kind, instances_of_[slot]++));
      children.push_back(id);
    }
    const Ids attributes = attributesOf(assembly.material, work.direct);
    node_writer_.metaData(work.id, attributes, children);
    // The root assembly's name is on the partition.
    const bool root = product_.root.kind == Ref::Kind::Assembly && product_.root.index == work.target.index;
    describe(work.id, root ? std::string() : assembly.name, assembly.units, Ref::Kind::Assembly, work.direct);
  }

  void writePart(const Work& work) {
    const Part& part = product_.parts[work.target.index];
    const PartRecord& record = in_.parts[work.target.index];
    if (!in_.external.empty()) {
      const Ids attributes = attributesOf(std::nullopt, work.direct);
      const bool moved = work.direct != nullptr && work.direct->transform;
      node_writer_.partition(work.id, attributes, {}, in_.external[work.target.index],
                             moved ? record.figures.placed(*work.direct->transform) : record.figures,
                             record.figures);
      describe(work.id, part.name, std::string(), Ref::Kind::Part, work.direct);
      return;
    }
    Ids levels;
    for (const auto& lod : record.lods) {
      Ids shapes;
      for (const auto& shape : lod) {
        const Ids attributes = attributesOf(shape.material, nullptr);
        const std::int32_t id = next_id_++;
        node_writer_.shape(id, attributes, shape);
        const std::int32_t atom = next_id_++;
        atom_writer_.lateLoadedAtom(atom, shape.segment, shape.segment_type, shape.object_id);
        table_[id].emplace_back(stringAtom("JT_LLPROP_SHAPEIMPL"), atom);
        shapes.push_back(id);
      }
      levels.push_back(next_id_++);
      node_writer_.group(levels.back(), {}, shapes);
    }
    Ids children;
    if (!levels.empty()) {
      children.push_back(next_id_++);
      node_writer_.rangeLod(children.back(), {}, levels, record.figures);
    }
    const Ids attributes = attributesOf(part.material, work.direct);
    node_writer_.part(work.id, attributes, children, part.hidden);
    describe(work.id, part.name, part.units, Ref::Kind::Part, work.direct);
    for (const auto& p : part.properties) property(work.id, p.key, p.value);
    if (!record.exact) return;
    const std::int32_t atom = next_id_++;
    atom_writer_.lateLoadedAtom(atom, *record.exact, static_cast<std::uint32_t>(SegmentKind::XtBrep), 0);
    table_[work.id].emplace_back(stringAtom("JT_LLPROP_XTBREP"), atom);
    property(work.id, "JT_PROP_ORIGINATING_BREPTYPE", "XTBrep");
  }

  Figures figuresOf(const Ref& target) {
    if (target.kind == Ref::Kind::Part) return in_.parts[target.index].figures;
    if (const auto found = assembly_figures_.find(target.index); found != assembly_figures_.end()) {
      return found->second;
    }
    Figures sum;
    for (const auto& child : product_.assemblies[target.index].children) {
      const Figures inner = figuresOf(child.target);
      sum.add(child.transform ? inner.placed(*child.transform) : inner);
    }
    assembly_figures_[target.index] = sum;
    return sum;
  }

  std::int32_t stringAtom(const std::string& text) {
    const auto [found, added] = strings_.try_emplace(text, next_id_);
    if (added) atom_writer_.stringAtom(next_id_++, text);
    return found->second;
  }

  void property(std::int32_t node, const std::string& key, const std::string& value) {
    if (value.empty()) return;
    const std::int32_t key_atom = stringAtom(key);
    table_[node].emplace_back(key_atom, stringAtom(value));
  }

  void writeTable() {
    nodes_.i16(1);
    nodes_.i32(static_cast<std::int64_t>(table_.size()));
    for (const auto& [node, pairs] : table_) {
      nodes_.i32(node);
      for (const auto& [key, value] : pairs) {
        nodes_.i32(key);
        nodes_.i32(value);
      }
      nodes_.i32(0);
    }
  }

  const SceneGraphInput& in_;
  const Product& product_;
  ByteWriter nodes_;
  ByteWriter atoms_;
  ElementWriter node_writer_;
  ElementWriter atom_writer_;
  std::int32_t next_id_;
  std::vector<std::int32_t> part_ids_;
  std::vector<std::int32_t> assembly_ids_;
  std::vector<std::size_t> instances_of_;
  std::deque<Work> queue_;
  std::map<std::string, std::int32_t> strings_;
  std::map<std::int32_t, std::vector<std::pair<std::int32_t, std::int32_t>>> table_;
  std::map<std::size_t, Figures> assembly_figures_;
};

}  // namespace

Bytes sceneGraph(const SceneGraphInput& input) { return GraphWriter(input).run(); }

}  // namespace loftbay::maker
