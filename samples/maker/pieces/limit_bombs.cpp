#include "samples/maker/pieces/limit_bombs.h"

#include <algorithm>
#include <numeric>

#include "samples/maker/entropy.h"
#include "samples/maker/guids.h"
#include "samples/maker/hash.h"
#include "samples/maker/pieces/shapes.h"
#include "samples/maker/pieces/shapes_v8.h"
#include "samples/maker/xt_brep.h"
#include "samples/maker/xt_model.h"

namespace loftbay::maker::pieces {

namespace {

constexpr std::uint32_t kExactType = 17;
constexpr const char* kExactKey = "JT_LLPROP_XTBREP";
constexpr GuidValue kExactSegment{7, 1, 2, {}};

std::int32_t number(std::size_t i) { return static_cast<std::int32_t>(i); }

// The data of a segment of exact geometry.
Bytes segmentOf(const XtModel& model) { return bytesOf(xtBrepSegment(model.stream(), {})); }

// Zeros, as a zlib stream; without its end it fails.
Bytes packedZeroBytes(std::size_t count, bool fails) {
  Bytes packed = zlibOf(Bytes(count));
  if (fails) packed.resize(packed.size() - 8);
  return packed;
}

// Coordinates that are spread widely, all with the same difference.
std::vector<std::int32_t> scattered(std::uint32_t count, std::uint32_t step) {
  std::vector<std::int32_t> codes;
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint32_t times = i < 4 ? 1 : i - 2;
    codes.push_back(static_cast<std::int32_t>(times * step));
  }
  return codes;
}

constexpr std::uint32_t kSteps[3] = {0x9e3779b1U, 0x85ebca77U, 0xc2b2ae3dU};
// Zeros behind a shape in its element: it may hold the more.
constexpr std::size_t kFiller = 7'900;
constexpr float kHalf = 1;  // of the box that scattered coordinates fill

// A JT 8.x packet of values that are 0 but for the first four.
ByteBuilder fewValuesPacket(const std::vector<std::int32_t>& values) {
  constexpr std::uint32_t kZeros = 8000;
  ArithmeticEncoder encoder;
  for (std::size_t i = 0; i < values.size(); ++i) {
    i < 4 ? encoder.encode(kZeros, 1, kZeros + 1) : encoder.encode(0, kZeros, kZeros + 1);
  }
  encoder.end();
  const std::vector<std::int32_t> first(values.begin(), values.begin() + 4);
  return symbolPacket(3, {{{0, kZeros, values[4]}, {kEscape, 1, 0}}}, first, BitBuilder(encoder.bits()),
                      values.size());
}

// The shape in a part, and a sound part behind it.
GraphBuilder partWith(const std::string& version, const Bytes& shape, const Bytes& sound_shape = {}) {
  GraphBuilder graph(version);
  graph.partition(0, {1, 3}).name("root");
  if (!sound_shape.empty()) graph.setGeometry(sound_shape);
  graph.part(3, {4}).name("sound");
  graph.triStrips(4);
  graph.part(1, {2}).name("part");
  graph.setShapeBox({-kHalf, -kHalf, -kHalf, kHalf, kHalf, kHalf});
  graph.setGeometry(shape);
  graph.triStrips(2);
  graph.pack();
  return graph;
}

}  // namespace

GraphBuilder shapeOf(const std::string& version, const Topology& symbols, std::uint32_t vertices) {
  const PacketForm form = version[0] == '9' ? PacketForm::V9 : PacketForm::V10;
  ByteBuilder out;
  out.bytes(topologyBytes(symbols, form)).u64(0x2).u8(32).u8(0).u8(8).u8(8);
  out.u32(vertices).u32(0).u32(vertices).u8(3);
  for (int i = 0; i < 3; ++i) out.f32(-kHalf).f32(kHalf).u8(32);
  std::uint32_t hash = 0;
  for (const std::uint32_t step : kSteps) {
    const std::vector<std::int32_t> codes = scattered(vertices, step);
    addPacket(out, codes, Predictor::Lag1, form);
    hash = hashWords(codes, hash);
  }
  out.u32(hash).bytes(Bytes(kFiller));
  return partWith(version, shapeElement(guids::kTriStripLod, form, out.result()));
}

GraphBuilder tetrahedra(const std::string& version, std::uint32_t count) {
  Topology symbols;
  symbols.degrees[1].assign(count, 3);
  symbols.degrees[0].assign(3 * std::size_t{count}, 3);
  symbols.valences.assign(4 * std::size_t{count}, 3);
  symbols.groups.assign(4 * std::size_t{count}, 0);
  return shapeOf(version, symbols, 4 * count);
}

GraphBuilder largePolygons(const std::string& version, std::uint32_t corners, std::uint32_t pairs) {
  Topology symbols;
  symbols.degrees[7].assign(std::size_t{corners} * pairs, 2);
  symbols.valences.assign(2 * std::size_t{pairs}, static_cast<std::int32_t>(corners));
  symbols.groups.assign(2 * std::size_t{pairs}, 0);
  return shapeOf(version, symbols, corners * pairs);
}

Bytes longStripElement(std::uint32_t corners, bool all_different, std::size_t filler) {
  std::vector<std::int32_t> indices(corners, 0);
  if (all_different) std::iota(indices.begin(), indices.begin() + 4, 0);
  const std::uint32_t vertices = all_different ? corners : 5;
  ByteBuilder body = shapeHeader(32, 0, 0, 0, {0, static_cast<std::int32_t>(corners)}, ByteOrder::Little);
  addRanges(body, {{-kHalf, kHalf, 32}, {-kHalf, kHalf, 32}, {-kHalf, kHalf, 32}});
  body.i32(vertices);
  for (const std::uint32_t step : kSteps)
    body.bytes(fewValuesPacket(residuals(scattered(vertices, step & 0x7ffffU), Predictor::Lag1)));
  body.bytes(fewValuesPacket(indices));
  ByteBuilder element;
  element.guid(guids::kTriStripLod).u8(4).bytes(body).bytes(Bytes(filler));
  return ByteBuilder().u32(element.size()).bytes(element.result()).result();
}

GraphBuilder longStrip(std::uint32_t corners, bool all_different) {
  return partWith("8.1", longStripElement(corners, all_different, kFiller), longStripElement(8, true, 0));
}

Bytes filledUp(Bytes file, std::size_t size) {
  file.resize(std::max(size, file.size()));
  return file;
}

// Assemblies from node `first` on, each with two instances of the next; at the end there is a part with a
// shape.
void addLevels(GraphBuilder& graph, std::int32_t first, std::int32_t levels) {
  for (std::int32_t i = 0; i < levels; ++i) {
    const std::int32_t assembly = first + 3 * i;
    graph.metaData(assembly, {assembly + 1, assembly + 2});
    graph.instance(assembly + 1, assembly + 3);
    graph.instance(assembly + 2, assembly + 3);
  }
  const std::int32_t part = first + 3 * levels;
  graph.part(part, {part + 1});
  graph.triStrips(part + 1);
}

GraphBuilder instancesOfInstances() {
  GraphBuilder graph;
  graph.partition(0, {1}).name("root");
  addLevels(graph, 1, 30);
  graph.pack();
  return graph;
}

GraphBuilder everythingAtOnce() {
  constexpr GuidValue kFailingSegment{7, 1, 3, {}};
  GraphBuilder graph("8.1");
  graph.partition(0, {1, 2, 3, 5}).name("root");
  graph.part(1, {}).name("exact").lateLoaded(kExactKey, kExactSegment, kExactType);
  graph.packedSegment(kExactSegment, kExactType, zlibOf(bumpyFaces(30)));
  graph.part(2, {}).name("failing").lateLoaded(kExactKey, kFailingSegment, kExactType);
  graph.packedSegment(kFailingSegment, kExactType, packedZeroBytes(500'000, true));
  graph.setGeometry(longStripElement(500'000, true, 0));
  graph.part(3, {4}).name("strip");
  graph.triStrips(4);
  graph.setGeometry(longStripElement(8, true, 0));
  addLevels(graph, 5, 30);
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
  XtModel model;
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
  return segmentOf(model);
}

GraphBuilder costlyParts(std::size_t parts, int faces) {
  GraphBuilder graph;
  Ids children;
  for (std::size_t i = 0; i < parts; ++i) children.push_back(number(1 + i));
  graph.partition(0, children).name("root");
  for (std::size_t i = 0; i < parts; ++i) {
    // The same unit in other letters: so comparing the parts shows them as different.
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

GraphBuilder exactPart(const XtModel& model) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("root");
  graph.part(1, {}).name("exact").lateLoaded(kExactKey, kExactSegment, kExactType);
  graph.part(2, {3}).name("sound");
  graph.triStrips(3);
  graph.packedSegment(kExactSegment, kExactType, zlibOf(segmentOf(model)));
  graph.pack();
  return graph;
}

GraphBuilder facesOfOneEdge(int bends, int faces) {
  // To and fro along x, and back below.
  constexpr double kStep = 1.0 / 1024;
  const double end = kStep * bends;
  std::vector<double> points{0, 0, 0};
  for (int i = 0; i < bends; ++i) points.insert(points.end(), {kStep * i, i % 2 == 0 ? end : 0.25 * end, 0});
  points.insert(points.end(), {end, 0, 0, end, -end, 0, 0, -end, 0, 0, 0, 0});
  const int count = static_cast<int>(points.size() / 3);
  std::vector<double> knots;
  std::vector<int> times;
  for (int i = 0; i <= count - 3; ++i) {
    knots.push_back(i);
    times.push_back(i == 0 || i == count - 3 ? 4 : 1);
  }
  XtModel model;
  model.asSheet();
  const auto curve = model.splineCurve(3, 3, false, points, knots, times);
  const auto plane = model.plane({0, 0, 0}, {0, 0, 1}, {1, 0, 0});
  const int edge = model.edge(curve, -1, -1);
  for (int i = 0; i < faces; ++i) model.face(plane, false, {{{edge, true}}});
  model.finish();
  return exactPart(model);
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

}  // namespace loftbay::maker::pieces
