#include "host/path.h"

#include <gtest/gtest.h>

namespace loftbay::host {
namespace {

#ifndef _WIN32

TEST(ProgramPath, TurnsSlashesIntoBackslashesAndBack) {
  EXPECT_EQ(toProgramPath("dir/sub/a.jt"), "dir\\sub\\a.jt");
  EXPECT_EQ(toHostPath("dir\\sub\\a.jt"), "dir/sub/a.jt");
}

TEST(ProgramPath, KeepsABackslashThatIsPartOfAPosixName) {
  const std::string program = toProgramPath("dir/odd\\name.jt");
  EXPECT_EQ(program, "dir\\odd\xEF\x81\x9Cname.jt");
  EXPECT_EQ(toHostPath(program), "dir/odd\\name.jt");
}

TEST(ProgramPath, NamesTheRootFolderWhenTheFileLiesDirectlyInIt) {
  EXPECT_EQ(toProgramPath("/a.zix"), "\\.\\a.zix");
  EXPECT_EQ(toHostPath("\\.\\a.zix"), "/a.zix");
  EXPECT_EQ(toProgramPath("/tmp/a.zix"), "\\tmp\\a.zix");
}

TEST(ProgramPath, BareNamesStayBare) { EXPECT_EQ(toProgramPath("a.zix"), "a.zix"); }

#else

TEST(ProgramPath, TakesForwardSlashesAsSeparators) { EXPECT_EQ(toProgramPath("C:/a/b.jt"), "C:\\a\\b.jt"); }

#endif

}  // namespace
}  // namespace loftbay::host
