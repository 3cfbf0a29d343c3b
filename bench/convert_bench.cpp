// A whole conversion, from a JT file to a closed scene, beside a plain copy of the file it reads.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <stdexcept>

#include "bench/models.h"
#include "convert/job.h"
#include "diag/program_seams.h"
#include "diag/work_directory.h"
#include "host/path.h"

namespace {

using loftbay::diag::Counted;

class Counter : public loftbay::diag::Observer {
 public:
  void counted(Counted kind, std::uint64_t amount) override {
    if (kind == Counted::Triangles) triangles += amount;
  }
  void lost(std::string_view, std::string_view reason) override {
    throw std::runtime_error(std::string(reason));
  }
  std::uint64_t triangles = 0;
};

void convert(benchmark::State& state, const std::string& model) {
  using namespace loftbay;
  diag::selectOwnWorkDirectory("Loftbay_Log.txt", host::toProgramPath(bench::temporaryPath("work")));
  Counter counter;
  diag::programSeams().observer = &counter;
  const std::string input = host::toProgramPath(model);
  const std::string output = host::toProgramPath(bench::temporaryPath("out.zix"));
  for (auto _ : state) {
    bool success = false;
    const convert::obJt2Zix job(input.c_str(), output.c_str(), &success, true);
    if (!success) throw std::runtime_error("the conversion failed");
  }
  static diag::Observer ignores_everything;
  diag::programSeams().observer = &ignores_everything;
  state.counters["triangles/s"] =
      benchmark::Counter(static_cast<double>(counter.triangles), benchmark::Counter::kIsRate);
  state.SetBytesProcessed(static_cast<std::int64_t>(std::filesystem::file_size(model)) * state.iterations());
}

void copyFile(benchmark::State& state, const std::string& model) {
  const std::string target = loftbay::bench::temporaryPath("copy.jt");
  for (auto _ : state) {
    std::filesystem::copy_file(model, target, std::filesystem::copy_options::overwrite_existing);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(std::filesystem::file_size(model)) * state.iterations());
}

std::string onePart() {
  return loftbay::bench::modelFile("one-part.jt", loftbay::bench::oneRing(2'000'000), {});
}
std::string manyParts() {
  return loftbay::bench::modelFile("many-parts.jt", loftbay::bench::manyRings(5'000, 400), {});
}
std::string largeModel() {
  return loftbay::bench::modelFile("large-model.jt", loftbay::bench::manyRings(100, 200'000), {});
}

void convertOnePart(benchmark::State& state) { convert(state, onePart()); }
void copyOnePart(benchmark::State& state) { copyFile(state, onePart()); }
void convertManyParts(benchmark::State& state) { convert(state, manyParts()); }
void copyManyParts(benchmark::State& state) { copyFile(state, manyParts()); }
void convertLargeModel(benchmark::State& state) { convert(state, largeModel()); }
void copyLargeModel(benchmark::State& state) { copyFile(state, largeModel()); }

BENCHMARK(copyOnePart)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(convertOnePart)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(copyManyParts)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(convertManyParts)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(copyLargeModel)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(convertLargeModel)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
