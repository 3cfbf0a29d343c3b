// Models that are spread over several files.
#include <gmock/gmock.h>

#include "tests/jttk/model/loaded.h"
#include "tests/jttk/model/many_files.h"

namespace {

namespace fs = std::filesystem;
using jttk::testing::ManyFiles;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(ManyFiles, APartitionWithoutChildrenStandsForAnotherFileAndItsNameHolds) {
  writePart("parts/bolt.jt", "bolt");
  expectFound({"parts/bolt.jt"});
}

// Assemblies name the file of a part once for each occurrence: it is one part.
TEST_F(ManyFiles, PlacesOfOneFileAreOnePartAndFilesOfOneNameAreNoted) {
  writePart("bolt.jt", "bolt");
  writePart("other.jt", "bolt");
  for (const bool two_files : {false, true}) {
    GraphBuilder graph;
    graph.move(20, 1, 2, 3);
    graph.partition(0, {1}).name("main");
    graph.metaData(1, {2, 3});
    graph.partition(2, {}, "bolt.jt").name("bolt");
    graph.partition(3, {}, two_files ? "other.jt" : "bolt.jt").name("bolt").attributes({20});
    write("main.jt", graph);
    recorder_.notes.clear();
    EXPECT_THAT(tree(), ElementsAre("assembly main", "  part bolt", "  part bolt"));
    EXPECT_EQ(recorder_.notes.size(), two_files ? 1U : 0U);
  }
}

TEST_F(ManyFiles, AMissingFileIsAPartWithoutLevelsAndReportedTheRestConverts) {
  writePart("bolt.jt", "bolt");
  writeMain({"gone.jt", "bolt.jt"});
  EXPECT_THAT(tree(), ElementsAre("assembly main", "  part ref 0", "  part ref 1"));
  EXPECT_EQ(shapes_, 1U);
  EXPECT_THAT(recorder_.losses, ElementsAre(HasSubstr("\"gone.jt\" was not found")));
  EXPECT_THAT(recorder_.losses[0], HasSubstr("ref 0: "));
}

TEST_F(ManyFiles, AFileWhoseRootIsHiddenIsAnEmptyPartAndNoted) {
  GraphBuilder hidden;
  hidden.partition(0, {1, 2}).name("hidden").flags(1);
  hidden.part(1, {3}).name("bolt");
  hidden.part(2, {}).name("nut");
  hidden.triStrips(3);
  write("hidden.jt", hidden);
  writeMain({"hidden.jt"});
  EXPECT_THAT(tree(), ElementsAre("assembly main", "  part ref 0"));
  EXPECT_EQ(shapes_, 0U);
  EXPECT_THAT(recorder_.losses, IsEmpty());
  EXPECT_THAT(recorder_.notes, ElementsAre(HasSubstr("\"hidden\" is marked as not shown")));
}

TEST_F(ManyFiles, AnInstanceOfAMissingFileHasATarget) {
  GraphBuilder graph;
  graph.partition(0, {1, 2}).name("main");
  graph.instance(1, 3).name("first");
  graph.instance(2, 3).name("second");
  graph.partition(3, {}, "gone.jt").name("gone");
  write("main.jt", graph);
  EXPECT_THAT(tree(), ElementsAre("assembly main", "  instance first", "  =part gone", "  instance second",
                                  "  =part gone"));
  EXPECT_EQ(recorder_.losses.size(), 1U);
}

TEST_F(ManyFiles, AnUnreadableFileIsReportedForEveryReference) {
  std::ofstream(folder_ / "model" / "bad.jt") << "this is no model";
  writeMain({"bad.jt", "bad.jt"});
  EXPECT_THAT(tree(), ElementsAre("assembly main", "  part ref 0", "  part ref 1"));
  EXPECT_EQ(recorder_.losses.size(), 2U);
  EXPECT_THAT(recorder_.losses[0], HasSubstr("bad.jt"));
}

TEST_F(ManyFiles, FilesThatReferToEachOtherEnd) {
  GraphBuilder other;
  other.partition(0, {1, 2}).name("other");
  other.partition(1, {}, "main.jt").name("back");
  other.part(2, {}).name("pin");
  write("other.jt", other);
  writeMain({"other.jt", "main.jt"});
  EXPECT_THAT(tree(), ElementsAre("assembly main", "  assembly ref 0", "    part back", "    part pin",
                                  "  part ref 1"));
  EXPECT_THAT(recorder_.losses, ElementsAre(HasSubstr("back: "), HasSubstr("ref 1: ")));
  EXPECT_THAT(recorder_.losses[0], HasSubstr("the circle is not followed"));
}

TEST_F(ManyFiles, NamesOfPartsAreMadeDifferentAcrossFiles) {
  GraphBuilder nameless;
  nameless.partition(0, {1, 2});
  nameless.part(1, {});
  nameless.part(2, {});
  write("nameless.jt", nameless);
  GraphBuilder main;
  main.partition(0, {1, 2}).name("main");
  main.partition(1, {}, "nameless.jt").name("box");
  main.part(2, {}).name("box (2)");
  write("main.jt", main);
  EXPECT_THAT(tree(), ElementsAre("assembly main", "  assembly box", "    part box", "    part box (3)",
                                  "  part box (2)"));
}

TEST_F(ManyFiles, MaterialsAndTransformsComeDownIntoTheOtherFile) {
  writePart("bolt.jt", "bolt");
  GraphBuilder graph;
  GraphBuilder::Material material;
  material.diffuse = {0.5F, 0, 0, 1};
  graph.material(20, material);
  graph.move(21, 1, 2, 3);
  graph.partition(0, {1, 2}).name("main");
  graph.partition(1, {}, "bolt.jt").attributes({20, 21});
  graph.part(2, {}).name("bare");
  write("main.jt", graph);
  JtkEntity* root =
      jttk::testing::import(loftbay::host::toProgramPath((folder_ / "model" / "main.jt").string()));
  ASSERT_NE(root, nullptr);
  JtkHierarchy* bolt = static_cast<JtkAssembly*>(root)->getChild(0);
  EXPECT_EQ(bolt->typeID(), JtkEntity::JtkPART);
  EXPECT_EQ(jttk::testing::nameOf(bolt), "bolt");
  EXPECT_EQ(jttk::testing::redOf(bolt), 0.5F);
  EXPECT_THAT(jttk::testing::moveOf(bolt), ElementsAre(1, 2, 3));
  root->unref();
}

TEST_F(ManyFiles, AFileThatCannotBeLoadedGivesNullAMessageAndALoss) {
  EXPECT_THAT(tree("model/none.jt"), ElementsAre("not loaded"));
  EXPECT_EQ(recorder_.losses.size(), 1U);
  EXPECT_THAT(recorder_.messages(), HasSubstr("none.jt"));
  EXPECT_EQ(recorder_.version, (std::pair{0, 0}));
}

TEST_F(ManyFiles, TheVersionIsTold) {
  write("new.jt", [] {
    GraphBuilder graph("10.3");
    graph.partition(0, {});
    return graph;
  }());
  (void)tree("model/new.jt");
  EXPECT_EQ(recorder_.version, (std::pair{10, 3}));
  JtkCADImporter* importer = JtkEntityFactory::createCADImporter();
  importer->ref();
  int major = 0;
  int minor = 0;
  const std::string path = loftbay::host::toProgramPath((folder_ / "model" / "new.jt").string());
  importer->getFileVersion(JtkString(path.c_str()), major, minor);
  EXPECT_EQ(major, 10);
  EXPECT_EQ(minor, 3);
  importer->unref();
}

TEST_F(ManyFiles, EveryFileThatIsOpenedIsToldOnceAsTheHostWritesIt) {
  writePart("sub/bolt.jt", "bolt");
  std::ofstream(folder_ / "model" / "bad.jt") << "this is no model";
  writeMain({"sub/bolt.jt", "bad.jt", "gone.jt", "sub/BOLT.jt"});
  tree();
  const auto host = [&](const char* name) {
    return loftbay::host::toHostPath(loftbay::host::toProgramPath((folder_ / "model").string()) + "\\" +
                                     name);
  };
  EXPECT_THAT(recorder_.files, ElementsAre(host("main.jt"), host("sub\\bolt.jt")));
}

TEST_F(ManyFiles, AFileThatIsNoModelIsLostUnderItsPathAsTheHostWritesIt) {
  std::ofstream(folder_ / "model" / "bad.jt") << "this is no model";
  tree("model/bad.jt");
  const std::string path =
      loftbay::host::toHostPath(loftbay::host::toProgramPath((folder_ / "model" / "bad.jt").string()));
  EXPECT_THAT(recorder_.losses, ElementsAre(::testing::StartsWith(path + ": " + path + ": ")));
  EXPECT_THAT(recorder_.files, IsEmpty());
}

TEST_F(ManyFiles, TheUnitOfTheTopmostFileThatStatesOneIsTold) {
  const auto part = [&](const std::string& file, const char* root_unit, const char* part_unit) {
    GraphBuilder graph;
    auto root = graph.partition(0, {1}).name("part");
    if (root_unit != nullptr) root.property("JT_PROP_MEASUREMENT_UNITS", root_unit);
    auto node = graph.part(1, {2});
    if (part_unit != nullptr) node.property("JT_PROP_MEASUREMENT_UNITS", part_unit);
    graph.triStrips(2);
    write(file, graph);
  };
  const auto told = [&](const std::string& file) {
    recorder_.units.clear();
    tree("model/" + file);
    return recorder_.units;
  };
  part("root.jt", "Inches", "Millimeters");
  EXPECT_THAT(told("root.jt"), ElementsAre("Inches 0.025400"));
  part("part.jt", "Unknown", "Feet");
  EXPECT_THAT(told("part.jt"), ElementsAre("Feet 0.304800"));
  part("none.jt", nullptr, nullptr);
  EXPECT_THAT(told("none.jt"), IsEmpty());
  writeMain({"none.jt", "part.jt", "root.jt"});
  EXPECT_THAT(told("main.jt"), ElementsAre("Feet 0.304800"));
}

}  // namespace
