#include "zix/scene_diff.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <optional>
#include <type_traits>

#include "host/number_text.h"
#include "zix/cut_text.h"
#include "zix/object_names.h"
#include "zix/scene_meshes.h"

namespace Orb::Zix {

using format::kNone;

namespace {

using loftbay::host::numberText;

class Diff {
 public:
  Diff(const SceneFile& a, const SceneFile& b, double tolerance) : a_(a), b_(b), tolerance_(tolerance) {}

  DiffResult run() {
    compareTrees();
    compareScenes();
    return std::move(result_);
  }

 private:
  // One level of the walk: the corresponding objects of both trees.
  struct Frame {
    std::uint32_t a;
    std::uint32_t b;
    std::size_t next_child;
  };

  void report(const std::string& what) {
    ++result_.count;
    if (result_.differences.size() < DiffResult::kMostDifferences)
      result_.differences.push_back(place() + what);
  }

  // The names on the path to where the walk is: "root/plate/square: ".
  [[nodiscard]] std::string place() const {
    if (stack_.empty()) return "scene: ";
    constexpr std::size_t kMostNames = 16;
    std::string text;
    const std::size_t first = stack_.size() > kMostNames ? stack_.size() - kMostNames : 0;
    if (first > 0) text = "…";
    for (std::size_t i = first; i < stack_.size(); ++i) {
      text += text.empty() ? "" : "/";
      text += shownCut(a_.name(stack_[i].a));
    }
    return text + ": ";
  }

  template <typename T>
  [[nodiscard]] bool isEqual(T a, T b) const {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    if (std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b)) return true;
    if (tolerance_ < 0) return false;
    if (std::isnan(a) && std::isnan(b)) return true;
    return std::abs(static_cast<double>(a) - static_cast<double>(b)) <= tolerance_;
  }

  template <typename T>
  void compareNumbers(const std::string& what, std::span<const T> a, std::span<const T> b) {
    for (std::size_t i = 0; i < a.size(); ++i) {
      if (isEqual(a[i], b[i])) continue;
      const std::string which = a.size() > 1 ? " [" + std::to_string(i) + "]" : "";
      report(what + which + " is " + numberText(a[i]) + " and " + numberText(b[i]));
      return;
    }
  }

  void compareTexts(const std::string& what, std::string_view a, std::string_view b) {
    if (a != b) report(what + " is \"" + shownCut(a) + "\" and \"" + shownCut(b) + "\"");
  }

  void compareCounts(const std::string& what, std::uint64_t a, std::uint64_t b) {
    if (a != b) report(what + " is " + std::to_string(a) + " and " + std::to_string(b));
  }

  void compareScenes() {
    compareTexts("the application", a_.application(), b_.application());
    const double values[2] = {a_.applicationValue(), b_.applicationValue()};
    compareNumbers("the application value", std::span(values, 1), std::span(values + 1, 1));
    compareTexts("the model", a_.modelName(), b_.modelName());
    compareTexts("the save text", a_.saveText(), b_.saveText());
    compareCounts("the first flag", a_.firstFlag() ? 1 : 0, b_.firstFlag() ? 1 : 0);
    compareCounts("the second flag", a_.secondFlag() ? 1 : 0, b_.secondFlag() ? 1 : 0);
    compareProperties(a_.sceneProperties(), b_.sceneProperties());
    compareCounts("the number of views", a_.viewCount(), b_.viewCount());
    for (std::size_t i = 0; i < std::min(a_.viewCount(), b_.viewCount()); ++i) compareViews(i);
  }

  void compareViews(std::size_t i) {
    const format::ViewRecord a = a_.view(i);
    const format::ViewRecord b = b_.view(i);
    const std::string name = "view " + std::to_string(i);
    compareTexts("the name of " + name, a_.viewName(i), b_.viewName(i));
    compareNumbers<double>("the position of " + name, a.position, b.position);
    compareNumbers<double>("the target of " + name, a.target, b.target);
    compareNumbers<double>("the up of " + name, a.up, b.up);
    compareNumbers<double>("the height of " + name, std::span(&a.height, 1), std::span(&b.height, 1));
  }

  void compareTrees() {
    const auto roots_a = a_.treeRoots();
    const auto roots_b = b_.treeRoots();
    compareCounts("the number of roots", roots_a.size(), roots_b.size());
    for (std::size_t i = 0; i < std::min(roots_a.size(), roots_b.size()); ++i) {
      enter(roots_a[i], roots_b[i]);
      while (!stack_.empty()) step();
    }
  }

  void enter(std::uint32_t a, std::uint32_t b) {
    stack_.push_back({a, b, 0});
    compareObjects(a, b);
  }

  // To the next pair of children, or back up.
  void step() {
    Frame& top = stack_.back();
    const auto children_a = a_.children(top.a);
    const auto children_b = b_.children(top.b);
    const std::size_t next = top.next_child++;
    if (next < std::min(children_a.size(), children_b.size())) {
      enter(children_a[next], children_b[next]);
      return;
    }
    stack_.pop_back();
  }

  void compareObjects(std::uint32_t a, std::uint32_t b) {
    if (a_.type(a) != b_.type(b)) {
      report(std::string("it is a ") + objectTypeName(a_.type(a)) + " and a " + objectTypeName(b_.type(b)));
      return;
    }
    compareTexts("the name", a_.name(a), b_.name(b));
    compareProperties(a_.properties(a), b_.properties(b));
    comparePlacements(a_.placement(a), b_.placement(b));
    compareMaterials(a_.object(a).material, b_.object(b).material);
    if (a_.type(a) == ObjectType::Mesh) compareMeshes(a, b);
    compareCounts("the number of children", a_.children(a).size(), b_.children(b).size());
  }

  // By key: their order means nothing.
  void compareProperties(std::vector<SceneFile::Property> a, std::vector<SceneFile::Property> b) {
    const auto byKey = [](const SceneFile::Property& first, const SceneFile::Property& second) {
      return first.key < second.key;
    };
    std::sort(a.begin(), a.end(), byKey);
    std::sort(b.begin(), b.end(), byKey);
    const auto name = [](const SceneFile::Property& property) {
      return "the property \"" + shownCut(property.key) + "\"";
    };
    auto left = a.begin();
    auto right = b.begin();
    while (left != a.end() || right != b.end()) {
      if (right == b.end() || (left != a.end() && left->key < right->key)) {
        report(name(*left++) + " is in the first scene only");
      } else if (left == a.end() || right->key < left->key) {
        report(name(*right++) + " is in the second scene only");
      } else {
        compareTexts(name(*left), left->value, right->value);
        ++left;
        ++right;
      }
    }
  }

  void comparePlacements(const std::optional<format::TransformRecord>& a,
                         const std::optional<format::TransformRecord>& b) {
    if (a.has_value() != b.has_value()) {
      report(a ? "it is placed in the first scene only" : "it is placed in the second scene only");
      return;
    }
    if (!a) return;
    compareNumbers<float>("the translation", a->translation, b->translation);
    compareNumbers<float>("the rotation axis", a->rotation_axis, b->rotation_axis);
    compareNumbers<float>("the rotation angle", std::span(&a->rotation_angle_rad, 1),
                          std::span(&b->rotation_angle_rad, 1));
    compareNumbers<float>("the scale", a->scale, b->scale);
    compareCounts("what was set of the transform", a->flags, b->flags);
  }

  void compareMaterials(std::uint32_t a, std::uint32_t b) {
    if ((a == kNone) != (b == kNone)) {
      report(b == kNone ? "it has a material in the first scene only"
                        : "it has a material in the second scene only");
      return;
    }
    if (a == kNone) return;
    const format::MaterialRecord first = a_.material(a);
    const format::MaterialRecord second = b_.material(b);
    compareTexts("the material's name", a_.name(a), b_.name(b));
    constexpr const char* kNames[4] = {"diffuse", "specular", "emission", "ambient"};
    for (std::size_t i = 0; i < 4; ++i) {
      compareNumbers<float>(std::string("the material's ") + kNames[i], first.colors[i], second.colors[i]);
    }
    compareNumbers<float>("the ambient intensity", std::span(&first.ambient_intensity, 1),
                          std::span(&second.ambient_intensity, 1));
    compareCounts("what was set of the material", first.flags, second.flags);
  }

  void compareMeshes(std::uint32_t a, std::uint32_t b) {
    const MeshArrays first = meshArrays(a_, a);
    const MeshArrays second = meshArrays(b_, b);
    compareTexts("the mesh type", meshTypeName(first.type), meshTypeName(second.type));
    compareCounts("the dimension", first.dimension, second.dimension);
    forEachMeshArray(
        [&](const auto& kind) { compareArrays(kind.value_name, first.*kind.values, second.*kind.values); });
  }

  template <typename T>
  void compareArrays(const std::string& what, const Values<T>& a, const Values<T>& b) {
    if (a.size() != b.size()) return compareCounts("the number of " + what + " values", a.size(), b.size());
    std::uint64_t different = 0;
    std::size_t first = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
      if constexpr (std::is_floating_point_v<T>) {
        if (isEqual(a[i], b[i])) continue;
      } else {
        if (a[i] == b[i]) continue;
      }
      if (different++ == 0) first = i;
    }
    if (different == 0) return;
    report(what + " value " + std::to_string(first) + " is " + numberText(a[first]) + " and " +
           numberText(b[first]) + "; " + std::to_string(different) + " of " + std::to_string(a.size()) +
           " differ");
  }

  const SceneFile& a_;
  const SceneFile& b_;
  const double tolerance_;
  DiffResult result_;
  std::vector<Frame> stack_;
};

}  // namespace

DiffResult diffScenes(const SceneFile& a, const SceneFile& b, double tolerance) {
  return Diff(a, b, tolerance).run();
}

}  // namespace Orb::Zix
