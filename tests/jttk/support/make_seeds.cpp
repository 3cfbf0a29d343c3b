// Writes the seeds of the fuzz targets of container and shape codecs: make_seeds CORPUS_FOLDER.
#include <cstdio>
#include <filesystem>
#include <string>

#include "samples/maker/format.h"
#include "samples/maker/guids.h"
#include "samples/maker/pieces/container.h"
#include "samples/maker/pieces/shapes.h"
#include "samples/maker/pieces/write_file.h"

namespace {

namespace guids = loftbay::maker::guids;
namespace fs = std::filesystem;
using namespace loftbay::maker::pieces;
using loftbay::maker::Codec;

// The fuzz targets of packets, topology and shapes take one byte first: the form.
Bytes withForm(PacketForm form, const Bytes& bytes) {
  return ByteBuilder().u8(form == PacketForm::V10 ? 1 : 0).bytes(bytes).result();
}

std::string formName(PacketForm form) { return form == PacketForm::V10 ? "10" : "9"; }

void writePackets(const fs::path& folder, PacketForm form) {
  const auto save = [&](Codec codec, const Bytes& bytes) {
    writeFile(folder / (nameOf(codec) + formName(form)), withForm(form, bytes));
  };
  const Bytes plain = packetOf({5, -3, 100, 7, 7}, form);
  save(Codec::FixedBits, plain);
  save(Codec::Chopper, ByteBuilder().u32(5).u8(4).u8(8).u32(3).u8(16).bytes(plain).bytes(plain).result());
  save(Codec::MoveToFront,
       ByteBuilder().u32(3).u8(5).bytes(packetOf({4, 9}, form)).bytes(packetOf({-1, -1, 1}, form)).result());
  BitBuilder table;
  table.number(3, 16);
  if (form == PacketForm::V9) table.number(3, 6);
  table.number(2, 6).number(3, form == PacketForm::V9 ? 6 : 7).number(10, 32);
  const int symbol_width = form == PacketForm::V9 ? 3 : 1;
  table.number(form == PacketForm::V9 ? 2 : 0, symbol_width).number(2, 2).number(0, 3);
  table.number(form == PacketForm::V9 ? 3 : 0, symbol_width).number(1, 2).number(7, 3);
  table.number(form == PacketForm::V9 ? 0 : 1, symbol_width).number(1, 2).number(0, 3);
  BitBuilder text;
  text.bits("0 10 11 0 0000 0000 0000 0000 00");
  save(Codec::Arithmetic, ByteBuilder()
                              .u32(4)
                              .u8(3)
                              .bytes(text.asCodeText())
                              .bytes(table.asBytes())
                              .bytes(packetOf({77}, form))
                              .result());
}

void writeShapes(const fs::path& root, PacketForm form) {
  const std::string name = formName(form);
  const fs::path topology = root / "topology_fuzz";
  writeFile(topology / ("tetrahedron" + name), withForm(form, topologyBytes(tetrahedronSymbols(7), form)));
  writeFile(topology / ("cube" + name), withForm(form, topologyBytes(cubeSymbols(1), form)));
  writeFile(topology / ("triangle" + name), withForm(form, topologyBytes(triangleSymbols(), form)));
  writeFile(topology / ("bow_tie" + name), withForm(form, topologyBytes(bowTieSymbols(), form)));
  const fs::path shapes = root / "shape_lod_fuzz";
  ShapeOptions options;
  options.form = form;
  const auto save = [&](const char* shape, const loftbay::maker::GuidValue& kind, const Bytes& rep) {
    writeFile(shapes / (shape + name), withForm(form, shapeElement(kind, form, rep)));
  };
  save("lossless", guids::kTriStripLod, topologicalRepData(tetrahedronSymbols(7), 4, 12, options));
  options.quantized = true;
  options.bindings = 0x15a;
  save("lossy", guids::kTriStripLod, topologicalRepData(bowTieSymbols(), 5, 5, options));
  save("lines", guids::kPolylineLod, polylineRepData(form));
}

void writeContainers(const fs::path& folder) {
  const Bytes packed = zlibOf(ByteBuilder().text("scene graph scene graph").result());
  const Bytes graph =
      ByteBuilder().u32(2).u32(static_cast<std::uint32_t>(packed.size()) + 1).u8(2).bytes(packed).result();
  const Bytes stored = ByteBuilder().u32(0).u32(5).u8(1).text("abcd").result();
  const loftbay::maker::GuidValue other{7, 7, 7, {}};
  for (const char* version : {"8.1", "9.5", "10.0"}) {
    writeFile(folder / version, container(version, {{kSegmentId, 1, graph}, {other, 4, stored}}));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: make_seeds CORPUS_FOLDER\n", stderr);
    return 2;
  }
  const fs::path root = argv[1];
  for (const PacketForm form : {PacketForm::V9, PacketForm::V10}) {
    writePackets(root / "packet_v9_fuzz", form);
    writeShapes(root, form);
  }
  writeContainers(root / "container_fuzz");
  return 0;
}
