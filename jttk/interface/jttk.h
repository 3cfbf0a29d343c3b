// The JT toolkit's interface: opens a JT file, walks its product structure, hands out transforms,
// materials and tessellated shapes.
//
//   JtkEntityFactory::init(0, 0, nullptr);
//   JtkCADImporter* importer = JtkEntityFactory::createCADImporter();
//   importer->ref();
//   if (JtkEntity* root = importer->importFile(JtkString("model.jt"))) {
//     root->ref();
//     JtkTraverser* traverser = JtkEntityFactory::createTraverser();
//     traverser->ref();
//     traverser->setPreActionCallback(&enter);
//     traverser->traverse(root, 0);
//     traverser->unref();
//     root->unref();
//   }
//   importer->unref();
//   JtkEntityFactory::fini();
//
// Ownership: objects are reference counted and start with a count of 0; the last unref destroys the
// object. What a node, shape or transform hands out (materials, transforms, shapes, colour arrays, matrix
// elements) belongs to it and lives as long as the root is held. Arrays of getPrimitiveSetArrays and
// getPrimitiveSetGeometry belong to the caller, who releases each with delete[]. Text buffers of getString
// are released with deleteMemory.
// Nothing here throws except where it says so. Not thread safe: one thread at a time.
// Paths and names are UTF-8; paths are in the program's form (separator `\`).
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

class JtkRefCounted {
 public:
  JtkRefCounted(const JtkRefCounted&) = delete;
  JtkRefCounted& operator=(const JtkRefCounted&) = delete;

  void ref();
  void unref();

 protected:
  JtkRefCounted() = default;
  virtual ~JtkRefCounted();

 private:
  long references_ = 0;
};

class JtkString {
 public:
  JtkString();
  explicit JtkString(const char* text);
  ~JtkString();
  JtkString(const JtkString& other);
  JtkString& operator=(const JtkString& other);

  // Copies the text into a new NUL-terminated buffer that the caller frees with
  // JtkEntityFactory::deleteMemory. `length` is the number of bytes before the terminator.
  void getString(char*& buffer, int& length) const;

  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_;
};

class JtkEntity : public JtkRefCounted {
 public:
  enum TypeID : int {
    JtkENTITY = 1,
    JtkSHAREABLE = 2,  // everything that may be held with ref and unref
    JtkENTITYLIST = 3,
    JtkTRANSFORM = 10,
    JtkMATERIAL = 11,
    JtkSHAPE = 19,
    JtkNULLSHAPE = 20,
    JtkPRIMITIVESET = 21,
    JtkPOINTSET = 22,
    JtkLINESTRIPSET = 23,
    JtkPOLYGONSET = 24,
    JtkTRISTRIPSET = 25,
    JtkASSEMBLY = 35,
    JtkPART = 36,
    JtkINSTANCE = 37,
    JtkBOXSET = 84,
    JtkCYLINDERSET = 85,
    JtkPYRAMIDSET = 86,
    JtkSPHERESET = 87,
    JtkTRIPRISMSET = 88,
  };

  [[nodiscard]] virtual TypeID typeID() const = 0;
  // 1 when the entity is of exactly this type, else 0.
  [[nodiscard]] virtual int isOfType(TypeID type) const = 0;
  // True when the entity is of this type or of one derived from it.
  [[nodiscard]] bool isOfSubType(TypeID type) const;
};

// A list that holds its elements by reference count.
class JtkEntityList : public JtkEntity {
 public:
  [[nodiscard]] virtual int length() const = 0;
  // Null outside 0 .. length() - 1.
  [[nodiscard]] JtkEntity* operator[](int index) const;

 protected:
  [[nodiscard]] virtual JtkEntity* at(int index) const = 0;
};

class JtkTransform : public JtkEntity {
 public:
  // 16 floats; element k lies in column k / 4 and row k mod 4 of a matrix that acts on column vectors, so
  // the translation is in 12, 13, 14. Null when there is none.
  virtual void getMatrixElements(float*& elements) = 0;
};

// Colours are four floats red, green, blue, alpha in 0 .. 1; alpha 1 is opaque.
class JtkMaterial : public JtkEntity {
 public:
  virtual void getDiffuseColor(float*& rgba) = 0;
  virtual void getAmbientColor(float*& rgba) = 0;
  virtual void getEmissionColor(float*& rgba) = 0;
  virtual void getShininess(float& shininess) = 0;
  virtual void getSpecularColor(float*& rgba) = 0;
};

// One tessellated shape. A primitive set is one triangle strip, one polyline or one point group.
class JtkShape : public JtkEntity {
 public:
  [[nodiscard]] virtual int getPrimitiveSetCount() const = 0;
  // The arrays of one set: vertices, normals and texture coordinates with three floats per entry, colours
  // with three (red, green, blue). Each count is the number of entries; arrays that the shape does not have
  // are null and their counts stay as they were. So are texture coordinates, unless settings ask for them
  // (jttk/interface/settings.h, extra_attributes). A set without vertices has null arrays and a vertex count
  // of 0. The first triangle of a strip is counter-clockwise seen from outside. Returns 1, or 0 when the set
  // does not exist (nothing is set then).
  virtual int getPrimitiveSetArrays(int set_index, float*& vertices, int& vertex_count, float*& normals,
                                    int& normal_count, float*& colors, int& color_count,
                                    float*& texture_coordinates, int& texture_coordinate_count) = 0;
  // Vertices of one set (three floats each), then normals. Same release rule, same result.
  virtual int getPrimitiveSetGeometry(int set_index, float*& vertices, int& vertex_count, float*& normals,
                                      int& normal_count) = 0;
  // The shape's own material, or null.
  virtual void getShapeMaterial(JtkMaterial*& material) = 0;
  // What was decoded for the shape, to know it again: two shapes with the same owner (of the pointer, or of a
  // weak pointer made of it, also when the arrays are gone) hand out the same sets and arrays. Null where the
  // toolkit cannot tell. Nothing may be read through it.
  [[nodiscard]] virtual std::shared_ptr<const void> decodedArrays() const { return nullptr; }
};

// What assemblies, parts and instances have in common.
class JtkHierarchy : public JtkEntity {
 public:
  virtual JtkString getName() = 0;
  virtual void getTransform(JtkTransform*& transform) = 0;
  virtual void getMaterial(JtkMaterial*& material) = 0;
};

class JtkAssembly : public JtkHierarchy {
 public:
  [[nodiscard]] virtual int numChildren() const = 0;
  [[nodiscard]] virtual JtkHierarchy* getChild(int index) const = 0;
};

class JtkInstance : public JtkHierarchy {
 public:
  // An assembly or a part; never null.
  [[nodiscard]] virtual JtkHierarchy* getReferencedNode() = 0;
};

// How parts are tessellated on load. Ended by JtkEntityFactory::fini.
class JtkTessParams : public JtkRefCounted {};

class JtkPart : public JtkHierarchy {
 public:
  [[nodiscard]] virtual int numShapeLODs() = 0;
  [[nodiscard]] virtual int numShapes(int level) = 0;
  // Null when the shape is damaged or does not exist. Level 0 is the finest.
  virtual void getShape(JtkShape*& shape, int level, int index) = 0;
  // Nonzero when the part is to be tessellated on load.
  [[nodiscard]] virtual int requiresTessellation() = 0;
  // 1 on success. May throw.
  virtual int tessellate(JtkTessParams* parameters, JtkEntityList*& results) = 0;
};

// The node being visited first; the other arguments are the depth below the node that the traversal began
// with (0 for that node) and the client data. The result 1 goes on.
using JtkTraversalCallback = int (*)(JtkEntity* node, int depth, int client_data);

class JtkTraverser : public JtkRefCounted {
 public:
  virtual void setPreActionCallback(JtkTraversalCallback callback) = 0;
  virtual void setPostActionCallback(JtkTraversalCallback callback) = 0;
  // Visits the whole graph below `root`, assemblies depth first; parts and instances are leaves. The
  // callbacks run synchronously inside.
  virtual void traverse(JtkEntity* root, int client_data) = 0;
};

class JtkCADImporter : public JtkRefCounted {
 public:
  virtual void configureImporter(void* configuration, int option) = 0;
  virtual void setImporterMode(int mode) = 0;
  // The root of the product structure, or null when the file cannot be loaded (the observer and the message
  // stream get the reason).
  virtual JtkEntity* importFile(const JtkString& path) = 0;
  // Fills major and minor from the file's header; leaves them as they are when it cannot be read.
  virtual int getFileVersion(const JtkString& path, int& major, int& minor) = 0;
};

class JtkEntityFactory {
 public:
  enum kernelOption : int { kernelDefault = 0 };
  enum environmentOption : int { environmentDefault = 0 };

  static void init(kernelOption kernel, environmentOption environment, const char* text);
  // Null when the toolkit cannot make one.
  static JtkCADImporter* createCADImporter();
  // chord_percent: chord tolerance as a percentage of the part's diagonal. minimum_edge_length: in model
  // units, 0 = none. The others are kept and unused. May throw.
  static JtkTessParams* createTessParams(float chord_percent, float second, float third, float fourth,
                                         float fifth, float sixth, float minimum_edge_length, int option,
                                         JtkString& text, int flag);
  static JtkTraverser* createTraverser();
  static void deleteMemory(char* memory);
  static void fini();
};

class JtkInfo {
 public:
  // JtkERRORS is the stream of messages about what could not be read.
  enum Streams : int { JtkMESSAGES = 0, JtkERRORS = 1 };
  static std::ostream& post(Streams stream);
};
