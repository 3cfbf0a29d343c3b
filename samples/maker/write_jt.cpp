#include "samples/maker/write_jt.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>

#include "samples/maker/container.h"
#include "samples/maker/hash.h"
#include "samples/maker/measure.h"
#include "samples/maker/scene_graph.h"
#include "samples/maker/shape_lod.h"
#include "samples/maker/xt_brep.h"

namespace loftbay::maker {
namespace {

constexpr std::int32_t kIdsPerShape = 3;  // the element, its mesh and its vertex records

std::uint32_t seedOf(const std::string& text) {
  std::vector<std::uint32_t> letters(text.begin(), text.end());
  return hashWords(std::span<const std::uint32_t>(letters), 0x6c6f6674);
}

class FileSink : public Sink {
 public:
  explicit FileSink(const std::filesystem::path& path) : path_(path), stream_(path, std::ios::binary) {
    check();
  }
  void append(std::span<const std::uint8_t> bytes) override {
    stream_.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    check();
  }
  void overwrite(std::uint64_t at, std::span<const std::uint8_t> bytes) override {
    stream_.seekp(static_cast<std::streamoff>(at));
    append(bytes);
    stream_.seekp(0, std::ios::end);
  }
  void close() {
    stream_.close();
    check();
  }

 private:
  void check() {
    if (!stream_) throw std::runtime_error("cannot write " + path_.string());
  }
  std::filesystem::path path_;
  std::ofstream stream_;
};

// Shapes and exact geometry of one part into the container; with a null container they are only measured.
PartRecord writePartShapes(const Part& part, Container* container, const Options& options,
                           std::int32_t& next_id) {
  PartRecord record;
  for (std::size_t level = 0; level < part.lods.size(); ++level) {
    auto& shapes = record.lods.emplace_back();
    for (const auto& source : part.lods[level]) {
      Shape made;
      if (source.generate) made = source.generate();
      const Shape& shape = source.generate ? made : source.shape;
      ShapeRecord entry;
      entry.kind = shape.kind;
      entry.bindings = bindings(shape);
      entry.has_normals = !shape.normals.empty();
      entry.has_colors = !shape.colors.empty() || shape.colored_solids;
      entry.has_texture = !shape.texture_coordinates.empty();
      entry.figures = measure(shape);
      entry.material = shape.material;
      entry.object_id = next_id;
      entry.segment_type = options.plain_shape_segments
                               ? static_cast<std::uint32_t>(SegmentKind::Shape)
                               : static_cast<std::uint32_t>(SegmentKind::ShapeLod0) +
                                     static_cast<std::uint32_t>(std::min<std::size_t>(level, 9));
      if (container != nullptr) {
        entry.segment = container->add(entry.segment_type, shapeSegment(shape, options, next_id));
      }
      next_id += kIdsPerShape;
      if (level == 0) record.figures.add(entry.figures);
      shapes.push_back(entry);
    }
  }
  if (part.exact) {
    Figures box;
    box.include(part.exact->low);
    box.include(part.exact->high);
    record.figures.add(box);
    record.exact = GuidValue{};
    if (container != nullptr) {
      record.exact = container->add(static_cast<std::uint32_t>(SegmentKind::XtBrep),
                                    xtBrepSegment(part.exact->stream, options));
    }
  }
  return record;
}

void writeOne(const Product& product, const Options& options, const std::string& file_name,
              std::span<const std::string> external, Sink& sink) {
  Container container(sink, options, seedOf(file_name));
  std::int32_t next_id = 1;
  std::vector<PartRecord> records;
  for (const auto& part : product.parts) {
    records.push_back(writePartShapes(part, external.empty() ? &container : nullptr, options, next_id));
  }
  const Bytes graph = sceneGraph({product, options, file_name, records, external, next_id});
  container.finish(container.add(static_cast<std::uint32_t>(SegmentKind::SceneGraph), graph));
}

std::string fileStem(const std::string& name) {
  std::string stem;
  for (const char c : name) {
    stem += std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '.' ? c : '_';
  }
  return stem.empty() ? "part" : stem;
}

// Per part its file relative to the product's, in a folder named like the product; no name twice, whatever
// the case of its letters.
std::vector<std::string> externalNames(const Product& product) {
  std::vector<std::string> names;
  std::set<std::string> taken;
  for (const auto& part : product.parts) {
    std::string stem = fileStem(part.name);
    const auto lower = [&] {
      std::string text = stem;
      for (auto& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
      return text;
    };
    while (!taken.insert(lower()).second) stem += "_2";
    names.push_back(fileStem(product.name) + "/" + stem + ".jt");
  }
  return names;
}

// Writes every file of the product into the sink that `open` gives for its name.
void writeAll(const Product& product, const Options& wanted, const std::string& file_name,
              const std::function<void(const std::string&, const std::function<void(Sink&)>&)>& open) {
  const Options options = wanted.effective();
  std::vector<std::string> external;
  if (options.external_parts) external = externalNames(product);
  open(file_name, [&](Sink& sink) { writeOne(product, options, file_name, external, sink); });
  for (std::size_t i = 0; i < external.size(); ++i) {
    const Part& part = product.parts[i];
    const Product alone{part.name, {part}, {}, partRef(0)};
    const std::string name = external[i].substr(external[i].rfind('/') + 1);
    open(external[i], [&](Sink& sink) { writeOne(alone, options, name, {}, sink); });
  }
}

}  // namespace

std::vector<JtOutput> writeJt(const Product& product, const Options& options) {
  std::vector<JtOutput> outputs;
  writeAll(product, options, fileStem(product.name) + ".jt", [&](const std::string& name, const auto& write) {
    MemorySink sink;
    write(sink);
    outputs.push_back({name, std::move(sink.data)});
  });
  return outputs;
}

Bytes writeJtBytes(const Product& product, const Options& options, const std::string& file_name) {
  MemorySink sink;
  writeOne(product, options.effective(), file_name.empty() ? fileStem(product.name) + ".jt" : file_name, {},
           sink);
  return std::move(sink.data);
}

void writeJtFile(const Product& product, const Options& options, const std::filesystem::path& path) {
  const std::string own = path.filename().string();
  writeAll(product, options, own, [&](const std::string& name, const auto& write) {
    const auto target = name == own ? path : path.parent_path() / name;
    if (target.has_parent_path()) std::filesystem::create_directories(target.parent_path());
    FileSink sink(target);
    write(sink);
    sink.close();
  });
}

}  // namespace loftbay::maker
