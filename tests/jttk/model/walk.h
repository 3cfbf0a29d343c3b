// Walks a model through the public interface as the converter does, and records every occurrence of a shape.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "diag/program_seams.h"
#include "jttk/interface/jttk.h"
#include "jttk/model/settings.h"

namespace jttk::testing {

using Matrix16 = std::array<double, 16>;

struct PlacedShape {
  std::vector<std::string> path;  // names from the root; an instance's name replaces that of its target
  Matrix16 world{};               // row-major, row vectors
  bool has_color = false;
  std::array<float, 4> color{};  // diffuse
  int type = 0;
  std::size_t triangles = 0;
  std::size_t triangles_nd = 0;   // without those that have two corners at one position
  std::uint64_t checksum_nd = 0;  // order-independent, of the triangles' local positions
  std::size_t line_segments = 0;
  std::size_t points = 0;
};

struct Walked {
  std::vector<PlacedShape> shapes;
  // In the walk's order, indented by depth: "  assembly NAME", and "instance NAME", with its target in the
  // next line: "=part NAME". The depth is the instance's, the name the target's own, as nameOf() has it (in
  // `path` of a shape only the instance's name stands).
  std::vector<std::string> nodes;
  std::size_t parts = 0;
};

std::string nameOf(JtkHierarchy* node);
Walked walk(JtkEntity* root);

// Records what the toolkit reports; in force while it lives.
class Recorder final : public loftbay::diag::Observer {
 public:
  Recorder();
  ~Recorder() override;
  void opened(std::string_view path) override { files.emplace_back(path); }
  void unit(std::string_view name, double metres) override {
    units.push_back(std::string(name) + " " + std::to_string(metres));
  }
  void jtVersion(int major, int minor) override { version = {major, minor}; }
  void entered(std::span<const loftbay::diag::NodeProperty> properties) override;
  void lost(std::string_view part, std::string_view reason) override {
    losses.push_back(std::string(part) + ": " + std::string(reason));
  }
  void note(std::string_view text) override { notes.emplace_back(text); }

  std::vector<std::string> losses;
  std::vector<std::string> notes;
  std::vector<std::string> files;  // that were opened
  std::vector<std::string> units;  // "name metres"
  // What each node states that was entered, in the order of the walk: "key=value, key=value".
  std::vector<std::string> entered_nodes;
  std::pair<int, int> version;
  std::string messages() const { return messages_.str(); }

 private:
  std::ostringstream messages_;
  loftbay::diag::ProgramSeams before_;
};

// The toolkit's settings, which a test may change: when this ends, all are as they were.
class ScopedSettings {
 public:
  ScopedSettings() : before_(settings()) {}
  ~ScopedSettings() { settings() = before_; }
  ScopedSettings(const ScopedSettings&) = delete;
  ScopedSettings& operator=(const ScopedSettings&) = delete;
  Settings* operator->() const { return &settings(); }

 private:
  Settings before_;
};

// Loads a file through the importer; the result is held once. Null when it cannot be loaded.
JtkEntity* import(const std::string& program_path);

}  // namespace jttk::testing
