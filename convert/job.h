// One conversion job: reads one JT file and writes one Zix scene. The whole job runs inside the constructor:
//
//   bool success = false;
//   obJt2Zix job("C:\\data\\part.jt", "C:\\data\\part.zix", &success, true);
//
// The job is compiled against the public headers of the toolkit and of the scene writer only. Its methods
// are spread over files by stage: job.cpp, jt_toolkit.cpp, traversal.cpp and transform.cpp here, the shape
// writers and materials under geometry/, set-up, names and save under scene/.
//
// One job at a time in a process, on one thread: the toolkit's callbacks are plain functions and find their
// job through `activeConverter`.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "convert/notes.h"
#include "geometry/shape_arrays.h"
#include "jttk/interface/jttk.h"
#include "zix/zix.h"

namespace loftbay::convert {

class obJt2Zix;

// The job whose traversal is running. Set by each job's constructor, never cleared, read only inside the
// traversal.
extern obJt2Zix* activeConverter;

// Options that outlive a job: true leaves out all polylines, all points.
extern bool ignoreLines;
extern bool ignorePoints;

// What goes into a mesh of the scene.
struct MeshArrays {
  Orb::Zix::MeshType type;
  const float* coordinates;  // three per point
  std::size_t point_count;
  std::span<const std::uint32_t> indices;
  std::span<const std::uint32_t> lengths;  // one per element: how many indices it takes
};
// Views of the points, indices and lengths.
MeshArrays meshArrays(Orb::Zix::MeshType type, const std::vector<geometry::Point>& points,
                      std::span<const std::uint32_t> indices, std::span<const std::uint32_t> lengths);

// The members are public because the callbacks and the stages are one mechanism; nothing else holds a job
// while it runs. Their order is the order in which they are made and (reversed) destroyed.
class obJt2Zix {
 public:
  // Runs the conversion. Paths are in program form. `success` receives what Convert returns. Throws
  // std::out_of_range when the input's file name has fewer than four characters, and whatever a scene
  // operation throws outside saveTo and the final save.
  obJt2Zix(const char* input_path, const char* output_path, bool* success, bool optimize_meshes);
  obJt2Zix(const obJt2Zix&) = delete;
  obJt2Zix& operator=(const obJt2Zix&) = delete;
  ~obJt2Zix() = default;

  // The stages in their order. False when the toolkit does not start; a file that cannot be loaded or a
  // scene that cannot be saved still gives true.
  bool Convert();

  // The JT toolkit's part (jt_toolkit.cpp).
  bool InitializeJt();
  bool SetTessParams();
  bool ReadJt();
  void CloseJt();

  // Scene set-up, names and save (scene/).
  bool InitializeZixScene(const char* name);
  // `name` may be null. "Default" for blank names; "_orb_" and a number behind a name that was used before.
  std::string MakeUniqueName(const char* name);
  bool WriteZix();

  // Traversal (traversal.cpp). Always true.
  bool ReadJtAssembly(JtkAssembly* node);
  bool ReadJtInstance(JtkInstance* node);
  bool ReadJtPart(JtkPart* node);
  void tessellatePart(JtkPart* part, const std::string& name);
  void writePartShapes(JtkPart* part, const std::string& name);
  void writeInstancedPart(JtkInstance* instance, const std::string& name, JtkPart* part);
  // Hangs a node's object under `parent`, with a Transform object where there is a transform.
  void attachWithTransform(JtkHierarchy* node, const Orb::Zix::ObjectId& parent,
                           const Orb::Zix::ObjectId& object, JtkTransform* transform);
  void walkInstancedAssembly(JtkHierarchy* assembly);
  // The current parent; std::out_of_range when the stack is empty.
  [[nodiscard]] const Orb::Zix::ObjectId& topParent() const;
  // Makes the object the current parent; the result is the one before. std::out_of_range when there is none.
  Orb::Zix::ObjectId pushParent(const Orb::Zix::ObjectId& object);
  void popParent();

  // Sets translation, rotation and scale of the Transform object on top of `parentStack` (transform.cpp).
  void SetZixTransformation(JtkTransform* transform);

  // Geometry (geometry/). `shape_name` is the base of the scene's name.
  void WriteShape(JtkShape* shape, const char* shape_name);
  void Write2DElements(JtkShape* shape, const char* shape_name);
  void WritePointElements(JtkShape* shape, const char* shape_name);
  void writeTessellatedPart(JtkShape* shape, const char* shape_name);
  void writeSurface(JtkShape* shape, const char* shape_name, int primitive_sets);
  // What the writers share (geometry/mesh.cpp); their log lines begin with `prefix`.
  bool beginShape(std::string_view prefix, const char* shape_name, int primitive_sets);
  // Only with `optimize`; otherwise the sizes are logged and that is all.
  void mergeVertices(std::string_view prefix, geometry::ShapeArrays& arrays,
                     std::vector<std::uint32_t>& indices);
  // Makes Shape, Mesh and its arrays under the current parent; the result is the Mesh.
  Orb::Zix::ObjectId writeMesh(std::string_view prefix, const char* shape_name, const MeshArrays& arrays);
  // The material: the shape's own, otherwise the one in force, otherwise none.
  void endShape(std::string_view prefix, JtkShape* shape, const Orb::Zix::ObjectId& mesh);
  void RemoveDuplicateVertices(const std::vector<geometry::Point>& inPoints,
                               std::vector<geometry::Point>& outPoints, std::uint32_t* indices,
                               std::size_t indexCount, const std::vector<geometry::Point>& inCompanion,
                               std::vector<geometry::Point>& outCompanion);
  // A null material takes the built-in one.
  void WriteMaterial(JtkMaterial* material, const Orb::Zix::ObjectId& mesh);

  std::string inputPath;
  std::string outputPath;
  std::vector<Orb::Zix::ObjectId> parentStack;  // the last one is where the next object is attached
  std::vector<std::string> usedNames;           // base names in the order of their first use
  std::vector<std::uint32_t> nameCounts;        // for each: the number that its next repeat gets
  std::vector<JtkMaterial*> materialStack;      // the last one is in force; not owned
  std::map<std::string, JtkPart*> partsByName;  // first part seen under each name; not owned
  std::uint64_t spareCounter = 0;               // no stage reads it
  bool inInstancedAssembly = false;             // an instanced assembly is being walked
  bool unwindPending = false;                   // with unwindMark: tested by popParent, never set
  std::int32_t unwindMark = -1;
  float spareScale[3] = {1.0F, 1.0F, 1.0F};  // no stage reads it
  Orb::Zix::Scene_V1 scene{"Model"};
  Orb::Zix::ObjectId rootId;
  JtkTessParams* tessParams = nullptr;  // ended by the toolkit's fini
  bool optimize = false;

  // Helpers without effect on calls or log lines.
  std::unordered_map<std::string, std::size_t> nameIndex;  // position of each base name in usedNames
  int nested_walks = 0;  // how many instanced assemblies are being walked, one inside the other
  Notes notes;
};

// The toolkit's traversal callbacks; they serve `activeConverter` and always answer 1 (go on).
int enterNode(JtkEntity* node, int depth, int client_data);
int leaveNode(JtkEntity* node, int depth, int client_data);

}  // namespace loftbay::convert
