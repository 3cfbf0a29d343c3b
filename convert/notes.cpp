#include "convert/notes.h"

#include <algorithm>

#include "diag/program_seams.h"
#include "diag/trace_log.h"

namespace loftbay::convert {

namespace {

constexpr std::size_t kNamesShown = 5;

struct Wording {
  std::string_view one;   // behind "1 "
  std::string_view many;  // behind a count
  bool shows_amount;
  std::string_view amount_unit;
};

// In the order of Dropped.
constexpr std::array<Wording, static_cast<std::size_t>(Dropped::kCount)> kWordings = {{
    {"line shape was left out because lines are ignored",
     "line shapes were left out because lines are ignored", true, "polylines"},
    {"point shape was left out because points are ignored",
     "point shapes were left out because points are ignored", true, "point groups"},
    {"assembly inside an instanced assembly lost its transformation",
     "assemblies inside an instanced assembly lost their transformation", false, ""},
    {"assembly inside an instanced assembly kept its transformation because an inner instance came before it",
     "assemblies inside an instanced assembly kept their transformation because an inner instance came "
     "before "
     "them",
     false, ""},
    {"instance refers to a part without shapes in the first level of detail and gives no geometry",
     "instances refer to parts without shapes in the first level of detail and give no geometry", false, ""},
    {"part has no shapes in the first level of detail and gives no geometry",
     "parts have no shapes in the first level of detail and give no geometry", false, ""},
    {"transformation lost its shear", "transformations lost their shear", false, ""},
    {"shape has triangles that lost their area because vertices that print alike were merged; --no-optimize "
     "keeps it",
     "shapes have triangles that lost their area because vertices that print alike were merged; "
     "--no-optimize "
     "keeps it",
     true, "triangles"},
}};

}  // namespace

void Notes::add(Dropped kind, std::string_view name, std::int64_t amount) {
  Kind& entry = kinds_[static_cast<std::size_t>(kind)];
  ++entry.count;
  entry.amount += amount;
  if (!name.empty() && entry.names.size() < kNamesShown &&
      std::ranges::find(entry.names, name) == entry.names.end())
    entry.names.emplace_back(name);
}

void Notes::report() const {
  diag::Observer& observer = *diag::programSeams().observer;
  bool told = nothing_read_;
  for (std::size_t i = 0; i < kinds_.size(); ++i) {
    const Kind& kind = kinds_[i];
    if (kind.count == 0) continue;
    const Wording& wording = kWordings[i];
    std::string note = diag::text(kind.count, " ", kind.count == 1 ? wording.one : wording.many);
    if (wording.shows_amount) note += diag::text(" (", kind.amount, " ", wording.amount_unit, ")");
    for (std::size_t n = 0; n < kind.names.size(); ++n)
      note += diag::text(n == 0 ? ": " : ", ", kind.names[n]);
    if (kind.names.size() == kNamesShown && kind.count > kNamesShown) note += ", …";
    observer.note(note);
    told = true;
  }
  if (meshes_ == 0 && !told) observer.note("the model holds no shapes, so the scene is empty");
}

}  // namespace loftbay::convert
