// Binary glTF 2.0. First the plan: which geometries, meshes and materials there are, and how big; then the
// JSON chunk, piece by piece; then the binary chunk, geometry by geometry. So memory holds facts, never
// arrays.
#include <optional>
#include <span>
#include <string>

#include "zix/export.h"
#include "zix/glb_geometry.h"
#include "zix/glb_json.h"
#include "zix/glb_plan.h"
#include "zix/output_file.h"

namespace Orb::Zix {

namespace {

constexpr std::uint32_t kGlbMagic = 0x46546C67;   // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;  // "JSON"
constexpr std::uint32_t kBinaryChunk = 0x004E4942;
constexpr std::uint64_t kMostBytes = 0xFFFFFFFF;

std::string tooBig(std::uint64_t size) {
  return "GLB files are limited to 4 GiB; the scene needs " + std::to_string(size) + " bytes";
}

// What the lengths of the scene are multiplied by.
GlbRoot rootFor(const SceneFile& scene, const GlbOptions& options, bool& assumed) {
  GlbRoot root{.unit_metres = 0.001, .unit = "", .up = options.up};
  if (options.unit_metres) {
    root.unit_metres = *options.unit_metres;
  } else if (const auto unit = scene.unit(); unit && unit->metres && isUsableUnit(*unit->metres)) {
    root.unit_metres = *unit->metres;
    root.unit = unit->name;
  } else {
    assumed = !options.as_is;
  }
  root.is_there = !options.as_is;
  return root;
}

std::optional<std::string> write(const SceneFile& scene, const GlbPlan& plan, const GlbRoot& root,
                                 std::string_view program_path) {
  OutputFile file;
  auto failure = file.open(program_path);
  const auto append = [&](std::span<const std::byte> bytes) {
    if (!failure) failure = file.append(bytes);
  };
  std::uint32_t header[5] = {kGlbMagic, 2, 0, 0, kJsonChunk};
  append(std::as_bytes(std::span(header)));
  JsonWriter json([&](std::string_view text) { append(std::as_bytes(std::span(text.data(), text.size()))); },
                  false);
  writeGlbJson(scene, plan, root, json);
  constexpr std::string_view kBlanks = "   ";
  append(std::as_bytes(std::span(kBlanks.data(), (4 - file.size() % 4) % 4)));
  const std::uint64_t json_size = file.size() - sizeof(header);
  const std::uint64_t total = file.size() + (plan.binary_size == 0 ? 0 : 8 + plan.binary_size);
  if (total > kMostBytes) return tooBig(total);
  if (plan.binary_size != 0) {
    const std::uint32_t binary_header[2] = {static_cast<std::uint32_t>(plan.binary_size), kBinaryChunk};
    append(std::as_bytes(std::span(binary_header)));
    bool unchanged = true;
    plan.forEachUsed([&](const GlbGeometry& geometry) {
      const GlbContent content = contentOf(scene, geometry.mesh);
      for (const GlbArrayKind& kind : kGlbArrays)
        unchanged = unchanged && kind.write(geometry, content, append);
    });
    if (!unchanged) return std::string("the scene's file has changed while it was read");
  }
  header[2] = static_cast<std::uint32_t>(total);
  header[3] = static_cast<std::uint32_t>(json_size);
  if (!failure) failure = file.overwrite(0, std::as_bytes(std::span(header)));
  if (!failure) failure = file.commit();
  return failure ? std::optional(failure->text()) : std::nullopt;
}

}  // namespace

ExportResult exportGlb(const SceneFile& scene, std::string_view program_path, const GlbOptions& options) {
  GlbPlan plan(scene);
  const GlbRoot root = rootFor(scene, options, plan.summary.unit_assumed);
  if (plan.binary_size > kMostBytes) return tl::unexpected(tooBig(plan.binary_size));
  if (auto failure = write(scene, plan, root, program_path)) return tl::unexpected(*failure);
  return plan.summary;
}

}  // namespace Orb::Zix
