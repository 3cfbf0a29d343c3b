// main() of every test program. Each run has a folder for temporary files of its own, so that two runs side
// by side never write over each other's files.
#include <gmock/gmock.h>

#ifndef _WIN32
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#endif

namespace {

#ifndef _WIN32
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "loftbay-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) return;
    path_ = name;
    // With the permissions of the usual temporary folder: some tests go on as another user.
    using std::filesystem::perms;
    std::filesystem::permissions(path_, perms::all | perms::sticky_bit);
    setenv("TMPDIR", path_.c_str(), 1);
    setenv("TEST_TMPDIR", path_.c_str(), 1);
  }
  ~TemporaryFolder() {
    if (path_.empty()) return;
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

 private:
  std::string path_;
};
#else
class TemporaryFolder {};
#endif

}  // namespace

int main(int argc, char** argv) {
  [[maybe_unused]] const TemporaryFolder folder;
  testing::InitGoogleMock(&argc, argv);
  return RUN_ALL_TESTS();
}
