// The zix program as a process: exact output and exit codes.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>

#include "host/shown_text.h"
#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace loftbay {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using testing_support::ProgramResult;
using testing_support::SampleMesh;
using testing_support::ScratchFolder;

class ZixTool : public ::testing::Test {
 protected:
  void SetUp() override { testing_support::writeSampleScene(folder_.programPath("a.zix")); }

  ProgramResult zix(const std::vector<std::string>& arguments) {
    return testing_support::runProgram(folder_, "zix", arguments);
  }
  [[nodiscard]] std::string path(const std::string& name) const { return folder_.hostPath(name); }

  // A scene of one shape "shape" under the root.
  void writeScene(const std::string& name, const SampleMesh& mesh, const std::string& shape = "shape") {
    testing_support::writeScene(folder_.programPath(name), [&](auto& scene, const auto& root) {
      testing_support::addShape(scene, root, shape, mesh);
    });
  }

  ScratchFolder folder_;
};

TEST_F(ZixTool, TreeIsExactlyThis) {
  const ProgramResult result = zix({"tree", path("a.zix")});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "Node \"root\"\n"
            "  Node \"plate\" placed\n"
            "    Shape \"square\"\n"
            "      Mesh \"mesh\": 2 triangles, 4 points in its array\n"
            "    Shape \"path\"\n"
            "      Mesh \"mesh\": 1 lines, 3 points in its array\n"
            "  Node \"mirror\" placed\n"
            "    Shape \"square_orb_2\"\n"
            "      Mesh \"mesh\": 2 triangles, 4 points in its array\n"
            "    Shape \"dots\"\n"
            "      Mesh \"mesh\": 2 points, 2 points in its array\n");
}

TEST_F(ZixTool, InfoIsExactlyThis) {
  const ProgramResult result = zix({"info", path("a.zix")});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(
      result.out,
      "format version     1.0\n"
      "application        Loftbay 2.2\n"
      "application value  1\n"
      "model              Model\n"
      "root               root\n"
      "objects            3 Node, 4 Shape, 4 Mesh, 2 Transform, 2 Material, 4 Coordinates, 8 IndexArray\n"
      "totals             4 triangles, 1 lines, 2 points\n"
      "bounds             (-4, -5, -6) to (10, 22, 30)\n"
      "views              front, back, left, right, top, bottom, iso\n"
      "unit               (not stated)\n"
      "meshes             4\n"
      "  \"square\": 2 triangles, 4 points in its array, bounds (0, 0, 0) to (1, 1, 0)\n"
      "  \"path\": 1 lines, 3 points in its array, bounds (0, 0, 0) to (1, 1, 0)\n"
      "  \"square_orb_2\": 2 triangles, 4 points in its array, bounds (0, 0, 0) to (4, 4, 0)\n"
      "  \"dots\": 2 points, 2 points in its array, bounds (1, 2, 3) to (4, 5, 6)\n");
}

TEST_F(ZixTool, InfoJsonHasTheAgreedFields) {
  const ProgramResult result = zix({"info", "--json", path("a.zix")});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err, "");
  const auto json = nlohmann::ordered_json::parse(result.out);
  std::vector<std::string> keys;
  for (const auto& [key, value] : json.items()) keys.push_back(key);
  EXPECT_THAT(keys, ElementsAre("format_version", "application", "application_value", "model", "root",
                                "objects", "totals", "bbox", "views", "unit", "properties", "meshes"));
  EXPECT_EQ(json["objects"]["Node"], 3);
  EXPECT_EQ(json["totals"].dump(), R"({"triangles":4,"lines":1,"points":2})");
  EXPECT_EQ(json["views"].size(), 7U);
  EXPECT_TRUE(json["unit"].is_null());
  EXPECT_EQ(json["properties"].dump(), "{}");
  EXPECT_EQ(json["views"][6]["name"], "iso");
  EXPECT_EQ(
      json["meshes"][0].dump(),
      R"({"shape":"square","path":["root","plate"],"type":"triangles","points":4,"elements":2,"indices":6,)"
      R"("bbox":[0,0,0,1,1,0],"material":{"diffuse":[0.75,0.5,0.25,0],"specular":[0.25,0.5,0.75,1],)"
      R"("emission":[0,0.125,0,1],"ambient":[0.375,0.25,0.125,1],"ambient_intensity":128}})");
  EXPECT_EQ(json["meshes"][1]["material"], nullptr);
}

TEST_F(ZixTool, InfoJsonShowsNumbersThatJsonDoesNotKnow) {
  Orb::Zix::Scene_V1 scene("Model");
  const std::string program_path = folder_.programPath("odd.zix");
  const double infinity = -std::numeric_limits<double>::infinity();
  scene.setApplicationInfo<double>("app", infinity);
  scene.saveTo(program_path.c_str(), " ", true, true);
  const auto root = scene.createObject(Orb::Zix::ObjectType::Node);
  scene.setName(root, "r\xFFoot\n");
  const auto mesh = testing_support::addShape(scene, root, "shape", {});
  testing_support::addMaterial(scene, mesh, std::numeric_limits<float>::quiet_NaN(), 0,
                               std::numeric_limits<float>::infinity(), 0);
  scene.createDefaultViews(root);
  scene.closeFile(program_path.c_str());
  const auto json = nlohmann::json::parse(zix({"info", path("odd.zix"), "--json"}).out);
  EXPECT_EQ(json["application_value"], "-inf");
  EXPECT_EQ(json["root"], "r\xEF\xBF\xBDoot\n");
  EXPECT_EQ(json["bbox"], nullptr);
  EXPECT_EQ(json["meshes"][0]["bbox"], nullptr);
  EXPECT_EQ(json["meshes"][0]["material"]["diffuse"].dump(), R"(["nan",0,"inf",0])");
  EXPECT_THAT(zix({"tree", path("odd.zix")}).out, StartsWith("Node \"r\xEF\xBF\xBDoot\\x0A\"\n"));
}

TEST_F(ZixTool, NamesOfAnyBytesAreShownOnOneLineOfValidUtf8) {
  std::string all_bytes;
  for (int c = 1; c < 256; ++c) all_bytes += static_cast<char>(c);
  writeScene("odd.zix", testing_support::square(1), all_bytes);
  EXPECT_THAT(zix({"validate", path("odd.zix")}).out, HasSubstr("warning NAME_NOT_UTF8"));
  const std::string tree = zix({"tree", path("odd.zix")}).out;
  EXPECT_TRUE(loftbay::host::isValidUtf8(tree));
  EXPECT_EQ(std::count(tree.begin(), tree.end(), '\n'), 3);
  EXPECT_THAT(tree, HasSubstr("\\x09\\x0A\\x0B"));
  EXPECT_TRUE(loftbay::host::isValidUtf8(zix({"info", path("odd.zix")}).out));
  // The parser refuses what is no UTF-8.
  const auto json = nlohmann::json::parse(zix({"info", "--json", path("odd.zix")}).out);
  const std::string shape = json["meshes"][0]["shape"];
  EXPECT_EQ(shape.substr(0, 0x7F), all_bytes.substr(0, 0x7F));
  EXPECT_EQ(shape.size(), 0x7F + 128 * 3U) << "one U+FFFD for each byte from 0x80 on";
  writeScene("b.zix", testing_support::square(1), "plain");
  EXPECT_TRUE(loftbay::host::isValidUtf8(zix({"diff", path("odd.zix"), path("b.zix")}).out));
  EXPECT_EQ(zix({"export", path("odd.zix"), path("odd.glb")}).code, 0);
  const std::string glb = folder_.read("odd.glb");
  std::uint32_t json_size = 0;
  std::memcpy(&json_size, glb.data() + 12, 4);
  EXPECT_EQ(nlohmann::json::parse(glb.substr(20, json_size))["nodes"][1]["name"], shape);
  EXPECT_EQ(zix({"export", path("odd.zix"), path("odd.obj")}).code, 0);
  const std::string obj = folder_.read("odd.obj");
  EXPECT_TRUE(loftbay::host::isValidUtf8(obj));
  EXPECT_EQ(std::count(obj.begin(), obj.end(), '\n'), 8) << "comment, name, four points, two triangles";
}

TEST_F(ZixTool, ValidateSaysWhatIsDamaged) {
  EXPECT_EQ(zix({"validate", path("a.zix")}).out, path("a.zix") + ": valid, 0 errors, 0 warnings\n");
  std::string bytes = folder_.read("a.zix");
  bytes[64] = static_cast<char>(bytes[64] ^ 1);
  folder_.write("b.zix", bytes);
  const ProgramResult result = zix({"validate", path("b.zix")});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.out,
            "error CHUNK_CHECKSUM at offset 64: chunk 0 (F32A) is damaged: its checksum differs\n" +
                path("b.zix") + ": damaged, 1 errors, 0 warnings\n");
}

TEST_F(ZixTool, ValidateOnlyWarnsOfLengthsThatDoNotAddUp) {
  writeScene("b.zix", {Orb::Zix::MeshType::Triangles, {0, 0, 0, 1, 0, 0, 0, 1, 0}, {2, 0, 1}, {3, 3}});
  const ProgramResult result = zix({"validate", path("b.zix")});
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(result.out, HasSubstr("warning LENGTHS_SUM"));
  EXPECT_THAT(result.out, HasSubstr(": valid, 0 errors, 1 warnings\n"));
  EXPECT_THAT(zix({"info", path("b.zix")}).out, HasSubstr("totals             1 triangles"));
}

TEST_F(ZixTool, ValidateNamesThePlaceOfTheFirstElementThatIsNoTriangle) {
  writeScene("b.zix", {Orb::Zix::MeshType::Triangles, {0, 0, 0, 1, 0, 0, 0, 1, 0}, {2, 0, 1, 0}, {3, 1}});
  // The points are at offset 64, the indices at 128, the lengths at 192, and the second of them 4 bytes
  // later.
  EXPECT_THAT(zix({"validate", path("b.zix")}).out, StartsWith("warning ELEMENT_LENGTH at offset 196: "));
}

TEST_F(ZixTool, TreeAndInfoCountWholeElementsOnly) {
  writeScene("b.zix", {Orb::Zix::MeshType::Triangles, {0, 0, 0, 1, 0, 0, 0, 1, 0}, {2, 0, 1, 0}, {3, 1}});
  EXPECT_THAT(zix({"tree", path("b.zix")}).out, HasSubstr("\"mesh\": 1 triangles, "));
  EXPECT_THAT(zix({"info", path("b.zix")}).out, HasSubstr("\"shape\": 1 triangles, "));
}

TEST_F(ZixTool, MissingAndForeignFilesFailWithPathAndReason) {
  for (const char* command : {"info", "tree"}) {
    const ProgramResult result = zix({command, path("missing.zix")});
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, StartsWith("zix: " + path("missing.zix") + ": cannot be opened: "));
  }
  folder_.write("text.zix", "Dear reader, this is no scene.");
  const ProgramResult result = zix({"info", "--json", path("text.zix")});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(nlohmann::json::parse(result.out)["error"]["code"], "NOT_ZIX");
  EXPECT_EQ(zix({"validate", path("missing.zix")}).code, 1);
}

// --- STL --------------------------------------------------------------------------------------------------

struct Stl {
  std::uint32_t count;
  std::vector<float> floats;  // 12 per triangle
};

Stl readStl(const std::string& bytes) {
  Stl stl{};
  if (bytes.size() < 84) {
    ADD_FAILURE() << "shorter than its header";
    return stl;
  }
  std::memcpy(&stl.count, bytes.data() + 80, 4);
  EXPECT_EQ(bytes.size(), 84 + 50 * std::size_t{stl.count});
  stl.floats.resize(12 * std::size_t{stl.count});
  for (std::size_t i = 0; i < stl.count; ++i)
    std::memcpy(&stl.floats[12 * i], bytes.data() + 84 + 50 * i, 48);
  return stl;
}

TEST_F(ZixTool, StlHoldsWorldTrianglesAndTurnsMirroredOnes) {
  const ProgramResult result = zix({"export", path("a.zix"), path("a.stl")});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out + result.err, "");
  const std::string bytes = folder_.read("a.stl");
  EXPECT_NE(bytes.substr(0, 5), "solid") << "readers take that for the text form";
  const Stl stl = readStl(bytes);
  ASSERT_EQ(stl.count, 4U);
  // The first triangle of the turned plate: (2, 0, 1) = (0,1,0), (0,0,0), (1,0,0), scaled by 2, turned,
  // moved.
  EXPECT_THAT(
      std::vector<float>(stl.floats.begin(), stl.floats.begin() + 12),
      ::testing::Pointwise(::testing::FloatNear(1e-5F), {0, 0, 1, 8, 20, 30, 10, 20, 30, 10, 22, 30}));
  // The first one of the mirrored square: corners (2, 1, 0) of the same, all negated; still seen from +z.
  EXPECT_THAT(std::vector<float>(stl.floats.begin() + 24, stl.floats.begin() + 36),
              ::testing::Pointwise(::testing::FloatNear(1e-5F), {0, 0, -1, 0, -4, 0, -4, 0, 0, 0, 0, 0}));
}

TEST_F(ZixTool, ExportsLeaveOutWhatIsNotWholeOrNotFinite) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  // Triangles: good, with NaN, with an index out of range, and one that has no indices left.
  writeScene("odd.zix", {Orb::Zix::MeshType::Triangles,
                         {0, 0, 0, 1, 0, 0, 0, 1, 0, nan, 0, 0},
                         {2, 0, 1, 3, 2, 1, 4, 2, 1},
                         {3, 3, 3, 3}});
  const ProgramResult result = zix({"export", path("odd.zix"), path("odd.stl")});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.err,
            "zix: " + path("odd.zix") + ": left out 3 elements that are not whole or not finite\n");
  EXPECT_EQ(readStl(folder_.read("odd.stl")).count, 1U);
  EXPECT_EQ(zix({"export", path("odd.zix"), path("odd.OBJ")}).code, 0);
  EXPECT_EQ(folder_.read("odd.OBJ"),
            "# A Zix scene; lengths in the scene's own unit, usually mm\n"
            "o shape\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 0\nf 3 1 2\n");
}

TEST_F(ZixTool, ObjHoldsTrianglesLinesAndPoints) {
  EXPECT_EQ(zix({"export", path("a.zix"), path("a.obj")}).code, 0);
  const std::string text = folder_.read("a.obj");
  EXPECT_THAT(text, HasSubstr("o square\nv 10 20 30\nv 10 22 30\nv 8 20 30\nv 8 22 30\nf 3 1 2\nf 4 3 2\n"));
  EXPECT_THAT(text, HasSubstr("\nl 5 6 7\n"));
  EXPECT_THAT(text, HasSubstr("\nf 10 9 8\nf 11 9 10\n")) << "mirrored: two corners swapped";
  EXPECT_THAT(text, HasSubstr("\np 12\np 13\n"));
}

TEST_F(ZixTool, FailedExportLeavesTheOldFile) {
  folder_.write("a.stl", "old");
  folder_.write("broken.zix", folder_.read("a.zix").substr(0, 1000));
  EXPECT_EQ(zix({"export", path("broken.zix"), path("a.stl")}).code, 1);
  EXPECT_EQ(folder_.read("a.stl"), "old");
  EXPECT_THAT(folder_.names(), ElementsAre("a.stl", "a.zix", "broken.zix"));
}

TEST_F(ZixTool, ExportOntoItsOwnInputIsRefused) {
  std::filesystem::copy(folder_.path() / "a.zix", folder_.path() / "a.stl");
  const ProgramResult result = zix({"export", path("a.stl"), path("a.stl")});
  EXPECT_EQ(result.code, 2);
  EXPECT_THAT(result.err, HasSubstr("input and output are the same file"));
}

// --- command line -----------------------------------------------------------------------------------------

TEST_F(ZixTool, HelpAndVersionGoToStandardOutput) {
  EXPECT_THAT(zix({"--version"}).out,
              ::testing::AllOf(StartsWith("zix "), HasSubstr(" (Zix format 1."), ::testing::EndsWith(")\n")));
  for (const std::vector<std::string>& call :
       {std::vector<std::string>{"--help"}, {"info", "--help"}, {"export", "--help"}}) {
    const ProgramResult result = zix(call);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, HasSubstr("Exit codes: 0 done"));
  }
}

struct UsageCase {
  std::vector<std::string> arguments;
  std::string message;
};

TEST_F(ZixTool, WrongUsageIsCodeTwoAndNamesTheMistake) {
  const UsageCase cases[] = {
      {{"inof", "x"}, "zix: unknown command 'inof'; did you mean 'info'?\n"},
      {{"--versoin"}, "zix: unknown option '--versoin'; did you mean '--version'?\n"},
      {{"info", "--jsn", "x"}, "zix: unknown option '--jsn'; did you mean '--json'?\n"},
      {{"info", "--zzzzzzzzzzz", "x"}, "zix: unknown option '--zzzzzzzzzzz'\n"},
      {{"info", "--json=yes", "x"}, "zix: option '--json' takes no value\n"},
      {{"info"}, "zix: a file name is missing: zix info F [--json]\n"},
      {{"tree", "a", "b"}, "zix: there are too many file names: zix tree F [--json] [--properties]\n"},
  };
  for (const UsageCase& one : cases) {
    const ProgramResult result = zix(one.arguments);
    EXPECT_EQ(result.code, 2) << one.message;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, one.message + "zix: 'zix --help' shows how it is used\n");
  }
  const ProgramResult nothing = zix({});
  EXPECT_EQ(nothing.code, 2);
  EXPECT_EQ(nothing.out, "");
  EXPECT_THAT(nothing.err, StartsWith("Usage:\n"));
  EXPECT_EQ(zix({"export", path("a.zix"), path("a.step")}).code, 2);
}

TEST_F(ZixTool, TwoDashesEndTheOptions) {
  const ProgramResult result = zix({"tree", "--", "--help"});
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.err, StartsWith("zix: --help: cannot be opened: "));
}

TEST_F(ZixTool, NamesOfFilesMayHoldAnyCharacter) {
#ifdef _WIN32
  GTEST_SKIP() << "these tests' command lines are narrow; the window tests cover such names";
#endif
  const std::string name =
      "Gr\xC3\xB6\xC3\x9F"
      "e \xE2\x82\xAC.zix";
  folder_.write("copy.zix", folder_.read("a.zix"));
  std::filesystem::rename(folder_.path() / "copy.zix",
                          folder_.path() / std::filesystem::path(std::u8string(name.begin(), name.end())));
  EXPECT_EQ(zix({"validate", path(name)}).out, path(name) + ": valid, 0 errors, 0 warnings\n");
}

#ifdef __linux__

TEST_F(ZixTool, FullStandardOutputIsAFailure) {
  const char* const bin = std::getenv("LOFTBAY_BIN_DIR");
  const std::string command =
      fmt::format("\"{}/zix\" tree \"{}\" > /dev/full 2> \"{}\"", bin, path("a.zix"), path("stderr"));
  EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 1);
  EXPECT_EQ(folder_.read("stderr"), "zix: standard output: No space left on device\n");
}

#endif

}  // namespace
}  // namespace loftbay
