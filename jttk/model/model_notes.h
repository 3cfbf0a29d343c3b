// Contents of a model that scenes cannot hold, and substitutions (another level, one colour for several):
// counted while the model is read, and reported at its end, each once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace jttk {

struct Document;

// So many names at most are listed in one note.
inline constexpr std::size_t kNamesShown = 5;

class ModelNotes {
 public:
  enum class Kind : std::uint8_t {
    Pmi,                // segments of product manufacturing information
    VertexColors,       // shapes
    Textures,           // texture images
    Lights,             // infinite and point lights
    Layers,             // properties of nodes
    CoarserLevel,       // parts that are shown by another level because the wanted one is empty
    CoarserThanUnread,  // parts that are shown by facets because their exact geometry is of no kind that is
                        // read
    SeveralColors,      // parts whose facets had several colours, and whose exact geometry has one
    SameName,           // parts that look different from the first one of their name
    OtherUnit,          // nodes that state another unit than the model
  };

  void add(Kind kind, std::size_t count) { entries_[static_cast<std::size_t>(kind)].count += count; }
  // `name`: of the part concerned; the first few are listed.
  void add(Kind kind, const std::string& name);
  // The counts for the whole file of `document`. Once for each file.
  void addFile(const Document& document);

  // One sentence for each kind that occurred.
  [[nodiscard]] std::vector<std::string> sentences() const;

 private:
  static constexpr std::size_t kKinds = 10;
  struct Entry {
    std::size_t count = 0;
    std::vector<std::string> names;
  };
  Entry entries_[kKinds];
};

}  // namespace jttk
