// The main dialog's decisions with the real toolkit and the real scene writer behind them: what the user's
// clicks make of a file on disk.
#include <gmock/gmock.h>

#include "app/main_dialog.h"
#include "convert/job.h"
#include "diag/program_seams.h"
#include "diag/trace_log.h"
#include "samples/maker/write_jt.h"
#include "tests/app/recorded_window.h"
#include "tests/support/figures_model.h"
#include "tests/zix/scratch_folder.h"
#include "zix/reader.h"

namespace loftbay {
namespace {

using Orb::Zix::MeshType;
using testing::ElementsAre;
using tests::RecordedWindow;

constexpr int kTranslate = 1;
constexpr int kInput = 1001;
constexpr int kOutput = 1004;
constexpr int kIgnoreLines = 1009;
constexpr int kIgnorePoints = 1010;

class DialogConversion : public testing::Test {
 protected:
  DialogConversion() : saved_(diag::programSeams()) {
    diag::openTraceLog(folder_.programPath("log.txt"));
    diag::programSeams().showMessageBox = [this](std::string_view text, diag::BoxIcon) {
      boxes_.emplace_back(text);
    };
    diag::programSeams().toolkit_messages = &messages_;
    maker::writeJtFile(testing_support::figuresModel(), {}, folder_.path() / "model.jt");
    dialog_.OnInitDialog();
  }
  ~DialogConversion() override {
    diag::programSeams() = saved_;
    diag::openTraceLog({});
    convert::ignoreLines = convert::ignorePoints = true;
  }

  void typePaths(const std::string& model, const std::string& scene) {
    window_.texts[kInput] = folder_.programPath(model);
    window_.texts[kOutput] = folder_.programPath(scene);
  }
  // With plain line ends on every host.
  std::string log() const {
    std::string text = folder_.read("log.txt");
    std::erase(text, '\r');
    return text;
  }
  // The types of the meshes in the scene that a click on "Translate" has written.
  std::vector<MeshType> translate() {
    boxes_.clear();
    dialog_.dispatchClick(kTranslate);
    EXPECT_THAT(boxes_, ElementsAre("Translated Successfully!!!"));
    const auto scene = Orb::Zix::SceneFile::open(window_.texts[kOutput]);
    std::vector<MeshType> types;
    for (std::uint32_t number = 0; scene && number < scene->objectCount(); ++number) {
      if (scene->type(number) == Orb::Zix::ObjectType::Mesh)
        types.push_back(static_cast<MeshType>(scene->mesh(number).mesh_type));
    }
    return types;
  }

  testing_support::ScratchFolder folder_;
  std::vector<std::string> boxes_;
  std::ostringstream messages_;
  app::CJt2ZixDlg dialog_{"", "", 1, &RecordedWindow::icon_handle};
  RecordedWindow window_{dialog_};

 private:
  diag::ProgramSeams saved_;
};

TEST_F(DialogConversion, PathsTypedByHandAreConverted) {
  typePaths("model.jt", "scene.zix");
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles));
  EXPECT_THAT(window_.calls, testing::Not(testing::Contains(testing::StartsWith("open"))));
}

TEST_F(DialogConversion, MeshesAreAlwaysOptimised) {
  typePaths("model.jt", "scene.zix");
  window_.checks[1007] = false;  // the hidden check box must have no effect
  translate();
  EXPECT_THAT(log(), testing::HasSubstr("] obJt2Zix::WriteShape():Optimize option enabled\n"));
}

TEST_F(DialogConversion, BrowsedPathsAreConverted) {
  window_.chosen = folder_.programPath("model.jt");
  dialog_.dispatchClick(1002);
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles));
  EXPECT_THAT(folder_.names(), ElementsAre("log.txt", "model.jt", "model.zix"));
}

TEST_F(DialogConversion, AnInputTypedBeforeTheOutputIsBrowsedForIsConverted) {
  typePaths("model.jt", "");
  window_.chosen = folder_.programPath("scene.zix");
  dialog_.dispatchClick(1005);
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles));
}

TEST_F(DialogConversion, LinesAndPointsFollowTheirBoxesFromOneConversionToTheNext) {
  typePaths("model.jt", "scene.zix");
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles));
  dialog_.dispatchClick(kIgnoreLines);
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles, MeshType::Lines));
  dialog_.dispatchClick(kIgnorePoints);
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles, MeshType::Lines, MeshType::Points));
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles, MeshType::Lines, MeshType::Points));
  dialog_.dispatchClick(kIgnoreLines);
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles, MeshType::Points));
  dialog_.dispatchClick(kIgnorePoints);
  EXPECT_THAT(translate(), ElementsAre(MeshType::Triangles));
}

// No model at all: the version that no file states, the toolkit's own message, and a scene with its root.
TEST_F(DialogConversion, AFileThatIsNoModelGivesASceneWithItsRootAlone) {
  folder_.write("wheel.jt", "not a model");
  typePaths("wheel.jt", "scene.zix");
  EXPECT_THAT(translate(), testing::IsEmpty());
  EXPECT_THAT(messages_.str(), testing::HasSubstr("Unable to find root node.  Check file...\n"));
  EXPECT_THAT(log(), testing::HasSubstr("] obJt2Zix::ReadJt(): JT File Version: 0.0\n"));
  EXPECT_THAT(log(), testing::HasSubstr("] obJt2Zix::ReadJt():File loading failed!\n"));
  const auto scene = Orb::Zix::SceneFile::open(folder_.programPath("scene.zix"));
  ASSERT_TRUE(scene);
  EXPECT_EQ(scene->objectCount(), 1U);
  EXPECT_EQ(scene->name(scene->root()), "wheet");
}

}  // namespace
}  // namespace loftbay
