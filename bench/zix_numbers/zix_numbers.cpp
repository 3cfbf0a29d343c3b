// What the scene library promises in numbers, each measured beside its yardstick in the same run:
//
//   zix_numbers            measures, prints figure and limit of each, ends with 1 when one is not kept
//   zix_numbers --quick    small sizes and no verdict: shows only that the measuring works
//
// Writing arrays is compared with plain 1 MiB writes of the same bytes, both ended by a flush to the device;
// opening a scene with reading its index bytes into memory and checking their checksum; memory while writing
// with a formula. Drawing has no yardstick: its time is printed, and judged by whoever reads it.
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

#include "host/file.h"
#include "host/path.h"
#include "host/process.h"
#include "zix/checksum.h"
#include "zix/output_file_system.h"
#include "zix/png.h"
#include "zix/reader.h"
#include "zix/render.h"
#include "zix/zix.h"

namespace {

using namespace Orb::Zix;
namespace host = loftbay::host;

bool quick = false;
bool all_kept = true;

std::filesystem::path scratchFolder() {
  static const std::filesystem::path folder = [] {
    auto path = std::filesystem::temp_directory_path() / fmt::format("zix-numbers-{}", getpid());
    std::filesystem::create_directories(path);
    return path;
  }();
  return folder;
}

std::string scratchPath(const char* name) { return host::toProgramPath((scratchFolder() / name).string()); }

void report(const std::string& what, const std::string& figure, const std::string& limit, bool kept) {
  all_kept = all_kept && kept;
  fmt::print("{:<66} {:>22}   {:<24} {}\n", what, figure, limit, quick ? "-" : kept ? "kept" : "NOT KEPT");
  std::fflush(stdout);
}

double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Of this thread's own work, so that what else the machine does is not counted. For what waits for nothing.
double processorSecondsOf(const std::function<void()>& work) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
  };
  const double start = now();
  work();
  return now() - start;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// --- memory -----------------------------------------------------------------------------------------------

// What a case makes: objects, and the bytes of their names.
struct Made {
  std::uint64_t objects = 0;
  std::uint64_t name_bytes = 0;
};

struct Measured {
  Made made;
  std::uint64_t grown_bytes = 0;
};

// By how many bytes the peak of a process that does `work` lies above where it started. The process is one of
// its own, and this one never does any of the work: else memory that was freed before would be used again and
// not be seen.
Measured memoryOf(const std::function<Made()>& work) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("pipe");
  const pid_t child = fork();
  if (child == 0) {
    Measured measured;
    const auto before = host::processMemory();
    measured.made = work();
    const auto after = host::processMemory();
    measured.grown_bytes = after->peak_working_set_bytes - before->working_set_bytes;
    _exit(write(ends[1], &measured, sizeof(measured)) == sizeof(measured) ? 0 : 1);
  }
  close(ends[1]);
  Measured measured;
  const bool told = read(ends[0], &measured, sizeof(measured)) == sizeof(measured);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!told || status != 0) throw std::runtime_error("the measured process failed");
  return measured;
}

class CountingScene {
 public:
  CountingScene() { scene_.saveTo(path_.c_str(), " ", true, true); }

  ObjectId make(ObjectType type, const std::string& name) {
    const ObjectId id = scene_.createObject(type);
    scene_.setName(id, name.c_str());
    ++made.objects;
    made.name_bytes += name.size();
    return id;
  }
  Scene_V1& operator*() { return scene_; }
  void finish(const ObjectId& root) {
    scene_.createDefaultViews(root);
    scene_.closeFile(path_.c_str());
  }

  Made made;

 private:
  std::string path_ = scratchPath("memory.zix");
  Scene_V1 scene_{"Model"};
};

const std::vector<float> kPoint = {1, 2, 3};
const unsigned int kIndex = 0;

// Per part what the converter makes of one: eight objects.
Made writeParts(std::uint64_t objects) {
  CountingScene scene;
  const auto root = scene.make(ObjectType::Node, "root");
  for (std::uint64_t i = 0; i < objects / 8; ++i) {
    const std::string name = "part number " + std::to_string(i);
    const auto node = scene.make(ObjectType::Node, name);
    (*scene).addComponent(root, node, scene.make(ObjectType::Transform, name + "_orb_2"));
    const auto shape = scene.make(ObjectType::Shape, name + "_orb_3");
    (*scene).addComponent(node, shape);
    const auto mesh = scene.make(ObjectType::Mesh, "mesh");
    (*scene).addComponent(shape, mesh);
    const auto coordinates = scene.make(ObjectType::Coordinates, "");
    (*scene).setValues<float>(coordinates, kPoint.data(), 1);
    (*scene).setCoordinates(mesh, coordinates);
    const auto indices = scene.make(ObjectType::IndexArray, "");
    (*scene).setValues<unsigned int>(indices, &kIndex, 1);
    const auto lengths = scene.make(ObjectType::IndexArray, "");
    (*scene).setValues<unsigned int>(lengths, &kIndex, 1);
    (*scene).setConnectivity(mesh, indices, lengths);
    (*scene).setMaterial(mesh, scene.make(ObjectType::Material, "Material"));
  }
  scene.finish(root);
  return scene.made;
}

// The objects that the scene knows most about.
Made writeCoordinates(std::uint64_t objects) {
  CountingScene scene;
  const auto root = scene.make(ObjectType::Node, "root");
  for (std::uint64_t i = 1; i < objects; ++i) {
    const auto id = scene.make(ObjectType::Coordinates, "some longer name of its own " + std::to_string(i));
    (*scene).setValues<float>(id, kPoint.data(), 1);
  }
  scene.finish(root);
  return scene.made;
}

Made writeNodes(std::uint64_t objects) {
  CountingScene scene;
  const auto root = scene.make(ObjectType::Node, "root");
  for (std::uint64_t i = 1; i < objects; ++i) (*scene).addComponent(root, scene.make(ObjectType::Node, ""));
  scene.finish(root);
  return scene.made;
}

Made writeBigArrays(const std::vector<float>& values) {
  CountingScene scene;
  const auto root = scene.make(ObjectType::Node, "root");
  for (int i = 0; i < 4; ++i) {
    (*scene).setValues<float>(scene.make(ObjectType::Coordinates, ""), values.data(), values.size() / 3);
  }
  scene.finish(root);
  return scene.made;
}

void measureMemory() {
  constexpr std::uint64_t kBase = std::uint64_t{64} << 20;
  const std::uint64_t objects = quick ? 10'000 : 1'000'000;
  const std::vector<float> big(quick ? 30'000 : 48'000'000, 1.0F);
  const auto measure = [&](const std::string& what, const std::function<Made()>& write) {
    const auto [made, grown] = memoryOf(write);
    const std::uint64_t limit = kBase + 200 * made.objects + made.name_bytes;
    report(fmt::format("memory, {} objects: {}", made.objects, what),
           fmt::format("{:.1f} MB", static_cast<double>(grown) / 1e6),
           fmt::format("< {:.1f} MB", static_cast<double>(limit) / 1e6), grown < limit);
  };
  measure("parts as the converter makes them", [&] { return writeParts(objects); });
  measure("coordinates with long names", [&] { return writeCoordinates(objects); });
  measure("nodes without names", [&] { return writeNodes(objects); });
  measure(fmt::format("4 arrays of {} MB", big.size() * 4 / 1'000'000), [&] { return writeBigArrays(big); });
}

// --- writing ----------------------------------------------------------------------------------------------

void measureWriting() {
  const std::size_t arrays = quick ? 2 : 96;
  std::vector<float> values(quick ? 3'000 : 786'432);  // 3 MB
  std::iota(values.begin(), values.end(), 0.0F);
  const auto bytes = std::as_bytes(std::span(values));
  const auto plain = [&] {
    const std::string path = scratchPath("plain.bin");
    std::intptr_t file = 0;
    if (system::createExclusive(path, &file) != 0) throw std::runtime_error("cannot create " + path);
    int error = 0;
    // Blocks of 1 MiB of the whole run of bytes; the arrays' size is a multiple of it.
    for (std::size_t i = 0; i < arrays; ++i) {
      for (auto rest = bytes; !rest.empty();) {
        const auto block = rest.first(std::min(rest.size(), std::size_t{1} << 20));
        error |= system::write(file, block);
        rest = rest.subspan(block.size());
      }
    }
    error |= system::flush(file);
    error |= system::close(file);
    if (error != 0) throw std::runtime_error("cannot write " + path);
  };
  const auto scene = [&] {
    const std::string path = scratchPath("arrays.zix");
    Scene_V1 writer("Model");
    writer.saveTo(path.c_str(), " ", true, true);
    for (std::size_t i = 0; i < arrays; ++i) {
      writer.setValues<float>(writer.createObject(ObjectType::Coordinates), values.data(), values.size() / 3);
    }
    writer.closeFile(path.c_str());
  };
  std::vector<double> plain_times;
  std::vector<double> scene_times;
  const auto measure = [](const std::function<void()>& write, std::vector<double>& times) {
    // An old file would cost its removal, and hold its pages in memory until the new one is complete.
    system::remove(scratchPath("plain.bin"));
    system::remove(scratchPath("arrays.zix"));
    times.push_back(secondsOf(write));
  };
  // A disk that others use is quick in one second and slow in the next. So each round gives a ratio of its
  // own, and none of both is always the first. Free of such chance is the ratio on a file system in memory
  // (TMPDIR=/dev/shm), where the device takes no time: the lowest there can be.
  std::vector<double> ratios;
  for (int round = 0; round < (quick ? 1 : 11); ++round) {
    if (round % 2 == 0) measure(plain, plain_times);
    measure(scene, scene_times);
    if (round % 2 != 0) measure(plain, plain_times);
    ratios.push_back(plain_times.back() / scene_times.back());
  }
  const double megabytes = static_cast<double>(arrays * bytes.size()) / 1e6;
  const double ratio = median(ratios);
  fmt::print("  plain writes {:.0f} MB/s, scene {:.0f} MB/s (medians of {} rounds of {:.0f} MB)\n",
             megabytes / median(plain_times), megabytes / median(scene_times), plain_times.size(), megabytes);
  report("rate of writing arrays, of plain 1 MiB writes", fmt::format("{:.0f} %", 100 * ratio), ">= 70 %",
         ratio >= 0.7);
}

// --- opening ----------------------------------------------------------------------------------------------

void measureOpening() {
  const std::uint64_t objects = quick ? 800 : 100'000;
  writeParts(objects);
  const std::string path = scratchPath("memory.zix");
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  {
    const auto scene = SceneFile::open(path);
    if (!scene) throw std::runtime_error(scene.error().text());
    end = scene->bytes().size();
    for (std::size_t i = 0; i < scene->chunks().size() && start == 0; ++i) {
      if (scene->chunks()[i].type == format::kSceneChunk) start = scene->chunks()[i].offset;
    }
  }
  // The same memory every time: only reading and checking is the yardstick.
  std::vector<std::byte> buffer(end - start);
  const auto read = [&] {
    const auto file = host::openFile(path, "rb");
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    if (std::fseek(file.get(), static_cast<long>(start), SEEK_SET) != 0 ||
        std::fread(buffer.data(), 1, buffer.size(), file.get()) != buffer.size() || checksum(buffer) == 0) {
      throw std::runtime_error("cannot read " + path);
    }
  };
  const auto open = [&] {
    if (!SceneFile::open(path)) throw std::runtime_error("cannot open " + path);
  };
  std::vector<double> read_times;
  std::vector<double> open_times;
  for (int round = 0; round < (quick ? 2 : 101); ++round) {
    read_times.push_back(processorSecondsOf(read));
    open_times.push_back(processorSecondsOf(open));
  }
  const double ratio = median(open_times) / median(read_times);
  fmt::print("  reading and checking {:.2f} MB {:.2f} ms, opening {:.2f} ms (medians of {} rounds)\n",
             static_cast<double>(buffer.size()) / 1e6, 1e3 * median(read_times), 1e3 * median(open_times),
             open_times.size());
  report(fmt::format("time of opening {} objects, of reading and checking their bytes", objects),
         fmt::format("{:.2f} times", ratio), "< 3 times", ratio < 3);
}

// --- drawing ----------------------------------------------------------------------------------------------

// A closed ring with waves, of about `triangles` triangles.
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

}  // namespace

int main(int count, char** arguments) {
  quick = count > 1 && std::strcmp(arguments[1], "--quick") == 0;
  int code = 0;
  try {
    measureMemory();
    measureWriting();
    measureOpening();
    measureDrawing();
    code = quick || all_kept ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zix_numbers: %s\n", error.what());
    code = 1;
  }
  std::error_code ignored;
  std::filesystem::remove_all(scratchFolder(), ignored);
  return code;
}
