// Writes the elements of the scene graph segment, one function per kind of node, attribute and atom. Here
// are the differences between the versions: a collection of fields starts with no version in 8.x, with an
// I16 in 9.x, with a U8 in 10.0; some have more or fewer fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "samples/maker/byte_writer.h"
#include "samples/maker/figures.h"
#include "samples/maker/format.h"

namespace loftbay::maker {

using Ids = std::vector<std::int32_t>;

// Around the fields of an element: its length, kind, base type and object id; finishElement() puts in the
// length. `begin` is what beginElement() answered.
std::size_t beginElement(ByteWriter& out, const GuidValue& kind, unsigned base_type, std::int32_t id);
void finishElement(ByteWriter& out, std::size_t begin);
void endOfElements(ByteWriter& out);

class ElementWriter {
 public:
  ElementWriter(ByteWriter& out, const Options& options) : out_(out), options_(options) {}

  // `untransformed` is the box before the partition's own transform.
  void partition(std::int32_t id, const Ids& attributes, const Ids& children, std::string_view file_name,
                 const Figures& figures, const Figures& untransformed);
  void group(std::int32_t id, const Ids& attributes, const Ids& children);
  void metaData(std::int32_t id, const Ids& attributes, const Ids& children);
  void part(std::int32_t id, const Ids& attributes, const Ids& children, bool hidden);
  void instance(std::int32_t id, const Ids& attributes, std::int32_t child);
  void rangeLod(std::int32_t id, const Ids& attributes, const Ids& children, const Figures& figures);
  void shape(std::int32_t id, const Ids& attributes, const ShapeRecord& shape);

  void transform(std::int32_t id, const Matrix& matrix);
  void material(std::int32_t id, const Material& material);

  void stringAtom(std::int32_t id, std::string_view text);
  void lateLoadedAtom(std::int32_t id, const GuidValue& segment, std::uint32_t segment_type,
                      std::int32_t object_id);

  void end();

 private:
  [[nodiscard]] bool v8() const { return options_.major() == 8; }
  [[nodiscard]] bool v9() const { return options_.major() == 9; }
  [[nodiscard]] bool v10() const { return options_.major() == 10; }

  void begin(const GuidValue& type, unsigned base_type, std::int32_t id);
  void finish();
  // The version of a collection in the form of the file; in 8.x only where `also_in_v8` says so.
  void version(int number, bool also_in_v8 = false);
  void ids(const Ids& ids);
  void box(const Figures& figures);
  void baseNode(const Ids& attributes, std::uint32_t flags = 0);
  void groupNode(const Ids& attributes, const Ids& children, std::uint32_t flags = 0);
  void metaDataNode(const Ids& attributes, const Ids& children, std::uint32_t flags = 0);
  void baseShape(const Ids& attributes, const ShapeRecord& shape);
  void primitiveShape(const Ids& attributes, const ShapeRecord& shape);
  void vertexShape(const Ids& attributes, const ShapeRecord& shape);
  void quantisation();
  void rgba(const Rgba& color);

  ByteWriter& out_;
  const Options& options_;
  std::size_t length_at_ = 0;
};

}  // namespace loftbay::maker
