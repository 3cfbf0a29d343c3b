// Finds the files that an assembly refers to: relative to the referring file, whatever separators and letter
// case the reference uses, and never outside the folder of the model unless that is allowed.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace jttk {

class FileFinder {
 public:
  // `model_path`: the file that the user named, in program form.
  FileFinder(std::string_view model_path, bool allow_outside);

  struct Found {
    std::string path;       // as it is opened; empty when nothing was found
    std::string canonical;  // the same file always has the same
    bool refused = false;   // a file was found, but it lies outside
  };
  // `reference`: the text in the file. Tried: the reference seen from the referring file's folder (exactly,
  // then with any letter case), then its bare name in that folder and in the one there that is named like the
  // referring file; then all this with ".jt" behind a reference that does not end so; where the referring
  // file was named through a link, the same again from where it really lies.
  Found find(std::string_view referring_path, std::string_view reference);

 private:
  Found findWithEnding(std::string_view referring_path, std::string_view reference);
  Found findFrom(std::string_view referring_path, std::string_view reference);
  static Found better(Found later, const Found& before);
  // `names` seen from `folder`, letter case ignored where there is no exact match.
  std::string resolve(std::string folder, const std::vector<std::string>& names);
  // Names in a folder by their lower case form.
  const std::map<std::string, std::string>& listing(const std::string& folder);
  [[nodiscard]] bool isInside(const std::string& canonical) const;
  Found check(const std::string& path) const;

  // Canonical, with the separator at the end: where the model was named, and where it really lies.
  std::vector<std::string> model_folders_;
  bool allow_outside_;
  std::map<std::string, std::map<std::string, std::string>> listings_;
};

// The text before the last separator, or "." when there is none.
std::string folderOf(std::string_view program_path);
// The text behind the last separator.
std::string_view baseName(std::string_view program_path);
// Lower case, for comparing names: Latin (with its accents), Greek and Cyrillic letters.
std::string foldCase(std::string_view utf8);

}  // namespace jttk
