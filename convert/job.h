// One conversion job: reads one JT file and writes one Zix scene. The whole job runs inside the constructor:
//
//   bool success = false;
//   obJt2Zix job("C:\\data\\part.jt", "C:\\data\\part.zix", &success, true);
//
// The job is compiled against the public headers of the toolkit and of the scene writer only. Its methods
// are spread over files by stage: job.cpp, jt_toolkit.cpp, traversal.cpp, transform.cpp, shapes.cpp,
// scene_stages.cpp. The last two call down: what knows no job lies in geometry/ and scene/.
//
// One job at a time in a process, on one thread: the toolkit's callbacks are plain functions and find their
// job through `activeConverter`.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "convert/notes.h"
#include "geometry/duplicate_vertices.h"
#include "geometry/prepared_shapes.h"
#include "geometry/shape_writers.h"
#include "jttk/interface/jttk.h"
#include "scene/name_maker.h"
#include "zix/zix.h"

namespace loftbay::convert {

class obJt2Zix;

// The job whose traversal is running. Set by each job's constructor, never cleared, read only inside the
// traversal.
extern obJt2Zix* activeConverter;

// Options that outlive a job: true leaves out all polylines, all points.
extern bool ignoreLines;
extern bool ignorePoints;

// Methods and members that are public are documented: others call them and count on them, also one by one.
// The order of the members is the order in which they are made and (reversed) destroyed.
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

  // Start, parameters, file and shut-down of the JT toolkit (jt_toolkit.cpp).
  bool InitializeJt();
  bool SetTessParams();
  bool ReadJt();
  void CloseJt();

  // Scene set-up, names and save (scene_stages.cpp).
  bool InitializeZixScene(const char* name);
  // `name` may be null. "Default" for blank names; "_orb_" and a number behind a name that was used before.
  std::string MakeUniqueName(const char* name);
  bool WriteZix();

  // Traversal (traversal.cpp). Always true.
  bool ReadJtAssembly(JtkAssembly* node);
  bool ReadJtInstance(JtkInstance* node);
  bool ReadJtPart(JtkPart* node);

  // Sets translation, rotation and scale of the Transform object on top of `parentStack` (transform.cpp).
  void SetZixTransformation(JtkTransform* transform);

  // Shapes and materials (shapes.cpp). `shape_name` is the base of the scene's name.
  void WriteShape(JtkShape* shape, const char* shape_name);
  void Write2DElements(JtkShape* shape, const char* shape_name);
  void WritePointElements(JtkShape* shape, const char* shape_name);
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

 private:
  friend int leaveNode(JtkEntity* node, int depth, int client_data);

  // Traversal (traversal.cpp).
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

  // Shapes (shapes.cpp).
  void writeTessellatedPart(JtkShape* shape, const char* shape_name);
  // The current parent and material.
  [[nodiscard]] geometry::ShapeTarget shapeTarget();
  // Notes what became of a shape.
  void noteWritten(const char* shape_name, const geometry::WrittenShape& written);

  scene::NameMaker name_maker_{usedNames, nameCounts};
  bool no_memory_for_tess_params_ = false;
  int nested_walks_ = 0;  // how many instanced assemblies are being walked, one inside the other
  Notes notes_;
  geometry::PreparedShapes prepared_shapes_;
};

// The toolkit's traversal callbacks; they serve `activeConverter` and always answer 1 (go on).
int enterNode(JtkEntity* node, int depth, int client_data);
int leaveNode(JtkEntity* node, int depth, int client_data);

}  // namespace loftbay::convert
