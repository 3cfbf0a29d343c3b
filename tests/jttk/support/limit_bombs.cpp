#include "tests/jttk/support/limit_bombs.h"

#include "tests/jttk_brep/models.h"

namespace jttk::testing {

namespace {

constexpr std::uint32_t kExactType = 17;
constexpr const char* kExactKey = "JT_LLPROP_XTBREP";
constexpr Guid kExactSegment{7, 1, 2, {}};

std::int32_t number(std::size_t i) { return static_cast<std::int32_t>(i); }

// Zeros, as a zlib stream; without its end it fails.
Bytes packedZeroBytes(std::size_t count, bool fails) {
  Bytes packed = zlibOf(Bytes(count));
  if (fails) packed.resize(packed.size() - 8);
  return packed;
}

}  // namespace

GraphBuilder instancesOfInstances() {
  constexpr std::int32_t kLevels = 30;
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  for (std::int32_t i = 0; i < kLevels; ++i) {
    const std::int32_t assembly = 1 + 3 * i;
    graph.metaData(assembly, {assembly + 1, assembly + 2});
    graph.instance(assembly + 1, assembly + 3);
    graph.instance(assembly + 2, assembly + 3);
  }
  graph.part(1 + 3 * kLevels, {200});
  graph.triStrips(200);
  graph.pack();
  return graph;
}

GraphBuilder equalChildren(std::size_t count) {
  GraphBuilder graph;
  graph.partition(0, Ids(count, 1)).name("root");
  graph.part(1, {2}).name("part");
  graph.triStrips(2);
  graph.pack();
  return graph;
}

std::string friendName(std::size_t k) { return "friend" + std::to_string(k) + ".jt"; }

GraphBuilder friendOfAll(std::size_t k, std::size_t count) {
  GraphBuilder graph;
  Ids others = {1};
  for (std::size_t i = 0; i < count; ++i) {
    if (i != k) others.push_back(number(10 + i));
  }
  graph.partition(0, others).name("friend " + std::to_string(k));
  graph.part(1, {2}).name("part " + std::to_string(k));
  graph.triStrips(2);
  for (std::size_t i = 0; i < count; ++i) {
    if (i != k) graph.partition(number(10 + i), {}, friendName(i));
  }
  graph.pack();
  return graph;
}

Bytes bumpyFaces(int faces) {
  brep::XtModel model;
  model.asSheet();
  constexpr int kSize = 9;
  constexpr double kStep = 0.01;
  std::vector<double> net;
  for (int i = 0; i < kSize; ++i) {
    for (int k = 0; k < kSize; ++k) {
      const bool border = i == 0 || k == 0 || i == kSize - 1 || k == kSize - 1;
      net.insert(net.end(), {kStep * i, kStep * k, border ? 0 : kStep * ((i + k) % 2 == 0 ? 2 : -2)});
    }
  }
  const std::vector<double> knots{0, 1, 2, 3, 4, 5, 6};
  const std::vector<int> times{4, 1, 1, 1, 1, 1, 4};
  const auto surface = model.splineSurface(3, 3, kSize, kSize, false, net, knots, times, knots, times);
  const double end = kStep * (kSize - 1);
  for (int face = 0; face < faces; ++face) {
    const int a = model.vertex({0, 0, 0});
    const int b = model.vertex({end, 0, 0});
    const int c = model.vertex({end, end, 0});
    const int d = model.vertex({0, end, 0});
    model.face(surface, false,
               {{{model.straight(a, b), true},
                 {model.straight(b, c), true},
                 {model.straight(c, d), true},
                 {model.straight(d, a), true}}});
  }
  model.finish();
  return brep::segmentOf(model);
}

GraphBuilder costlyParts(std::size_t parts, int faces) {
  GraphBuilder graph;
  Ids children;
  for (std::size_t i = 0; i < parts; ++i) children.push_back(number(1 + i));
  graph.partition(0, children).name("root");
  for (std::size_t i = 0; i < parts; ++i) {
    // The same unit in other letters: so the parts are not one and the same to whoever compares them.
    std::string unit = "millimeters";
    for (std::size_t bit = 0; bit < unit.size(); ++bit) {
      if ((i >> bit & 1U) != 0) unit[bit] = static_cast<char>(unit[bit] - 'a' + 'A');
    }
    graph.part(children[i], {})
        .name("part " + std::to_string(i))
        .property("JT_PROP_MEASUREMENT_UNITS", unit)
        .lateLoaded(kExactKey, kExactSegment, kExactType);
  }
  graph.packedSegment(kExactSegment, kExactType, zlibOf(bumpyFaces(faces)));
  graph.pack();
  return graph;
}

GraphBuilder failingSegment(std::size_t parts, std::size_t unpacked_bytes) {
  GraphBuilder graph;
  Ids children;
  for (std::size_t i = 0; i < parts; ++i) children.push_back(number(1 + i));
  const std::int32_t sound = number(1 + parts);
  children.push_back(sound);
  graph.partition(0, children).name("root");
  for (std::size_t i = 0; i < parts; ++i) {
    graph.part(children[i], {})
        .name("part " + std::to_string(i))
        .lateLoaded(kExactKey, kExactSegment, kExactType);
  }
  graph.part(sound, {sound + 1}).name("sound");
  graph.triStrips(sound + 1);
  graph.packedSegment(kExactSegment, kExactType, packedZeroBytes(unpacked_bytes, true));
  graph.pack();
  return graph;
}

GraphBuilder packedZeros(std::size_t unpacked_bytes) {
  GraphBuilder graph;
  graph.partition(0, {1, 3}).name("root");
  graph.part(1, {}).name("zeros").lateLoaded(kExactKey, kExactSegment, kExactType);
  graph.part(3, {4}).name("sound");
  graph.triStrips(4);
  graph.packedSegment(kExactSegment, kExactType, packedZeroBytes(unpacked_bytes, false));
  return graph;
}

}  // namespace jttk::testing
