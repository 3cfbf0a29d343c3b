#include "zix/validate.h"

#include <algorithm>
#include <cmath>

#include "host/shown_text.h"
#include "zix/scene_meshes.h"
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
    checkPadding();
    checkChunks();
    checkRoot();
    checkObjects();
  }

 private:
  void error(std::string_view code, std::uint64_t offset, std::string message) {
    report_.add(true, code, offset, std::move(message));
  }
  void warn(std::string_view code, std::uint64_t offset, std::string message) {
    report_.add(false, code, offset, std::move(message));
  }

  void checkPadding() {
    std::uint64_t end = sizeof(format::Header);
    const auto check = [&](std::uint64_t next) {
      std::uint64_t at = end;
      bool is_zero = true;
      scene_.forEachPiece(end, next - end, [&](std::span<const std::byte> piece) {
        for (const std::byte byte : piece) {
          is_zero = is_zero && byte == std::byte{0};
          if (is_zero) ++at;
        }
      });
      if (!is_zero)
        error("PADDING", at, "the padding before offset " + std::to_string(next) + " is not zero");
    };
    for (std::size_t i = 0; i < scene_.chunks().size(); ++i) {
      const format::ChunkEntry entry = scene_.chunks()[i];
      check(entry.offset);
      end = entry.offset + entry.size;
    }
    check(scene_.header().directory_offset);
  }

  void checkChunks() {
    for (std::size_t i = 0; i < scene_.chunks().size(); ++i) {
      if (scene_.verifyChunk(i)) continue;
      const format::ChunkEntry entry = scene_.chunks()[i];
      error("CHUNK_CHECKSUM", entry.offset,
            "chunk " + std::to_string(i) + " (" + chunkTypeText(entry.type) +
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

  void checkCoordinates(std::uint32_t number) {
    const auto values = scene_.coordinateValues(number);
    const auto bad = std::find_if_not(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
    if (bad == values.end()) return;
    warn("NOT_FINITE", values.offsetOf(*bad), describe(number) + " holds values that are no finite numbers");
  }

  void checkMesh(std::uint32_t number) {
    const format::MeshRecord record = scene_.mesh(number);
    if (record.coordinates == kNone || record.indices == kNone) {
      warn("MESH_INCOMPLETE", 0, describe(number) + " lacks its coordinates or its connectivity");
    }
    const MeshArrays mesh = meshArrays(scene_, number);
    std::uint64_t sum = 0;
    bool reported_length = false;
    for (const std::uint32_t& length : mesh.lengths) {
      sum += length;
      if (mesh.type == MeshType::Triangles && length != 3 && !reported_length) {
        reported_length = true;
        warn("ELEMENT_LENGTH", mesh.lengths.offsetOf(length),
             describe(number) + " is a mesh of triangles with an element of " + std::to_string(length) +
                 " indices");
      }
    }
    if (sum != mesh.indices.size()) {
      warn("LENGTHS_SUM", mesh.lengths.empty() ? 0 : mesh.lengths.offsetOf(mesh.lengths.front()),
           describe(number) + " has " + std::to_string(mesh.indices.size()) +
               " indices, but the lengths of its elements add up to " + std::to_string(sum));
    }
    const auto bad =
        std::find_if(mesh.indices.begin(), mesh.indices.end(),
                     [count = mesh.pointCount()](std::uint32_t index) { return index >= count; });
    if (bad == mesh.indices.end()) return;
    error("INDEX_RANGE", mesh.indices.offsetOf(*bad),
          describe(number) + " has the index " + std::to_string(*bad) + " and only " +
              std::to_string(mesh.pointCount()) + " points");
  }

  [[nodiscard]] std::string describe(std::uint32_t number) const {
    return "object " + std::to_string(number) + " '" + loftbay::host::shownText(scene_.name(number)) + "'";
  }

  const SceneFile& scene_;
  ValidationReport& report_;
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
