// What a program fills in, process-wide, before it makes a job: how a message box is shown, where the
// toolkit's messages and the start-up failure line go, and who receives counts and losses.
//
// The desktop program shows real boxes; the console programs print; tests record. Neither the job nor the
// toolkit knows which of them it serves.
//
//   diag::programSeams().showMessageBox = [](std::string_view text, diag::BoxIcon) { … };
//   diag::programSeams().observer = &my_observer;
//
// Not thread safe: set before the job, read on the job's thread.
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <span>
#include <string_view>

namespace loftbay::diag {

enum class BoxIcon { None, Information, Error };

// What job and toolkit count. `Triangles` counts degenerate ones too, `Lines` counts polylines.
enum class Counted {
  Nodes,
  Transforms,
  Shapes,
  Meshes,
  Materials,
  Triangles,
  Lines,
  Points,
  VerticesRead,     // vertices taken from the toolkit
  VerticesWritten,  // vertices handed to the scene
};

// A text that the model's files state of a node.
struct NodeProperty {
  std::string_view key;
  std::string_view value;
};

// Receives counts, losses and notes of a conversion. Changes no call and no log line. Default: ignores
// everything.
class Observer {
 public:
  Observer() = default;
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;
  virtual ~Observer() = default;

  // `amount` more of a kind were written (or read).
  virtual void counted(Counted /*kind*/, std::uint64_t /*amount*/) {}
  // A JT file of the model was opened, the one that the user named first. `path` as the host writes it.
  virtual void opened(std::string_view /*path*/) {}
  // The length unit of the model, as the topmost file that states a known one writes it, and its length in
  // metres. Not called if no file states one.
  virtual void unit(std::string_view /*name*/, double /*metres*/) {}
  // The version of the JT file as its header states it.
  virtual void jtVersion(int /*major*/, int /*minor*/) {}
  // A walk enters a node of the model: a part, an assembly or an instance. Its properties, each key once; an
  // instance has its target's, too, where it does not state them itself. Called before the node's callback,
  // and only where the toolkit's settings ask for it; the texts are valid during the call.
  virtual void entered(std::span<const NodeProperty> /*properties*/) {}
  // Something that the file holds did not reach the scene although it should have: a damaged shape, a missing
  // file, a file that could not be loaded, a scene that could not be saved. `part` is the name of the part
  // (or a file's path), `reason` one sentence that names the file, where in it (segment, element, offset) and
  // the cause. Paths in texts are written as the host writes them.
  virtual void lost(std::string_view /*part*/, std::string_view /*reason*/) {}
  // Something was left out because an option or a rule of the converter says so. No loss.
  virtual void note(std::string_view /*text*/) {}
};

struct ProgramSeams {
  // Shows a modal box with one OK button and returns when it is closed. Never empty.
  std::function<void(std::string_view text, BoxIcon icon)> showMessageBox;
  // The toolkit's message stream. Never null.
  std::ostream* toolkit_messages;
  // Where the line of a failed toolkit start goes. Never null.
  std::ostream* startup_failures;
  // Never null.
  Observer* observer;
};

// The process's one set of seams. Until a program sets them: boxes and messages go to standard error, the
// start-up failure line to standard output, and the observer ignores everything.
ProgramSeams& programSeams();

}  // namespace loftbay::diag
