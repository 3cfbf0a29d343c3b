// How the file that a reference names is found, and which files are not read.
#include <gmock/gmock.h>

#include "jttk/model/settings.h"
#include "tests/jttk/model/many_files.h"

namespace {

namespace fs = std::filesystem;
using jttk::testing::ManyFiles;
using loftbay::maker::pieces::GraphBuilder;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Tails : public ManyFiles {};

// The folder is the usual one for the parts of main.jt.
TEST_F(ManyFiles, AFileIsFoundInTheFolderNamedLikeTheAssemblyAndWithoutItsEnding) {
  writePart("main/bolt.jt", "bolt");
  writePart("nut.jt", "nut");
  expectFound({"bolt.jt", "D:\\elsewhere\\Bolt.jt", "nut", "old/bolt"});
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

}  // namespace
