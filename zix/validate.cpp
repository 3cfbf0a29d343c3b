#include "zix/validate.h"

#include <algorithm>
#include <vector>

#include "host/shown_text.h"
#include "zix/array_facts.h"
#include "zix/checksum.h"
#include "zix/cut_text.h"
#include "zix/mesh_figures.h"
#include "zix/structure_check.h"

namespace Orb::Zix {

using format::kNone;

void ValidationReport::add(bool is_error, std::string_view code, std::uint64_t offset, std::string message) {
  ++(is_error ? error_count : warning_count);
  if (messages.size() < kMostMessages) {
    messages.push_back({is_error, std::string(code), offset, std::move(message)});
  }
}

namespace {

class Validator {
 public:
  Validator(const SceneFile& scene, ValidationReport& report) : scene_(scene), report_(report) {}

  void run() {
    readFile();
    checkRoot();
    checkObjects();
    checkProperties();
  }

 private:
  void error(std::string_view code, std::uint64_t offset, std::string message) {
    report_.add(true, code, offset, std::move(message));
  }
  void warn(std::string_view code, std::uint64_t offset, std::string message) {
    report_.add(false, code, offset, std::move(message));
  }

  // Everything between the header and the directory once, from front to back.
  void readFile() {
    std::uint64_t end = sizeof(format::Header);
    for (std::size_t i = 0; i < scene_.chunks().size(); ++i) {
      const format::ChunkEntry entry = scene_.chunks()[i];
      checkPadding(end, entry.offset);
      readChunk(i, entry);
      end = entry.offset + entry.size;
    }
    checkPadding(end, scene_.header().directory_offset);
  }

  void checkPadding(std::uint64_t start, std::uint64_t end) {
    PieceReader pieces(scene_, start, end - start);
    std::uint64_t offset = start;
    for (auto piece = pieces.next(); !piece.empty(); piece = pieces.next()) {
      const auto bad =
          std::find_if(piece.begin(), piece.end(), [](auto byte) { return byte != std::byte{0}; });
      if (bad != piece.end()) {
        return error("PADDING", offset + static_cast<std::uint64_t>(bad - piece.begin()),
                     "the padding before offset " + std::to_string(end) + " is not zero");
      }
      offset = pieces.offset();
    }
  }

  void readChunk(std::size_t chunk, const format::ChunkEntry& entry) {
    RunningChecksum sum;
    FloatFacts* const floats = entry.type == format::kFloatArrayChunk ? &floats_[chunk] : nullptr;
    IndexFacts* const indices = entry.type == format::kIndexArrayChunk ? &indices_[chunk] : nullptr;
    PieceReader pieces = scene_.chunkPieces(chunk);
    std::uint64_t offset = entry.offset;
    for (auto piece = pieces.next(); !piece.empty(); piece = pieces.next()) {
      sum.add(piece);
      if (floats != nullptr) floats->add(piece, offset);
      if (indices != nullptr) indices->add(piece, offset);
      offset = pieces.offset();
    }
    if (sum.value() != entry.checksum) {
      error("CHUNK_CHECKSUM", entry.offset,
            "chunk " + std::to_string(chunk) + " (" + chunkTypeText(entry.type) +
                ") is damaged: its checksum differs");
    }
  }

  void checkRoot() {
    if (scene_.root() == kNone) {
      warn("NO_ROOT", 0, "the scene states no root; every node that hangs under nothing counts as one");
    } else if (scene_.object(scene_.root()).parent != kNone) {
      warn("ROOT_HAS_PARENT", 0, describe(scene_.root()) + " is the root and hangs under another object");
    }
  }

  void checkObjects() {
    for (std::uint32_t i = 0; i < scene_.objectCount(); ++i) {
      const format::ObjectRecord object = scene_.object(i);
      if (!loftbay::host::isValidUtf8(scene_.name(i)))
        warn("NAME_NOT_UTF8", 0, describe(i) + " has a name that is no UTF-8");
      const auto type = static_cast<ObjectType>(object.type);
      const bool belongs_in_tree = type == ObjectType::Shape || type == ObjectType::Mesh ||
                                   (type == ObjectType::Node && scene_.root() != kNone && i != scene_.root());
      if (belongs_in_tree && object.parent == kNone)
        warn("UNATTACHED", 0, describe(i) + " hangs under nothing");
      if (type == ObjectType::Mesh) checkMesh(i);
      if (type == ObjectType::Coordinates) checkCoordinates(i);
    }
  }

  void checkProperties() {
    const auto check = [&](const std::vector<SceneFile::Property>& properties, const std::string& owner) {
      for (const SceneFile::Property& property : properties) {
        if (loftbay::host::isValidUtf8(property.key) && loftbay::host::isValidUtf8(property.value)) continue;
        return warn("PROPERTY_NOT_UTF8", 0, owner + " has a property that is no UTF-8");
      }
    };
    check(scene_.sceneProperties(), "the scene");
    for (std::uint32_t i = 0; i < scene_.objectCount(); ++i) check(scene_.properties(i), describe(i));
  }

  void checkCoordinates(std::uint32_t number) {
    const std::uint32_t chunk = scene_.coordinates(number).chunk;
    if (chunk == kNone) return;
    if (const auto offset = floats_[chunk].firstNotFinite())
      warn("NOT_FINITE", *offset, describe(number) + " holds values that are no finite numbers");
  }

  void checkMesh(std::uint32_t number) {
    const format::MeshRecord record = scene_.mesh(number);
    if (record.coordinates == kNone || record.indices == kNone) {
      warn("MESH_INCOMPLETE", 0, describe(number) + " lacks its coordinates or its connectivity");
    }
    const IndexFacts lengths = indexFacts(record.lengths);
    const auto odd = lengths.firstNotThree();
    if (odd && static_cast<MeshType>(record.mesh_type) == MeshType::Triangles) {
      warn("ELEMENT_LENGTH", odd->offset,
           describe(number) + " is a mesh of triangles with an element of " + std::to_string(odd->value) +
               " indices");
    }
    const IndexFacts indices = indexFacts(record.indices);
    if (lengths.sum() != indices.count()) {
      warn("LENGTHS_SUM", lengths.count() == 0 ? 0 : startOf(record.lengths),
           describe(number) + " has " + std::to_string(indices.count()) +
               " indices, but the lengths of its elements add up to " + std::to_string(lengths.sum()));
    }
    forEachMeshArray([&](const auto& kind) {
      if (hasRightCount(scene_, kind, number)) return;
      warn("VALUE_COUNT", 0, describe(number) + " has not as many " + kind.name + " as points");
    });
    const std::uint64_t points = pointCount(scene_, number);
    if (indices.count() == 0 || indices.largest() < points) return;
    error("INDEX_RANGE", indices.largestOffset(),
          describe(number) + " has the index " + std::to_string(indices.largest()) + " and only " +
              std::to_string(points) + " points");
  }

  // Of an IndexArray object or kNone.
  [[nodiscard]] IndexFacts indexFacts(std::uint32_t number) const {
    const std::uint32_t chunk = number == kNone ? kNone : scene_.indexArray(number).chunk;
    return chunk == kNone ? IndexFacts() : indices_[chunk];
  }
  [[nodiscard]] std::uint64_t startOf(std::uint32_t index_array) const {
    return scene_.chunks()[scene_.indexArray(index_array).chunk].offset;
  }
  [[nodiscard]] std::string describe(std::uint32_t number) const {
    return "object " + std::to_string(number) + " '" + shownCut(scene_.name(number)) + "'";
  }

  const SceneFile& scene_;
  ValidationReport& report_;
  // By chunk.
  std::vector<FloatFacts> floats_ = std::vector<FloatFacts>(scene_.chunks().size());
  std::vector<IndexFacts> indices_ = std::vector<IndexFacts>(scene_.chunks().size());
};

ValidationReport validate(const tl::expected<SceneFile, ReadError>& scene) {
  ValidationReport report;
  if (scene) {
    try {
      Validator(*scene, report).run();
    } catch (const SceneReadError& error) {
      report.add(true, "CANNOT_READ", error.offset(), error.message());
    }
  } else {
    report.add(true, scene.error().code, scene.error().offset, scene.error().message);
  }
  return report;
}

}  // namespace

ValidationReport validateFile(std::string_view program_path) {
  return validate(SceneFile::open(program_path));
}

ValidationReport validateBytes(std::span<const std::byte> bytes) {
  return validate(SceneFile::fromBytes(bytes));
}

}  // namespace Orb::Zix
