// Walks BODY -> REGION -> SHELL -> FACE -> LOOP -> FIN. Every chain ends at a node that was visited before,
// so damaged links cannot make it run for ever.
#include "jttk/brep/xt_model.h"

#include <unordered_map>
#include <unordered_set>

#include "jttk/brep/precision.h"
#include "jttk/brep/xt_geometry.h"
#include "jttk/brep/xt_node_types.h"

namespace jttk::brep {
namespace {

constexpr double kMaximumTolerance = 1;  // metres; what is stated above is damage
constexpr double kMaximumScale = 1e9;    // and at least its inverse
constexpr double kMinimumScale = 1e-9;
constexpr std::int32_t kScaleAttribute = 9000;  // XT length = JT length * value

double toleranceOf(const XtNode& node) {
  const double value = node.real("tolerance");
  return value > 0 && value < kMaximumTolerance ? value : 0;  // not set is a large negative number
}

class ModelBuilder {
 public:
  ModelBuilder(Bodies& bodies, std::size_t data_bytes) : bodies_(bodies), geometry_(bodies, data_bytes) {}

  void addBody(const XtNode& body) {
    Body made;
    made.first_shell = static_cast<std::uint32_t>(bodies_.shells.size());
    made.first_face = static_cast<std::uint32_t>(bodies_.faces.size());
    // Faces of solid regions first: these also belong to the void region outside, and each is taken once.
    // Faces of void regions only are sheets.
    collectShells(body, 'S');
    made.solid = bodies_.faces.size() > made.first_face;
    collectShells(body, 'V');
    made.shell_count = static_cast<std::uint32_t>(bodies_.shells.size()) - made.first_shell;
    made.face_count = static_cast<std::uint32_t>(bodies_.faces.size()) - made.first_face;
    bodies_.bodies.push_back(made);
    readScale(body);
  }

 private:
  bool isNew(const XtNode& node) { return visited_.insert(node.row()).second; }

  void collectShells(const XtNode& body, char region_type) {
    std::unordered_set<std::uint32_t> regions;
    for (XtNode region = body.pointer("region", xt_type::kRegion);
         region && regions.insert(region.row()).second; region = region.pointer("next", xt_type::kRegion)) {
      if ((region.letter("type") == 'S') != (region_type == 'S')) continue;
      for (XtNode shell = region.pointer("shell", xt_type::kShell); shell && isNew(shell);
           shell = shell.pointer("next", xt_type::kShell)) {
        addShell(shell);
      }
    }
  }

  void addShell(const XtNode& shell) {
    Shell made;
    made.first_face = static_cast<std::uint32_t>(bodies_.faces.size());
    addFaces(shell.pointer("face", xt_type::kFace), "next");
    addFaces(shell.pointer("front_face", xt_type::kFace), "next_front");
    made.face_count = static_cast<std::uint32_t>(bodies_.faces.size()) - made.first_face;
    if (made.face_count > 0) bodies_.shells.push_back(made);
  }

  // Those of a chain that no other shell has brought.
  void addFaces(XtNode face, std::string_view next) {
    std::unordered_set<std::uint32_t> chain;
    for (; face && chain.insert(face.row()).second; face = face.pointer(next, xt_type::kFace)) {
      if (isNew(face)) addFace(face);
    }
  }

  // The first reason counts.
  static void reject(Face& face, const char* why, CheckPlace check = CheckPlace::current()) {
    if (face.usable) face.usable = fail(why, check);
  }

  void addFace(const XtNode& node) {
    Face face;
    face.id = node.integer("node_id");
    face.shell = static_cast<std::int32_t>(bodies_.shells.size());
    face.reversed = node.letter("sense") == '-';
    face.surface = geometry_.surface(node.pointer("surface"));
    face.first_loop = static_cast<std::uint32_t>(bodies_.loops.size());
    if (face.surface == kNoIndex) {
      face.usable = fail("no surface");
    } else if (const Surface& on = bodies_.surfaces[static_cast<std::size_t>(face.surface)];
               on.kind == SurfaceKind::Unknown) {
      face.usable = on.usable;
    }
    const auto number = static_cast<std::int32_t>(bodies_.faces.size());
    for (XtNode loop = node.pointer("loop", xt_type::kLoop); loop;
         loop = loop.pointer("next", xt_type::kLoop)) {
      if (!isNew(loop)) {
        reject(face, "loops in a circle");
        break;
      }
      addLoop(loop, number, face);
    }
    face.loop_count = static_cast<std::uint32_t>(bodies_.loops.size()) - face.first_loop;
    bodies_.faces.push_back(std::move(face));
  }

  void addLoop(const XtNode& node, std::int32_t number, Face& face) {
    Loop loop;
    loop.first_fin = static_cast<std::uint32_t>(bodies_.fins.size());
    const XtNode first = node.pointer("fin", xt_type::kFin);
    XtNode fin = first;
    bool closes = false;
    while (fin && isNew(fin)) {
      addFin(fin, number, face);
      fin = fin.pointer("forward", xt_type::kFin);
      closes = fin && fin.row() == first.row();
      if (closes) break;
    }
    if (!closes) reject(face, first ? "a loop that does not close" : "a loop without edges");
    loop.fin_count = static_cast<std::uint32_t>(bodies_.fins.size()) - loop.first_fin;
    bodies_.loops.push_back(loop);
  }

  void addFin(const XtNode& node, std::int32_t face_number, Face& face) {
    Fin fin;
    fin.face = face_number;
    fin.forward = node.letter("sense") != '-';
    fin.curve = geometry_.curve(node.pointer("curve"));
    const XtNode edge_node = node.pointer("edge", xt_type::kEdge);
    const auto number = static_cast<std::int32_t>(bodies_.fins.size());
    if (edge_node) {
      const std::int32_t start =
          vertex(node.pointer("backward", xt_type::kFin).pointer("vertex", xt_type::kVertex), face);
      const std::int32_t end = vertex(node.pointer("vertex", xt_type::kVertex), face);
      fin.edge = edge(edge_node, fin.forward ? start : end, fin.forward ? end : start);
      Edge& made = bodies_.edges[static_cast<std::size_t>(fin.edge)];
      if (made.start != (fin.forward ? start : end) || made.end != (fin.forward ? end : start)) {
        reject(face, "an edge whose sides end at different vertices");
      }
      std::int32_t& side = fin.forward ? made.forward_fin : made.backward_fin;
      if (side == kNoIndex) side = number;
    }
    bodies_.fins.push_back(fin);
  }

  std::int32_t edge(const XtNode& node, std::int32_t start, std::int32_t end) {
    const auto [known, is_new] =
        edges_.try_emplace(node.row(), static_cast<std::int32_t>(bodies_.edges.size()));
    if (is_new) {
      Edge made;
      made.curve = geometry_.curve(node.pointer("curve"));
      made.tolerance = toleranceOf(node);
      made.start = start;
      made.end = end;
      bodies_.edges.push_back(made);
    }
    return known->second;
  }

  std::int32_t vertex(const XtNode& node, Face& face) {
    if (!node) return kNoIndex;
    const auto [known, is_new] =
        vertices_.try_emplace(node.row(), static_cast<std::int32_t>(bodies_.vertices.size()));
    if (is_new) {
      Vertex made;
      const XtNode point = node.pointer("point", xt_type::kPoint);
      made.point = point.vector("pvec");
      made.tolerance = toleranceOf(node);
      if (!point || !isFinite(made.point) || length(made.point) > kMaximumReal)
        bad_vertices_.insert(known->second);
      if (!isFinite(made.point)) made.point = {};
      bodies_.vertices.push_back(made);
    }
    if (bad_vertices_.contains(known->second)) reject(face, "a vertex without a point");
    return known->second;
  }

  void readScale(const XtNode& body) {
    std::unordered_set<std::uint32_t> seen;
    for (XtNode at = body.pointer("attributes_features"); at && seen.insert(at.row()).second;
         at = at.pointer("next")) {
      if (at.type() != xt_type::kAttribute) continue;
      if (at.pointer("definition", xt_type::kAttributeDefinition).integer("type_id") != kScaleAttribute)
        continue;
      const double value = at.pointer("fields", xt_type::kRealValues).real("values");
      if (value > kMinimumScale && value < kMaximumScale) bodies_.units_per_metre = 1 / value;
    }
  }

  Bodies& bodies_;
  XtGeometryReader geometry_;
  std::unordered_set<std::uint32_t> visited_;
  std::unordered_map<std::uint32_t, std::int32_t> edges_;
  std::unordered_map<std::uint32_t, std::int32_t> vertices_;
  std::unordered_set<std::int32_t> bad_vertices_;
};

}  // namespace

Bodies buildBodies(const XtNodes& nodes) {
  Bodies bodies;
  bodies.schema = nodes.schema();
  ModelBuilder builder(bodies, nodes.sizeBytes());
  for (std::size_t row = 0; row < nodes.size(); ++row) {
    if (nodes.at(row).type() == xt_type::kBody) builder.addBody(nodes.at(row));
  }
  if (bodies.bodies.empty()) bodies.damage.push_back(makeError("the XT data hold no body"));
  for (std::size_t row = 0; row < nodes.size(); ++row) {
    if (nodes.at(row).type() != xt_type::kInstance || !nodes.at(row).pointer("transform")) continue;
    bodies.damage.push_back(makeError("bodies that are placed by an assembly stay where they are"));
    break;
  }
  return bodies;
}

}  // namespace jttk::brep
