// How long drawing a large mesh takes.
#include <fmt/format.h>

#include <cmath>
#include <stdexcept>

#include "bench/zix_numbers/measuring.h"
#include "zix/png.h"
#include "zix/reader.h"
#include "zix/render.h"

namespace zix_numbers {

using namespace Orb::Zix;

void writeRing(const std::string& path, unsigned triangles) {
  const auto across = static_cast<unsigned>(std::sqrt(triangles / 2.0));
  const unsigned along = triangles / 2 / across;
  std::vector<float> points;
  std::vector<unsigned int> indices;
  for (unsigned i = 0; i < along; ++i) {
    const double a = 2 * 3.14159265358979 * i / along;
    for (unsigned k = 0; k < across; ++k) {
      const double b = 2 * 3.14159265358979 * k / across;
      const double radius = 100 + (30 + 3 * std::sin(20 * a)) * std::cos(b);
      points.push_back(static_cast<float>(radius * std::cos(a)));
      points.push_back(static_cast<float>(radius * std::sin(a)));
      points.push_back(static_cast<float>(30 * std::sin(b)));
      const unsigned next_i = (i + 1) % along;
      const unsigned next_k = (k + 1) % across;
      const unsigned corner[4] = {i * across + k, next_i * across + k, next_i * across + next_k,
                                  i * across + next_k};
      for (const unsigned c : {0U, 1U, 2U, 2U, 3U, 0U}) indices.push_back(corner[c]);
    }
  }
  const std::vector<unsigned int> lengths(indices.size() / 3, 3);
  Scene_V1 scene("Model");
  scene.saveTo(path.c_str(), " ", true, true);
  const auto root = scene.createObject(ObjectType::Node);
  const auto shape = scene.createObject(ObjectType::Shape);
  scene.addComponent(root, shape);
  const auto mesh = scene.createObject(ObjectType::Mesh);
  scene.addComponent(shape, mesh);
  const auto coordinates = scene.createObject(ObjectType::Coordinates);
  scene.setValues<float>(coordinates, points.data(), points.size() / 3);
  scene.setCoordinates(mesh, coordinates);
  const auto index_array = scene.createObject(ObjectType::IndexArray);
  scene.setValues<unsigned int>(index_array, indices.data(), indices.size());
  const auto length_array = scene.createObject(ObjectType::IndexArray);
  scene.setValues<unsigned int>(length_array, lengths.data(), lengths.size());
  scene.setConnectivity(mesh, index_array, length_array);
  scene.createDefaultViews(root);
  scene.closeFile(path.c_str());
}

void measureDrawing() {
  const unsigned triangles = quick ? 2'000 : 2'000'000;
  const std::string path = scratchPath("ring.zix");
  writeRing(path, triangles);
  struct Style {
    const char* name;
    RenderStyle style;
  };
  for (const Style& style :
       {Style{"smooth", {}}, Style{"flat", {true, false}}, Style{"smooth, with edges", {false, true}}}) {
    std::vector<double> times;
    for (int round = 0; round < (quick ? 1 : 5); ++round) {
      times.push_back(secondsOf([&] {
        const auto scene = SceneFile::open(path);
        const Picture picture = render(*scene, *findCamera(*scene, "iso"), 1024, 768, style.style);
        if (writePng(scratchPath("ring.png"), picture.width, picture.height, picture.rgb)) {
          throw std::runtime_error("cannot write the picture");
        }
      }));
    }
    fmt::print("{:<66} {:>22}\n",
               fmt::format("drawing {} triangles, {}, 1024x768, as PNG", triangles, style.name),
               fmt::format("{:.2f} s", median(times)));
  }
}

}  // namespace zix_numbers
