#include "jttk/model/names.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "jttk/graph/shown_children.h"
#include "jttk/model/labels.h"

namespace jttk {

namespace {

// A name is copied to every node that inherits it, so one that is absurdly long is cut first.
constexpr std::size_t kMaxInheritedBytes = 1000;

constexpr std::uint64_t key(std::uint32_t node, Reached reached) {
  return std::uint64_t{node} * 2 + (reached == Reached::AsTarget ? 1 : 0);
}

// Walks the product structure once, without recursion; a shared node is visited on the first path only.
class NameGiver {
 public:
  explicit NameGiver(Library& library) : library_(library) {}

  void run() {
    const FileChain* file = library_.mainFile();
    const std::uint32_t file_name = keep(std::string(fileStem(file->document->path)));
    const NodeRef root{file, file->document->graph.root};
    tasks_.push_back({root, rootReached(root), file_name});
    while (!tasks_.empty()) {
      if (tasks_.back().goes_to_children) {
        visitNextChild();
        continue;
      }
      const Task task = tasks_.back();
      tasks_.pop_back();
      if (isNew(task.ref, task.reached)) visit(task);
    }
    for (const Unnamed& part : unnamed_parts_) {
      part.document->inherited_names[part.key] = unique(names_[part.name]);
    }
  }

 private:
  // A node that is to be visited, or the next of its children.
  struct Task {
    NodeRef ref;
    Reached reached;
    std::uint32_t name;  // of the nearest named node above
    bool goes_to_children = false;
    std::uint32_t next = 0;
  };
  struct Unnamed {
    Document* document;
    std::uint64_t key;
    std::uint32_t name;
  };

  std::uint32_t keep(std::string name) {
    // Cut at the start of a character.
    std::size_t size = std::min(name.size(), kMaxInheritedBytes);
    while (size < name.size() && size > 0 && (static_cast<unsigned char>(name[size]) & 0xc0U) == 0x80U)
      --size;
    name.resize(size);
    names_.push_back(std::move(name));
    return static_cast<std::uint32_t>(names_.size() - 1);
  }

  bool isNew(NodeRef ref, Reached reached) {
    return visited_[&ref.document()].insert(key(ref.node, reached)).second;
  }

  void visit(const Task& task) {
    const Node& node = task.ref.data();
    const bool instance = node.kind == NodeKind::Instance;
    if (task.reached == Reached::AsChild && (instance || isGrouping(node.kind))) {
      std::string label = task.ref.document().label(task.ref.node);
      const std::uint32_t name = label.empty() ? task.name : keep(std::move(label));
      addChildren(task.ref, instance ? Reached::AsTarget : Reached::AsChild, name);
      return;
    }
    const Product product = classify(task.ref, task.reached, library_);
    std::string own = product.ownName();
    const bool is_part = product.kind == ProductKind::Part;
    std::uint32_t name = task.name;
    if (!own.empty()) {
      if (is_part) taken_.insert(own);
      name = keep(std::move(own));
    } else {
      std::string group = product.groupName();
      if (!group.empty()) name = keep(std::move(group));
      const NodeRef top = product.top();
      if (is_part) {
        unnamed_parts_.push_back({&top.document(), key(top.node, task.reached), name});
      } else {
        top.document().inherited_names[key(top.node, task.reached)] = names_[name];
      }
    }
    if (is_part || product.content.node == kNone) return;
    if (product.content_is_child) {
      tasks_.push_back({product.content, Reached::AsChild, name});
    } else {
      addChildren(product.content, Reached::AsChild, name);
    }
  }

  void addChildren(NodeRef parent, Reached reached, std::uint32_t name) {
    tasks_.push_back({parent, reached, name, true});
  }

  void visitNextChild() {
    Task& task = tasks_.back();
    const SceneGraph& graph = task.ref.document().graph;
    const Node& node = task.ref.data();
    if (task.next == node.children.count) {
      tasks_.pop_back();
      return;
    }
    const std::uint32_t child = graph.children[node.children.first + task.next++];
    if (!isShownChild(graph, node, child)) return;
    // An empty group is still an assembly where an instance refers to it.
    if (isLod(graph.nodes[child].kind) && !hasContents(graph.nodes[child])) return;
    tasks_.push_back({{task.ref.file, child}, task.reached, task.name});
  }

  // `name`, or with the first free number behind it.
  std::string unique(const std::string& name) {
    if (taken_.insert(name).second) return name;
    std::uint32_t& number = numbers_[name];
    for (number = number < 2 ? 2 : number;; ++number) {
      std::string numbered = name + " (" + std::to_string(number) + ")";
      if (taken_.insert(numbered).second) return numbered;
    }
  }

  Library& library_;
  std::vector<Task> tasks_;
  std::vector<std::string> names_;
  std::vector<Unnamed> unnamed_parts_;
  std::unordered_map<Document*, std::unordered_set<std::uint64_t>> visited_;
  std::unordered_set<std::string> taken_;  // names of parts
  std::unordered_map<std::string, std::uint32_t> numbers_;
};

}  // namespace

void openAllFiles(Library& library) {
  if (library.namesGiven()) return;
  library.setNamesGiven();
  NameGiver(library).run();
}

std::string productName(const Product& product, Reached reached, Library& library) {
  std::string own = product.ownName();
  if (!own.empty()) return own;
  const NodeRef top = product.top();
  const auto find = [&] {
    const auto& names = top.document().inherited_names;
    const auto found = names.find(key(top.node, reached));
    return found == names.end() ? std::string() : found->second;
  };
  std::string name = find();
  if (!name.empty()) return name;
  openAllFiles(library);
  name = find();
  return name.empty() ? top.document().nearestLabel(top.node) : name;
}

}  // namespace jttk
