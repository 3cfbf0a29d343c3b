#include "bench/models.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "samples/maker/shape_lod.h"
#include "samples/maker/solids.h"
#include "samples/maker/write_jt.h"

namespace loftbay::bench {

namespace {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::random_device random;
    path_ = std::filesystem::temp_directory_path() / ("loftbay-bench-" + std::to_string(random()));
    std::filesystem::create_directories(path_);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace

bool quick() {
  static const bool value = std::getenv("LOFTBAY_BENCH_QUICK") != nullptr;
  return value;
}

maker::Shape ring(std::size_t triangles) {
  if (quick()) triangles = std::min<std::size_t>(triangles, 2000);
  const auto segments = static_cast<std::size_t>(std::sqrt(static_cast<double>(triangles) / 2));
  return maker::toShape(maker::turned(maker::circle(300, 0, 100, segments), segments));
}

maker::Bytes ringSegment(std::size_t triangles, const maker::Options& options) {
  return maker::shapeSegment(ring(triangles), options, 1);
}

maker::Product oneRing(std::size_t triangles) {
  maker::Product product;
  product.name = "ring";
  product.parts.push_back(
      {.name = "ring", .units = "Millimeters", .material = maker::Material{}, .lods = {}, .properties = {}});
  product.parts[0].lods.push_back({maker::ShapeSource([triangles] { return ring(triangles); })});
  product.root = maker::partRef(0);
  return product;
}

maker::Product manyRings(std::size_t parts, std::size_t triangles_each) {
  if (quick()) parts = std::min<std::size_t>(parts, 20);
  maker::Product product;
  product.name = "rings";
  maker::Assembly assembly{.name = "rings", .units = "Millimeters", .material = {}, .children = {}};
  for (std::size_t i = 0; i < parts; ++i) {
    maker::Part part{.name = "ring " + std::to_string(i),
                     .units = "Millimeters",
                     .material = maker::Material{},
                     .lods = {},
                     .properties = {}};
    part.lods.push_back({maker::ShapeSource([triangles_each] { return ring(triangles_each); })});
    product.parts.push_back(std::move(part));
    assembly.children.push_back({.target = maker::partRef(i),
                                 .name = "ring " + std::to_string(i),
                                 .transform = maker::translation(static_cast<double>(i % 100) * 1000,
                                                                 static_cast<double>(i / 100) * 1000, 0),
                                 .material = {},
                                 .direct = false});
  }
  product.assemblies.push_back(std::move(assembly));
  product.root = maker::assemblyRef(0);
  return product;
}

std::string temporaryPath(const std::string& name) {
  static const TemporaryFolder folder;
  return (folder.path() / name).string();
}

std::string modelFile(const std::string& name, const maker::Product& product, const maker::Options& options) {
  static std::map<std::string, std::string> written;
  const auto [entry, is_new] = written.try_emplace(name, temporaryPath(name));
  if (is_new) maker::writeJtFile(product, options, entry->second);
  return entry->second;
}

}  // namespace loftbay::bench
