// Finds the files that an assembly refers to, whatever separators, letter case and form of accents the
// reference uses, and never outside the folder of the model and the search folders unless that is allowed.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "jttk/model/stated_name.h"

namespace jttk {

class FileFinder {
 public:
  // `model_path`: the file that the user named. Paths in program form. Files below search folders are allowed
  // without `allow_outside`.
  FileFinder(std::string_view model_path, bool allow_outside, std::vector<std::string> search_folders = {},
             NameRules rules = hostNameRules());

  enum class Refusal : std::uint8_t {
    None,
    Outside,        // a file was found, but it lies outside
    OtherHost,      // a network name; the system was not asked
    DriveRelative,  // depends on the current folder; the system was not asked
    NoFile          // a device, a stream, or a name that no file can have; the system was not asked
  };

  struct Found {
    std::string path;                 // as it is opened; empty when nothing was found
    std::string canonical;            // the same file always has the same
    Refusal refusal = Refusal::None;  // why nothing was taken
    bool by_tail = false;             // the first names of the reference were left out to find it
  };
  // `reference`: the text in the file. Tried in this order, each exactly and then by nameKey, and with ".jt"
  // behind a reference that does not end so:
  //   the reference as stated, seen from the referring file's folder, then from the model's;
  //   its tails below the model's folder, the longest first;
  //   its bare name beside the referring file, and there in the folder that is named like that file;
  //   each search folder: the reference as stated, then its tails.
  // For files named through a link the link's folder is searched first, then the target's. What is refused as
  // stated may still be found by a tail. A network name is tried as stated where that is allowed or model or
  // search folder lie on the same share.
  Found find(std::string_view referring_path, std::string_view reference);

 private:
  struct Attempt {
    std::string folder;
    std::vector<std::string> names;
    bool by_tail;
  };
  static std::vector<std::string> foldersOf(std::string_view path);
  [[nodiscard]] std::vector<Attempt> attempts(std::string_view referring_path,
                                              const StatedName& stated) const;
  // What forbids asking the system for the name as stated.
  [[nodiscard]] Refusal refusalByText(std::string_view reference, const StatedName& stated) const;
  // `names` seen from `folder`; empty when there is nothing.
  std::string resolve(std::string folder, const std::vector<std::string>& names);
  // Names in a folder by their keys.
  const std::map<std::string, std::string>& listing(const std::string& folder);
  [[nodiscard]] bool isInside(const std::string& canonical) const;
  Found check(const std::string& path) const;

  std::vector<std::string> top_folders_;  // of the model
  std::vector<std::string> search_folders_;
  std::vector<std::string> inside_;  // canonical, with the separator at the end
  std::vector<std::string> inside_shares_;
  bool allow_outside_;
  NameRules rules_;
  std::map<std::string, std::map<std::string, std::string>> listings_;
};

// The text before the last separator, or "." when there is none.
std::string folderOf(std::string_view program_path);
// The text behind the last separator.
std::string_view baseName(std::string_view program_path);

}  // namespace jttk
