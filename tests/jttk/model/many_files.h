// A folder of JT files that refer to each other: files are written below "model", and main.jt is loaded.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host/path.h"
#include "samples/maker/pieces/graph_builder.h"
#include "samples/maker/pieces/write_file.h"
#include "tests/jttk/model/walk.h"

namespace jttk::testing {

class ManyFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("loftbay_files_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_ / "model");
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }

  void write(const std::string& name, const loftbay::maker::pieces::GraphBuilder& graph) const {
    const std::filesystem::path relative(std::u8string(name.begin(), name.end()));
    loftbay::maker::pieces::writeFile(folder_ / "model" / relative, graph.file());
  }
  // A file with one part of that name.
  void writePart(const std::string& name, const std::string& part) const {
    loftbay::maker::pieces::GraphBuilder graph;
    graph.partition(0, {1}).name(part);
    graph.part(1, {2});
    graph.triStrips(2);
    write(name, graph);
  }
  // main.jt refers to files in the order given.
  void writeMain(const std::vector<std::string>& references) const {
    loftbay::maker::pieces::GraphBuilder graph;
    loftbay::maker::pieces::Ids children;
    for (std::size_t i = 0; i < references.size(); ++i) children.push_back(static_cast<std::int32_t>(10 + i));
    graph.partition(0, {1}).name("main.asm;0;0:");
    graph.metaData(1, children);
    for (std::size_t i = 0; i < references.size(); ++i) {
      graph.partition(children[i], {}, references[i]).name("ref " + std::to_string(i));
    }
    write("main.jt", graph);
  }
  // A file that is no model: if it is taken, the part is lost.
  void writeBad(const std::string& name) const {
    std::filesystem::create_directories((folder_ / "model" / name).parent_path());
    std::ofstream(folder_ / "model" / name) << "this is no model";
  }
  std::vector<std::string> tree(const std::string& file = "model/main.jt") {
    JtkEntity* root = import(loftbay::host::toProgramPath((folder_ / file).string()));
    if (root == nullptr) return {"not loaded"};
    auto walked = walk(root);
    root->unref();
    shapes_ = walked.shapes.size();
    return walked.nodes;
  }
  // main.jt refers to these files: each is found, a part with one shape.
  void expectFound(const std::vector<std::string>& references) {
    writeMain(references);
    std::vector<std::string> expected = {"assembly main"};
    for (std::size_t i = 0; i < references.size(); ++i) expected.push_back("  part ref " + std::to_string(i));
    EXPECT_EQ(tree(), expected);
    EXPECT_EQ(shapes_, references.size());
    EXPECT_THAT(recorder_.losses, ::testing::IsEmpty());
  }

  std::filesystem::path folder_;
  std::size_t shapes_ = 0;
  Recorder recorder_;
  const ScopedSettings settings_;
};

}  // namespace jttk::testing
