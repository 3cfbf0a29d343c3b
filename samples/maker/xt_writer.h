// Writes the nodes of an XT stream (neutral binary, big-endian), field by field. The list of node types and
// their fields is separate from the reader's, so that the reader's is checked against it.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "samples/maker/byte_writer.h"

namespace loftbay::maker {

struct Point {  // metres; or a direction
  double x = 0;
  double y = 0;
  double z = 0;
  constexpr Point() = default;
  constexpr Point(double px, double py, double pz) : x(px), y(py), z(pz) {}
  // From the vectors of whoever makes a model.
  template <typename Vector>
  requires requires(const Vector& v) { v.x + v.y + v.z; }
  constexpr Point(const Vector& v) : x(v.x), y(v.y), z(v.z) {}
};
inline Point operator-(const Point& a) { return {-a.x, -a.y, -a.z}; }
inline Point operator-(const Point& a, const Point& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }

// Nodes of the base schema, by name of field. Fields that are not given are 0, null, or the real that means
// "not set".
class XtWriter {
 public:
  using Id = std::uint32_t;  // index of a node; 0 is null

  // A field of a new node with its value: a number, a letter, the index of a node, a vector or several
  // numbers.
  struct Field {
    template <typename Number>
    requires std::is_arithmetic_v<Number> Field(const char* field, Number value)
        : name(field), numbers{static_cast<double>(value)} {}
    Field(const char* field, const Point& value) : name(field), numbers{value.x, value.y, value.z} {}
    template <typename Number>
    Field(const char* field, const std::vector<Number>& values)
        : name(field), numbers(values.begin(), values.end()) {}

    const char* name;
    std::vector<double> numbers;
  };

  Id add(int type, std::initializer_list<Field> fields = {});
  [[nodiscard]] int typeOf(Id node) const { return nodes_[node - 1].type; }
  [[nodiscard]] Id size() const { return static_cast<Id>(nodes_.size()); }
  // Value k of a field; for a variable field the array grows as needed. Throws std::logic_error for a type or
  // field that the base schema lacks when the stream is written.
  void number(Id node, const std::string& field, double value, std::size_t k = 0);
  void pointer(Id node, const std::string& field, Id target, std::size_t k = 0) {
    number(node, field, static_cast<double>(target), k);
  }
  void vector(Id node, const std::string& field, const Point& value, std::size_t k = 0);
  void numbers(Id node, const std::string& field, const std::vector<double>& values);
  // Every index grows by this, so that pointers need their long form.
  void shiftIndices(std::uint32_t by) { shift_ = by; }
  // Without an embedded schema the key has three parts, and nodes bring no deltas. On by default.
  void embedSchema(bool embed) { embedded_ = embed; }
  // Every node with an identifier of its own gets so many integers, behind its fields or before them.
  void userFields(int count, bool before) { user_fields_ = {count, before}; }

  // The whole stream. The embedded schema, if any, states no changes.
  [[nodiscard]] Bytes stream() const;

 private:
  struct Node {
    int type = 0;
    std::map<std::string, std::vector<double>> values;
  };
  void writeNode(ByteWriter& out, const Node& node, std::uint32_t index, bool first_of_type) const;

  std::vector<Node> nodes_;  // node of index i at i - 1
  std::uint32_t shift_ = 0;
  bool embedded_ = true;
  std::pair<int, bool> user_fields_{0, false};
};

}  // namespace loftbay::maker
