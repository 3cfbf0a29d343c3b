// Runs a job against the two doubles with a fixed clock, fixed memory numbers and recording seams.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "convert/job.h"
#include "diag/program_seams.h"
#include "tests/doubles/recording_scene.h"
#include "tests/doubles/scripted_toolkit.h"

namespace loftbay::doubles {

// An observer that records what it receives.
class RecordingObserver final : public diag::Observer {
 public:
  std::map<diag::Counted, std::uint64_t> counts;
  std::vector<std::string> losses;  // "part: reason"
  std::vector<std::string> notes;

  void counted(diag::Counted kind, std::uint64_t amount) override { counts[kind] += amount; }
  void lost(std::string_view part, std::string_view reason) override {
    losses.push_back(std::string(part) + ": " + std::string(reason));
  }
  void note(std::string_view text) override { notes.emplace_back(text); }
};

class JobTest : public testing::Test {
 protected:
  JobTest();
  ~JobTest() override;

  // Constructs the job, which converts, and destroys it. The scene's calls, destructor included, and the log
  // can be looked at afterwards.
  bool convert(bool optimize = true);

  // The log's lines without their time stamps (which are checked here).
  std::string log() const;
  // The lines of the log, or of the scene's calls, that contain `text`.
  std::string logLines(std::string_view text) const;
  std::string sceneLines(std::string_view text) const;

  // Compares the scene's calls, the toolkit's calls, the log and their common order with
  // tests/convert/golden/<name>.txt. With LOFTBAY_UPDATE_GOLDEN set, writes that file instead; review its
  // changes then.
  void expectGolden(const std::string& name) const;

  static std::uint64_t count(const std::vector<std::string>& lines, std::string_view text);

  Product product;
  std::string input_path = "C:\\models\\part.jt";
  std::string output_path = "C:\\out\\scene.zix";
  RecordingObserver observer;
  std::vector<std::string> boxes;  // "icon: text"
  std::ostringstream startup_failures;
  std::filesystem::path folder;

 private:
  diag::ProgramSeams saved_seams_;
};

// The lines of `text` that contain `wanted`.
std::string linesWith(std::string_view text, std::string_view wanted);

}  // namespace loftbay::doubles
