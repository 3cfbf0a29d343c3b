#include "tests/doubles/job_fixture.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "diag/memory_report.h"
#include "diag/tolerance.h"
#include "diag/trace_log.h"
#include "host/path.h"
#include "tests/doubles/array_ledger.h"

namespace loftbay::doubles {

namespace {

constexpr std::string_view kStamp = "[9:5:3, 16-11-2026] ";

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::string linesWith(std::string_view text, std::string_view wanted) {
  std::string result;
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size() - 1) + 1;
    const auto line = text.substr(0, end);
    if (line.find(wanted) != std::string_view::npos) result += line;
    text.remove_prefix(end);
  }
  return result;
}

JobTest::JobTest() : saved_seams_(diag::programSeams()) {
  static int number = 0;
  folder = std::filesystem::temp_directory_path() /
           ("loftbay_job_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)) + "_" +
            std::to_string(++number));
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  diag::openTraceLog(host::toProgramPath((folder / "log.txt").string()));
  // Every line asks for the time once.
  diag::setClock([] {
    callOrder() += 'L';
    return diag::LocalTime{9, 5, 3, 16, 11, 2026};
  });
  diag::setMemoryQuery([] { return host::MemoryCounters{5 * 1024 + 1023, 7 * 1024}; });
  auto& seams = diag::programSeams();
  seams.showMessageBox = [this](std::string_view text, diag::BoxIcon icon) {
    boxes.push_back((icon == diag::BoxIcon::None ? "None: " : "icon: ") + std::string(text));
  };
  seams.startup_failures = &startup_failures;
  seams.observer = &observer;
  convert::ignoreLines = true;
  convert::ignorePoints = true;
  diag::UlpTessTolerance = diag::kDefaultUlpTessTolerance;
  diag::UlpTessToleranceGiven = false;
  resetScene();
  resetToolkit();
}

JobTest::~JobTest() {
  diag::programSeams() = saved_seams_;
  diag::setClock({});
  diag::setMemoryQuery({});
  diag::openTraceLog({});
  resetToolkit();
  std::filesystem::remove_all(folder);
}

bool JobTest::convert(bool optimize) {
  bool success = false;
  { const convert::obJt2Zix job(input_path.c_str(), output_path.c_str(), &success, optimize); }
  // Whatever the tree was: nothing that the toolkit handed out stays behind.
  EXPECT_EQ(arrayCounts().released, arrayCounts().handed_out);
  EXPECT_EQ(toolkit().buffers_released, toolkit().buffers_handed_out);
  EXPECT_EQ(toolkit().objects_alive, 0);
  EXPECT_EQ(linesWith(toolkitCalls(), "not preset"), "");
  EXPECT_EQ(linesWith(toolkitCalls(), "more unref than ref"), "");
  EXPECT_EQ(linesWith(toolkitCalls(), "does not go on"), "");
  return success;
}

std::string JobTest::log() const {
  std::string result;
  std::ifstream file(folder / "log.txt");
  for (std::string line; std::getline(file, line);) {
    EXPECT_TRUE(line.starts_with(kStamp)) << line;
    result += line.substr(std::min(kStamp.size(), line.size())) + "\n";
  }
  return result;
}

std::string JobTest::logLines(std::string_view text) const { return linesWith(log(), text); }
std::string JobTest::sceneLines(std::string_view text) const { return linesWith(sceneCalls(), text); }

void JobTest::expectGolden(const std::string& name) const {
  const char* const source = std::getenv("LOFTBAY_SOURCE_DIR");
  const std::filesystem::path tests =
      source != nullptr ? std::filesystem::path(source) / "tests" : std::filesystem::path(LOFTBAY_TESTS_DIR);
  const auto path = tests / "convert" / "golden" / (name + ".txt");
  const std::string actual =
      "== scene ==\n" + sceneCalls() + "== toolkit ==\n" + toolkitCalls() + "== log ==\n" + log() +
      "== order of log lines (L), scene calls (S) and toolkit calls (T) ==\n" + callOrder() + "\n";
  if (std::getenv("LOFTBAY_UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path) << actual;
    return;
  }
  EXPECT_EQ(readFile(path), actual) << path;
}

std::uint64_t JobTest::count(const std::vector<std::string>& lines, std::string_view text) {
  std::uint64_t result = 0;
  for (const auto& line : lines) result += line.find(text) != std::string::npos ? 1U : 0U;
  return result;
}

}  // namespace loftbay::doubles
