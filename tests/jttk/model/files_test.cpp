// Models that are spread over several files.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "host/path.h"
#include "jttk/model/file_finder.h"
#include "jttk/model/name_key.h"
#include "jttk/model/settings.h"
#include "jttk/model/stated_name.h"
#include "samples/maker/pieces/write_file.h"
#include "tests/jttk/model/loaded.h"

namespace {

namespace pieces = loftbay::maker::pieces;
namespace fs = std::filesystem;
using jttk::testing::Recorder;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ManyFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() /
              ("loftbay_files_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "_" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(folder_);
    fs::create_directories(folder_ / "model");
  }
  void TearDown() override { fs::remove_all(folder_); }

  void write(const std::string& name, const GraphBuilder& graph) const {
    const fs::path relative(std::u8string(name.begin(), name.end()));
    pieces::writeFile(folder_ / "model" / relative, graph.file());
  }
  // A file with one part of that name.
  void writePart(const std::string& name, const std::string& part) const {
    GraphBuilder graph;
    graph.partition(0, {1}).name(part);
    graph.part(1, {2});
    graph.triStrips(2);
    write(name, graph);
  }
  // main.jt refers to files in the order given.
  void writeMain(const std::vector<std::string>& references) const {
    GraphBuilder graph;
    pieces::Ids children;
    for (std::size_t i = 0; i < references.size(); ++i) children.push_back(static_cast<std::int32_t>(10 + i));
    graph.partition(0, {1}).name("main.asm;0;0:");
    graph.metaData(1, children);
    for (std::size_t i = 0; i < references.size(); ++i) {
      graph.partition(children[i], {}, references[i]).name("ref " + std::to_string(i));
    }
    write("main.jt", graph);
  }
  std::vector<std::string> tree(const std::string& file = "model/main.jt") {
    JtkEntity* root = jttk::testing::import(loftbay::host::toProgramPath((folder_ / file).string()));
    if (root == nullptr) return {"not loaded"};
    auto walked = jttk::testing::walk(root);
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
    EXPECT_THAT(recorder_.losses, IsEmpty());
  }

  fs::path folder_;
  std::size_t shapes_ = 0;
  Recorder recorder_;
  const jttk::testing::ScopedSettings settings_;
};

// The folder is the usual one for the parts of main.jt.
TEST_F(ManyFiles, AFileIsFoundInTheFolderNamedLikeTheAssemblyAndWithoutItsEnding) {
  writePart("main/bolt.jt", "bolt");
  writePart("nut.jt", "nut");
  expectFound({"bolt.jt", "D:\\elsewhere\\Bolt.jt", "nut", "old/bolt"});
}

TEST_F(ManyFiles, APartitionWithoutChildrenStandsForAnotherFileAndItsNameHolds) {
  writePart("parts/bolt.jt", "bolt");
  expectFound({"parts/bolt.jt"});
}

TEST_F(ManyFiles, SeparatorsLetterCaseAndALeadingDotDoNotMatter) {
  writePart("Parts/Sub/Bolt.JT", "bolt");
  expectFound({"./Parts/Sub/Bolt.JT", "parts\\sub\\bolt.jt", ".\\PARTS/Sub//BOLT.jt"});
}

TEST_F(ManyFiles, AFileThatHasMovedIsFoundByItsBareNameBesideTheReferringOne) {
  writePart("bolt.jt", "bolt");
  expectFound({"C:\\work\\models\\bolt.jt", "/somewhere/else/Bolt.jt", "gone/bolt.jt"});
}

TEST_F(ManyFiles, ReferencesAreSeenFromTheFileThatHoldsThem) {
  writePart("sub/deep/bolt.jt", "bolt");
  GraphBuilder sub;
  sub.partition(0, {1, 2}).name("sub");
  sub.partition(1, {}, "deep/bolt.jt").name("bolt");
  sub.partition(2, {}, "../sub/deep/bolt.jt").name("again");
  write("sub/sub.jt", sub);
  writeMain({"sub/sub.jt", "sub/sub.jt"});
  EXPECT_THAT(tree(), ElementsAre("assembly main", "  assembly ref 0", "    part bolt", "    part again",
                                  "  assembly ref 1", "    part bolt", "    part again"));
  EXPECT_EQ(shapes_, 4U);
  EXPECT_THAT(recorder_.losses, IsEmpty());
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

TEST_F(ManyFiles, FilesOutsideTheModelsFolderAreReadOnlyWhenThatIsAllowed) {
  writePart("../outside.jt", "outside");
  const std::string absolute = (folder_ / "outside.jt").string();
  writeMain({"../outside.jt", absolute, "sub/../../outside.jt"});
  fs::create_directories(folder_ / "model" / "sub");
  (void)tree();
  EXPECT_EQ(shapes_, 0U);
  ASSERT_EQ(recorder_.losses.size(), 3U);
  EXPECT_THAT(recorder_.losses[0], HasSubstr("lies outside the folder of the model"));
  recorder_.losses.clear();
  settings_->allow_outside = true;
  (void)tree();
  EXPECT_EQ(shapes_, 3U);
  EXPECT_THAT(recorder_.losses, IsEmpty());
}

#ifndef _WIN32
TEST_F(ManyFiles, LinksThatLeadOutsideAreRefusedAndLinksInsideAreOneFile) {
  writePart("../outside.jt", "outside");
  writePart("bolt.jt", "bolt");
  fs::create_symlink("../outside.jt", folder_ / "model" / "link.jt");
  fs::create_symlink("bolt.jt", folder_ / "model" / "same.jt");
  writeMain({"link.jt", "same.jt"});
  (void)tree();
  EXPECT_EQ(shapes_, 1U);
  EXPECT_THAT(recorder_.losses, ElementsAre(HasSubstr("lies outside")));
}

TEST_F(ManyFiles, TheModelMayBeNamedThroughALink) {
  writePart("bolt.jt", "bolt");
  writeMain({"bolt.jt"});
  fs::create_symlink("model/main.jt", folder_ / "link.jt");
  (void)tree("link.jt");
  // References are seen from where the file really lies.
  EXPECT_EQ(shapes_, 1U);
}
#endif

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

// A file of that name that is no model: if it is taken, the part is lost.
class Tails : public ManyFiles {
 protected:
  void writeBad(const std::string& name) const {
    fs::create_directories((folder_ / "model" / name).parent_path());
    std::ofstream(folder_ / "model" / name) << "this is no model";
  }
};

TEST_F(Tails, TheLongestThatExistsBelowTheModelsFolderIsTakenAndNoted) {
  writePart("old/parts/bolt.jt", "bolt");
  writeBad("parts/bolt.jt");
  writeBad("bolt.jt");
  expectFound({"C:\\models\\old\\parts\\bolt.jt", "/srv/old/Parts/bolt", "../lib/old/parts/BOLT.jt"});
  ASSERT_EQ(recorder_.notes.size(), 3U);
  EXPECT_THAT(recorder_.notes[0],
              AllOf(HasSubstr("\"C:\\models\\old\\parts\\bolt.jt\" is not where it is stated to be"),
                    HasSubstr("bolt.jt was read")));
}

TEST_F(Tails, AreSeenFromTheTopModelsFolder) {
  writePart("parts/bolt.jt", "bolt");
  GraphBuilder sub;
  sub.partition(0, {1, 2}).name("sub");
  sub.partition(1, {}, "D:\\x\\parts\\bolt.jt").name("bolt");
  sub.partition(2, {}, "parts/bolt.jt").name("again");
  write("sub/sub.jt", sub);
  writeMain({"sub/sub.jt", "sub/sub.jt"});
  (void)tree();
  EXPECT_EQ(shapes_, 4U);
  EXPECT_THAT(recorder_.losses, IsEmpty());
}

TEST_F(Tails, OfANameThatIsRefusedAreTried) {
  writePart("../parts/bolt.jt", "outside");
  writePart("parts/bolt.jt", "bolt");
  expectFound({(folder_ / "parts" / "bolt.jt").string(), "../parts/bolt.jt"});
  EXPECT_EQ(recorder_.notes.size(), 2U);
}

TEST_F(Tails, AsStatedComesFirstAndIsNotNoted) {
  writePart("parts/bolt.jt", "bolt");
  writeBad("bolt.jt");
  fs::create_directories(folder_ / "model" / "nut");  // a folder is no file
  writePart("nut.jt", "nut");
  expectFound({"parts/bolt.jt", (folder_ / "model" / "parts" / "bolt.jt").string(), "nut"});
  EXPECT_THAT(recorder_.notes, IsEmpty());
}

TEST_F(Tails, AreNotedUpToANumber) {
  writePart("bolt.jt", "bolt");
  std::vector<std::string> references;
  for (int i = 0; i < 50; ++i) references.push_back("C:\\" + std::to_string(i) + "\\bolt.jt");
  expectFound(references);
  ASSERT_EQ(recorder_.notes.size(), 21U);
  EXPECT_THAT(recorder_.notes.back(), HasSubstr("more files"));
}

TEST_F(ManyFiles, BlanksAtTheEndDoNotMatter) {
  writePart("parts/bolt.jt", "bolt");
  expectFound({"parts/bolt.jt  ", "parts /bolt.jt", "parts/bolt  "});
}

// The reference has one character for the a with dots, the file's name a letter and its dots; and back.
TEST_F(ManyFiles, ComposedAndDecomposedLettersAreTheSame) {
  writePart("Geha\xcc\x88use.jt", "case");
  writePart("\xc3\x84rmel.jt", "sleeve");
  expectFound({"Geh\xe4use.jt", "GEH\xc4USE.JT", "\xe4rmel.jt"});
}

class SearchFolders : public Tails {
 protected:
  void search(const std::vector<std::string>& folders) const {
    settings_->search_folders.clear();
    for (const std::string& folder : folders) {
      fs::create_directories(folder_ / folder);
      settings_->search_folders.push_back(loftbay::host::toProgramPath((folder_ / folder).string()));
    }
  }
};

TEST_F(SearchFolders, AreTriedInOrderAfterTheModelsFolderAsStatedThenByTails) {
  writePart("../first/parts/bolt.jt", "bolt");
  writeBad("../first/bolt.jt");
  writeBad("../second/parts/bolt.jt");
  writePart("../second/nut.jt", "nut");
  writePart("pin.jt", "pin");
  writeBad("../first/pin.jt");
  search({"first", "second"});
  expectFound({"parts/bolt.jt", "C:\\x\\parts\\BOLT", "nut.jt", "old/nut.jt", "pin.jt"});
  EXPECT_THAT(recorder_.notes, ElementsAre(HasSubstr("C:\\x\\parts\\BOLT"), HasSubstr("old/nut.jt")));
}

TEST_F(SearchFolders, AreInside) {
  writePart("../library/bolt.jt", "bolt");
  const std::string absolute = (folder_ / "library" / "bolt.jt").string();
  search({"other"});
  writeMain({absolute});
  (void)tree();
  EXPECT_THAT(recorder_.losses, ElementsAre(HasSubstr("lies outside")));
  recorder_.losses.clear();
  search({"library"});
  expectFound({absolute, "../library/bolt.jt"});
}

TEST(StatedName, IsToldByItsTextAlone) {
  using Kind = jttk::StatedName::Kind;
  EXPECT_EQ(jttk::statedName("a/b.jt").kind, Kind::Relative);
  EXPECT_THAT(jttk::statedName("./a\\\\b.jt").names, ElementsAre("a", "b.jt"));
  const std::vector<std::pair<Kind, std::vector<std::string>>> kinds = {
      {Kind::Absolute, {"/a/b.jt", "\\a\\b.jt", "\\a/.\\b.jt"}},
      {Kind::Drive, {"C:\\a\\b.jt", "c:/a/b.jt"}},
      {Kind::DriveRelative, {"C:a\\b.jt", "z:a/b.jt"}},
      {Kind::Network, {"\\\\a\\b.jt", "//a/b.jt", "/\\a\\b.jt", "\\\\\\a\\b.jt"}},
  };
  for (const auto& [kind, references] : kinds) {
    for (const std::string& reference : references) {
      EXPECT_EQ(jttk::statedName(reference).kind, kind) << reference;
      EXPECT_THAT(jttk::statedName(reference).names, ElementsAre("a", "b.jt")) << reference;
    }
  }
  for (const char* device :
       {"\\\\.\\COM1", "//./pipe/x", "\\\\?\\C:\\b.jt", "\\\\?\\UNC\\host\\s\\b.jt", "\\??\\C:\\b.jt"}) {
    EXPECT_EQ(jttk::statedName(device).kind, Kind::Device) << device;
  }
}

TEST(FileName, OnWindowsIsNoDeviceNoStreamAndHasNoCharacterThatNamesCannotHave) {
  for (const char* name :
       {"con", "PRN", "aux.jt", "Nul.tar.gz", "COM1", "com9 .jt", "LPT1.jt", "lpt\u00b2", "CONIN$", "conout$",
        "bolt.jt:stream", "bolt.jt::$DATA", "what?.jt", "a*.jt", "a\tb.jt", "a|b"}) {
    EXPECT_FALSE(jttk::isFileName(name, jttk::NameRules::Windows)) << name;
    EXPECT_TRUE(jttk::isFileName(name, jttk::NameRules::Posix)) << name;
  }
  for (const char* name :
       {"bolt.jt", "console.jt", "com.jt", "com10.jt", "a.con", "..", "null", "lpt", "\u00e4\u00f6.jt"}) {
    EXPECT_TRUE(jttk::isFileName(name, jttk::NameRules::Windows)) << name;
  }
}

TEST(Share, IsHostAndFolderOfANetworkName) {
  EXPECT_EQ(jttk::shareOf("\\\\Host\\Parts\\x\\a.jt"), "\\\\host\\parts");
  EXPECT_EQ(jttk::shareOf("//host/parts"), "\\\\host\\parts");
  for (const char* none : {"\\\\host", "C:\\host\\parts", "\\host\\parts", "\\\\.\\host\\parts", ""}) {
    EXPECT_EQ(jttk::shareOf(none), "") << none;
  }
}

// The hosts of these tests treat two separators as one, so that a file exists under the network name and
// would be found if the system were asked. What is not asked for is found by its tail, or not at all.
class NamesNotAskedFor : public Tails {
 protected:
  using Refusal = jttk::FileFinder::Refusal;
  using Rules = jttk::NameRules;
  jttk::FileFinder::Found find(const std::string& reference, bool allow_outside = false,
                               const std::string& model_prefix = "", Rules rules = Rules::Windows) const {
    const std::string model = loftbay::host::toProgramPath((folder_ / "model" / "main.jt").string());
    return jttk::FileFinder(model_prefix + model, allow_outside, {}, rules).find(model, reference);
  }
  std::string path(const std::string& name) const {
    return loftbay::host::toProgramPath((folder_ / "model" / name).string());
  }
};

#ifndef _WIN32
TEST_F(NamesNotAskedFor, OnAnotherHost) {
  writePart("bolt.jt", "bolt");
  writePart("parts/bolt.jt", "bolt");
  const std::string network = "\\" + path("bolt.jt");
  for (const Rules rules : {Rules::Windows, Rules::Posix}) {
    const auto refused = find("\\" + path("bolt.jt") + ".gone", false, "", rules);
    EXPECT_EQ(refused.path, "");
    EXPECT_EQ(refused.refusal, Refusal::OtherHost);
    EXPECT_TRUE(find(network, false, "", rules).by_tail);
    const auto allowed = find(network, true, "", rules);
    EXPECT_EQ(allowed.path, network);
    EXPECT_FALSE(allowed.by_tail);
    EXPECT_EQ(find(network, false, "\\", rules).path, network) << "the model lies on the same share";
  }
}
#endif

TEST_F(NamesNotAskedFor, DevicesStreamsAndFoldersOfADrive) {
  writePart("bolt.jt", "bolt");
  for (const bool allow_outside : {false, true}) {
    for (const char* reference :
         {"com1", "parts\\AUX.jt", "nul/bolt.jt:x", "bolt.jt::$DATA", "\\\\.\\gone.jt"}) {
      const auto found = find(reference, allow_outside);
      EXPECT_EQ(found.path, "") << reference;
      EXPECT_EQ(found.refusal, Refusal::NoFile) << reference;
    }
    EXPECT_EQ(find("C:gone.jt", allow_outside).refusal, Refusal::DriveRelative);
    for (const char* reference :
         {"\\\\?\\C:\\x\\bolt.jt", "\\\\.\\pipe\\bolt.jt", "D:bolt.jt", "con\\bolt.jt"}) {
      EXPECT_EQ(find(reference, allow_outside).path, path("bolt.jt")) << reference;
    }
  }
}

#ifndef _WIN32
TEST_F(NamesNotAskedFor, AlsoWhereAFileIsCalledSo) {
  writePart("com1.jt", "port");
  writePart("aux/bolt.jt", "bolt");
  EXPECT_EQ(find("com1.jt").path, "");
  EXPECT_EQ(find("com1").path, "");
  EXPECT_EQ(find("aux\\bolt.jt").path, "");
  EXPECT_EQ(find("com1.jt", false, "", Rules::Posix).path, path("com1.jt"));
  EXPECT_EQ(find("aux\\bolt.jt", false, "", Rules::Posix).path, path("aux/bolt.jt"));
}

TEST_F(NamesNotAskedFor, ALinkThatLeadsOutsideIsOutside) {
  writePart("../elsewhere/bolt.jt", "bolt");
  fs::create_symlink(folder_ / "elsewhere" / "bolt.jt", folder_ / "model" / "link.jt");
  fs::create_directory_symlink(folder_ / "elsewhere", folder_ / "model" / "parts");
  for (const char* reference : {"link.jt", "parts/bolt.jt"}) {
    EXPECT_EQ(find(reference, false, "", Rules::Posix).refusal, Refusal::Outside) << reference;
    EXPECT_NE(find(reference, true, "", Rules::Posix).path, "") << reference;
  }
}
#endif

TEST_F(ManyFiles, AReferenceThatIsLongerThanAnyPathIsNotLookedForAndToldInShort) {
  writePart("bolt.jt", "bolt");
  const std::string folders(40'000, '/');
  const std::string long_name(1000, 'x');
  writeMain({"C:" + folders + "bolt.jt", "C:/" + long_name});
  (void)tree();
  EXPECT_THAT(recorder_.losses,
              ElementsAre(AllOf(HasSubstr("…\" names no file"), ::testing::SizeIs(::testing::Lt(1000U))),
                          AllOf(HasSubstr("xx…\" was not found"), ::testing::SizeIs(::testing::Lt(1000U)))));
}

TEST_F(Tails, AreTriedUpToANumber) {
  std::string deep;
  for (int i = 0; i < 70; ++i) deep += "d/";
  writePart("d/d/d/bolt.jt", "bolt");
  writePart(deep + "nut.jt", "nut");
  writeMain({"C:/gone/" + deep + "bolt.jt", "C:/gone/" + deep + "nut.jt"});
  (void)tree();
  EXPECT_THAT(recorder_.notes, ElementsAre(HasSubstr("d/bolt.jt\" is not where")));
  EXPECT_THAT(recorder_.losses, ElementsAre(HasSubstr("nut.jt\" was not found")));
}

TEST_F(ManyFiles, WhyAReferenceIsNotReadIsTold) {
  writeMain({"\\\\host\\share\\gone.jt", "C:gone.jt", "\\\\.\\pipe\\gone.jt", "gone.jt"});
  (void)tree();
  EXPECT_THAT(recorder_.losses,
              ElementsAre(HasSubstr("\"\\\\host\\share\\gone.jt\" lies on another machine and is not read"),
                          HasSubstr("\"C:gone.jt\" depends on the current folder of a drive and is not read"),
                          HasSubstr("\"\\\\.\\pipe\\gone.jt\" names no file and is not read"),
                          HasSubstr("\"gone.jt\" was not found")));
}

TEST(NameKey, IsOneForAllFormsOfAName) {
  using jttk::nameKey;
  for (const auto& [composed, decomposed] : {std::pair{"\u00c4", "A\u0308"},
                                             {"\u017c", "Z\u0307"},
                                             {"\u01d6", "u\u0308\u0304"},
                                             {"\u1ead", "a\u0323\u0302"},
                                             {"\u00e2\u0323", "a\u0323\u0302"},
                                             {"\u03ac", "\u0391\u0301"},
                                             {"\u0439", "\u0418\u0306"},
                                             {"\u304c", "\u304b\u3099"},
                                             {"\uac01", "\u1100\u1161\u11a8"},
                                             {"\ud55c", "\u1112\u1161\u11ab"},
                                             {"\uac00", "\u1100\u1161"},
                                             {"bolt.jt", "BOLT.jt \t"}}) {
    EXPECT_EQ(nameKey(composed), nameKey(decomposed)) << composed;
  }
  EXPECT_NE(nameKey("\u00e4"), nameKey("a"));
  EXPECT_NE(nameKey("\u00e4"), nameKey("\u00e1"));
  EXPECT_NE(nameKey("a b"), nameKey("ab"));
  EXPECT_EQ(nameKey("\xff\xc3"), "\xff\xc3");
  EXPECT_EQ(nameKey("\xe2\x82"), "\xe2\x82");
  EXPECT_EQ(nameKey("\U0001f529"), "\U0001f529");
  EXPECT_EQ(nameKey("  "), "");
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

TEST(FoldCase, KnowsLatinGreekAndCyrillicLetters) {
  EXPECT_EQ(jttk::foldCase("Bolt 7.JT"), "bolt 7.jt");
  EXPECT_EQ(jttk::foldCase("GEH\xc3\x84USE"), "geh\xc3\xa4use");
  EXPECT_EQ(jttk::foldCase("\xce\x91\xd0\x94"), "\xce\xb1\xd0\xb4");
  EXPECT_EQ(jttk::foldCase("\xff\xc3"), "\xff\xc3");
  // Polish, Czech, Turkish and accented Greek: pairs of capital and small letter.
  for (const auto& [capital, small] : {std::pair{"\u0141", "\u0142"},
                                       {"\u0143", "\u0144"},
                                       {"\u0147", "\u0148"},
                                       {"\u015a", "\u015b"},
                                       {"\u016e", "\u016f"},
                                       {"\u0178", "\u00ff"},
                                       {"\u0179", "\u017a"},
                                       {"\u017d", "\u017e"},
                                       {"\u011e", "\u011f"},
                                       {"\u0386", "\u03ac"},
                                       {"\u0388", "\u03ad"},
                                       {"\u038c", "\u03cc"},
                                       {"\u038f", "\u03ce"},
                                       {"\u0401", "\u0451"}}) {
    EXPECT_EQ(jttk::foldCase(capital), small);
    EXPECT_EQ(jttk::foldCase(small), small);
  }
  EXPECT_NE(jttk::foldCase("\u0130"), jttk::foldCase("\u0131"));  // no pair
}

}  // namespace
