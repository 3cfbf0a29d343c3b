// What the text of a reference says before the system is asked, and when two names are the same.
#include <gmock/gmock.h>

#include "jttk/model/file_finder.h"
#include "jttk/model/name_key.h"
#include "jttk/model/stated_name.h"
#include "tests/jttk/model/many_files.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;

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
class NamesNotAskedFor : public jttk::testing::ManyFiles {
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
