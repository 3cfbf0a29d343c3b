// The page for browsers, written with a viewer of a few bytes; the real one is tested by
// scripts/check-viewer.
#include <gmock/gmock.h>
#include <zlib.h>

#include <cstdlib>
#include <thread>

#include "tests/zix/run_program.h"
#include "tests/zix/sample_scenes.h"
#include "tests/zix/scratch_folder.h"
#include "zix/chunk_check.h"
#include "zix/export_html.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace Orb::Zix {
namespace {

using loftbay::testing_support::ProgramResult;
using loftbay::testing_support::ScratchFolder;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr std::string_view kViewer = "<html>before<!--zix-data-->behind</html>";

std::string fromBase64(std::string_view text) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  EXPECT_EQ(text.size() % 4, 0U);
  std::string bytes;
  std::uint32_t held = 0;
  int bits = 0;
  for (const char c : text) {
    const auto digit = kDigits.find(c);
    if (digit == std::string_view::npos) continue;
    held = held << 6 | static_cast<std::uint32_t>(digit);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>(held >> bits & 0xFFU);
  }
  return bytes;
}

std::string inflated(const std::string& packed, std::size_t size) {
  std::string bytes(size + 1, '\0');
  auto got = static_cast<uLongf>(bytes.size());
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(bytes.data()), &got,
                       reinterpret_cast<const Bytef*>(packed.data()), static_cast<uLong>(packed.size())),
            Z_OK);
  bytes.resize(got);
  return bytes;
}

// What stands in the block of the page with this id; a text that is no base64 where there is none.
std::string blockOf(const std::string& page, const std::string& id) {
  const auto at = page.find("id=\"" + id + "\"");
  if (at == std::string::npos) return "none";
  const auto begin = page.find('>', at) + 1;
  return page.substr(begin, page.find("</script>", begin) - begin);
}

class Page : public ::testing::Test {
 protected:
  void SetUp() override {
    loftbay::testing_support::writeSampleScene(folder_.programPath("a.zix"));
    folder_.write("viewer.html", std::string(kViewer));
  }
  // The page of a.zix.
  std::optional<std::string> write(HtmlPage page) {
    const auto scene = SceneFile::open(folder_.programPath("a.zix"));
    page.viewer_path = folder_.programPath("viewer.html");
    return exportHtml(*scene, page, folder_.programPath("a.html"));
  }
  // Flips a bit in the first array.
  void damage() {
    std::string bytes = folder_.read("a.zix");
    bytes[65] = static_cast<char>(bytes[65] ^ 1);
    folder_.write("a.zix", bytes);
  }

  ScratchFolder folder_;
};

TEST_F(Page, HoldsTheViewerAndTheSceneByteForByte) {
  EXPECT_EQ(write({.viewer_path = {}, .name = "a.zix", .report = {}}), std::nullopt);
  const std::string page = folder_.read("a.html");
  EXPECT_THAT(page, StartsWith("<html>before<script "));
  EXPECT_THAT(page, ::testing::EndsWith("</script>\nbehind</html>"));
  const std::string scene = folder_.read("a.zix");
  EXPECT_EQ(inflated(fromBase64(blockOf(page, "zix-scene")), scene.size()), scene);
  EXPECT_EQ(fromBase64(blockOf(page, "zix-name")), "a.zix");
  EXPECT_EQ(blockOf(page, "zix-report"), "none");
  EXPECT_EQ(blockOf(page, "zix-damaged"), "none");
}

TEST_F(Page, TextsOfAnyBytesCannotEndTheirElement) {
  const std::string name = "</script><script>\xFF<!--";
  const std::string report = R"({"notes": ["</script>"]})";
  EXPECT_EQ(write({.viewer_path = {}, .name = name, .report = report}), std::nullopt);
  const std::string page = folder_.read("a.html");
  EXPECT_EQ(fromBase64(blockOf(page, "zix-name")), name);
  EXPECT_EQ(fromBase64(blockOf(page, "zix-report")), report);
  EXPECT_EQ(page.find("<!--"), std::string::npos);
}

TEST_F(Page, AFileThatIsNoViewerIsRefusedAndNothingWritten) {
  for (const std::string wrong : {"", "no mark", "<!--zix-data--><!--zix-data-->"}) {
    folder_.write("viewer.html", wrong);
    EXPECT_THAT(write({}).value_or(""), HasSubstr("viewer.html: this is not the viewer")) << wrong;
  }
  EXPECT_EQ(folder_.names(), (std::vector<std::string>{"a.zix", "viewer.html"}));
}

TEST_F(Page, ADamagedArrayIsFound) {
  EXPECT_EQ(firstDamagedChunk(*SceneFile::open(folder_.programPath("a.zix"))), std::nullopt);
  damage();
  EXPECT_EQ(firstDamagedChunk(*SceneFile::open(folder_.programPath("a.zix"))), 64U);
}

#ifndef _WIN32

// The program, copied into a folder of its own: it looks for the viewer beside itself.
class PageProgram : public Page {
 protected:
  void SetUp() override {
    Page::SetUp();
    const char* const bin = std::getenv("LOFTBAY_BIN_DIR");
    std::filesystem::create_directories(folder_.path() / "bin");
    std::filesystem::copy_file(std::filesystem::path(bin != nullptr ? bin : ".") / "zix",
                               folder_.path() / "bin" / "zix");
    std::filesystem::rename(folder_.path() / "viewer.html", folder_.path() / "bin" / "viewer.html");
  }
  ProgramResult zix(const std::string& arguments, const std::string& environment = "") {
    const std::string command = "cd \"" + folder_.hostPath("") + "\" && " + environment + " ./bin/zix " +
                                arguments + " > stdout 2> stderr < /dev/null";
    const int status = std::system(command.c_str());
    return {WEXITSTATUS(status), folder_.read("stdout"), folder_.read("stderr")};
  }
};

TEST_F(PageProgram, ExportWritesThePageWithTheReport) {
  folder_.write("r.json", R"({"skipped": []})");
  const ProgramResult result = zix("export a.zix a.html --report r.json");
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.out + result.err, "");
  EXPECT_EQ(fromBase64(blockOf(folder_.read("a.html"), "zix-report")), R"({"skipped": []})");
}

TEST_F(PageProgram, ADamagedSceneIsRefusedUnlessForced) {
  damage();
  const ProgramResult refused = zix("export a.zix a.html");
  EXPECT_EQ(refused.code, 1);
  EXPECT_THAT(refused.err, HasSubstr("a.zix: at offset 64 the array is damaged"));
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "a.html"));
  const ProgramResult forced = zix("export a.zix a.html --force");
  EXPECT_EQ(forced.code, 0);
  EXPECT_THAT(forced.err,
              HasSubstr("is damaged: its checksum is not the one that the file states; used as it is"));
  EXPECT_EQ(blockOf(folder_.read("a.html"), "zix-damaged"), "");
}

TEST_F(PageProgram, WithoutTheViewerItSaysWhatToRun) {
  std::filesystem::remove(folder_.path() / "bin" / "viewer.html");
  const ProgramResult result = zix("export a.zix a.html");
  EXPECT_EQ(result.code, 1);
  EXPECT_THAT(result.err, HasSubstr("scripts/build-viewer"));
}

TEST_F(PageProgram, AReportMustBeJsonAndIsForPagesOnly) {
  folder_.write("r.json", "{");
  EXPECT_EQ(zix("export a.zix a.html --report r.json").err, "zix: r.json: this is no JSON document\n");
  EXPECT_EQ(zix("export a.zix a.html --report missing.json").code, 1);
  EXPECT_EQ(zix("export a.zix a.glb --report r.json").code, 2);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "a.html"));
}

TEST_F(PageProgram, ViewOpensAPageInAFolderOfItsOwn) {
  folder_.write("browser", "#!/bin/sh\nprintf '%s\\n' \"$@\" >opened.part && mv opened.part opened\n");
  std::filesystem::permissions(folder_.path() / "browser", std::filesystem::perms::owner_all);
  const ProgramResult result =
      zix("view a.zix", "TMPDIR=\"$PWD\" BROWSER='missing-program:./browser --new %s --more'");
  EXPECT_EQ(result.code, 0) << result.err;
  ASSERT_THAT(result.out, ::testing::EndsWith("/a.html\n"));
  const std::filesystem::path page(result.out.substr(0, result.out.size() - 1));
  EXPECT_EQ(std::filesystem::status(page.parent_path()).permissions(), std::filesystem::perms::owner_all);
  for (int i = 0; i < 500 && !std::filesystem::exists(folder_.path() / "opened"); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(folder_.read("opened"), "--new\n" + page.string() + "\n--more\n");
  const ProgramResult none = zix("view a.zix", "TMPDIR=\"$PWD\" BROWSER=missing-program");
  EXPECT_EQ(none.code, 1);
  EXPECT_THAT(none.err, HasSubstr("missing-program: No such file"));
  EXPECT_EQ(zix("view a.zix --no-open", "TMPDIR=\"$PWD\" BROWSER=missing-program").code, 0);
}

TEST_F(PageProgram, ViewRemovesItsFoldersOfADayAgo) {
  const auto now = std::filesystem::file_time_type::clock::now();
  const auto makeFolder = [&](const char* name, std::chrono::hours age) {
    std::filesystem::create_directory(folder_.path() / name);
    folder_.write(std::string(name) + "/a.html", "page");
    std::filesystem::last_write_time(folder_.path() / name, now - age);
  };
  makeFolder("zix-view-1", std::chrono::hours(25));
  makeFolder("zix-view-2", std::chrono::hours(23));
  makeFolder("zix-other", std::chrono::hours(25));
  std::filesystem::create_directory_symlink("zix-other", folder_.path() / "zix-view-3");
  EXPECT_EQ(zix("view a.zix --no-open", "TMPDIR=\"$PWD\"").code, 0);
  EXPECT_FALSE(std::filesystem::exists(folder_.path() / "zix-view-1"));
  EXPECT_EQ(folder_.read("zix-view-2/a.html"), "page");
  EXPECT_EQ(folder_.read("zix-other/a.html"), "page");
}

TEST_F(PageProgram, ViewLeavesNothingOfASceneThatCannotBeShown) {
  folder_.write("bad.zix", "nothing");
  const auto before = folder_.names();
  EXPECT_EQ(zix("view bad.zix --no-open", "TMPDIR=\"$PWD\"").code, 1);
  auto after = folder_.names();
  std::erase_if(after, [](const std::string& name) { return name.starts_with("std"); });
  EXPECT_EQ(after, before);
}

#endif

}  // namespace
}  // namespace Orb::Zix
