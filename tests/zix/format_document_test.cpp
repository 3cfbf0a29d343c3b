// The dumps in docs/zix-format.md are what the writer writes. To take over new ones, after a look at them:
// LOFTBAY_ACCEPT=1 zix_test --gtest_filter='FormatDocument.*'
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <cstdlib>

#include "tests/zix/annotated_dump.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/checksum.h"

namespace Orb::Zix {
namespace {

using loftbay::testing_support::addObject;
using loftbay::testing_support::AnnotatedDump;
using loftbay::testing_support::ScratchFolder;

std::filesystem::path documentPath() {
  const char* source = std::getenv("LOFTBAY_SOURCE_DIR");
  return std::filesystem::path(source != nullptr ? source : ".") / "docs" / "zix-format.md";
}

std::string readDocument() {
  std::ifstream file(documentPath(), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void compareWithDocument(const std::string& name, const std::string& file) {
  std::string document = readDocument();
  ASSERT_FALSE(document.empty()) << documentPath();
  const std::string begin = fmt::format("<!-- dump: {} -->\n", name);
  const auto start = document.find(begin);
  ASSERT_NE(start, std::string::npos);
  const auto from = start + begin.size();
  const auto end = document.find("<!-- end -->", from);
  ASSERT_NE(end, std::string::npos);
  const std::string expected = fmt::format("```text\n{}```\n", AnnotatedDump(file).text());
  if (std::getenv("LOFTBAY_ACCEPT") != nullptr) {
    document.replace(from, end - from, expected);
    std::ofstream(documentPath(), std::ios::binary) << document;
    return;
  }
  EXPECT_EQ(document.substr(from, end - from), expected);
}

TEST(FormatDocument, DumpOfARootNode) {
  const ScratchFolder folder;
  Scene_V1 scene("Model");
  const std::string path = folder.programPath("scene.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  scene.setName(scene.createObject(ObjectType::Node), "root");
  scene.closeFile(path.c_str());
  compareWithDocument("node", folder.read("scene.zix"));
}

TEST(FormatDocument, DumpOfATriangle) {
  const ScratchFolder folder;
  Scene_V1 scene("Model");
  const double one = 1.0;
  scene.setApplicationInfo<double>("Loftbay", one);
  const std::string path = folder.programPath("scene.zix");
  scene.saveTo(path.c_str(), " ", true, true);
  const auto root = addObject(scene, ObjectType::Node, "root");
  const auto part = addObject(scene, ObjectType::Node, "part");
  const auto moved = addObject(scene, ObjectType::Transform, "part_orb_2");
  scene.setTranslation(moved, 10, 0, 0);
  scene.setRotation(moved, 1, 0, 0, 0);
  scene.setScale(moved, 1, 1, 1);
  scene.addComponent(root, part, moved);
  const auto mesh = loftbay::testing_support::addShape(
      scene, part, "part_orb_3", {MeshType::Triangles, {0, 0, 0, 4, 0, 0, 0, 3, 0}, {2, 0, 1}, {3}});
  loftbay::testing_support::addMaterial(scene, mesh, 1.0F, 0.5F, 0.25F, 0.0F);
  scene.createDefaultViews(root);
  scene.closeFile(path.c_str());
  compareWithDocument("triangle", folder.read("scene.zix"));
}

TEST(FormatDocument, ChecksumExamplesAreRight) {
  EXPECT_EQ(checksum({}), 0xEF46DB3751D8E999U);
  const std::byte a{0x61};
  EXPECT_EQ(checksum({&a, 1}), 0xD24EC4F1A98C6E5BU);
}

}  // namespace
}  // namespace Orb::Zix
