// What a reader must refuse: everything in header, directory and tables that would let an accessor leave the
// file, or that the format forbids. Time and memory grow with the number of objects and chunks only.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zix/reader.h"

namespace Orb::Zix {

class StructureCheck {
 public:
  // Fills in `scene`, whose bytes are set.
  explicit StructureCheck(SceneFile& scene) : scene_(scene) {}
  std::optional<ReadError> run();

 private:
  using Failure = std::optional<ReadError>;

  Failure checkHeader();
  Failure checkDirectory();
  Failure checkChunk(std::size_t i, std::uint64_t* end);
  Failure findTables();
  Failure checkTexts();
  void collectTypes();
  Failure checkObjects();
  [[nodiscard]] bool isRight(std::uint32_t i, const format::ObjectRecord& object) const;
  [[nodiscard]] Failure whatIsWrong(std::uint32_t i, const format::ObjectRecord& object) const;
  Failure checkChildren();
  Failure checkObjectChildren(std::uint32_t i, const format::ObjectRecord& object);
  Failure checkCycles();
  Failure checkMeshes();
  Failure checkArrays();
  Failure checkProperties();

  // Every refusal goes through here.
  static Failure refuse(const char* code, std::uint64_t offset, std::string message) {
    return ReadError{code, offset, std::move(message), ""};
  }
  static std::string number(std::uint64_t value) { return std::to_string(value); }

  template <typename T>
  Failure findTable(std::uint32_t type, Table<T>& table, std::size_t* chunk_number);

  // Where row `row` of a table is in the file.
  [[nodiscard]] std::uint64_t placeOf(std::size_t chunk, std::size_t row) const;
  [[nodiscard]] bool isType(std::uint32_t object, ObjectType type) const {
    return object < types_.size() && types_[object] == static_cast<std::uint32_t>(type);
  }
  [[nodiscard]] bool isNoneOr(std::uint32_t object, ObjectType type) const {
    return object == format::kNone || isType(object, type);
  }
  [[nodiscard]] bool isText(std::uint64_t offset, std::uint32_t size) const {
    return offset <= scene_.texts_.size() && size <= scene_.texts_.size() - offset;
  }

  static constexpr std::size_t kNotFound = SIZE_MAX;

  SceneFile& scene_;
  // The chunk of each table, in the order of the list in structure_check.cpp.
  std::array<std::size_t, 11> table_chunks_{};
  std::size_t scene_chunk_ = 0;
  std::size_t object_chunk_ = 0;
  std::size_t mesh_chunk_ = 0;
  std::size_t coordinates_chunk_ = 0;
  std::size_t index_chunk_ = 0;
  std::size_t view_chunk_ = 0;
  std::size_t property_chunk_ = 0;
  // Every object's type, 0 where it is none: the records lie too far apart to look them up for every number
  // that refers to one.
  std::vector<std::uint8_t> types_;
  // How many objects of each type came before the one being checked, by type number.
  std::array<std::uint32_t, 20> ordinals_{};
  bool parents_come_first_ = true;
  std::uint64_t attached_ = 0;  // objects that state a parent
  std::size_t listed_ = 0;      // rows of the child table that belong to the parents checked so far
  std::vector<bool> is_listed_;
};

// A chunk type as text: its four characters, those that are not printable as '?'.
std::string chunkTypeText(std::uint32_t type);

}  // namespace Orb::Zix
