#include "jttk/model/file_finder.h"

#include <algorithm>
#include <filesystem>

#include "host/directory.h"
#include "host/file.h"
#include "host/path.h"
#include "jttk/model/name_key.h"

namespace jttk {

namespace host = loftbay::host;

namespace {

constexpr char kSeparator = '\\';
constexpr std::string_view kEnding = ".jt";
// No system has longer paths.
constexpr std::size_t kLongestReference = 32'768;
// Each tail asks the system for a file.
constexpr std::ptrdiff_t kMostTails = 64;

bool isDirectory(const std::string& program_path) {
  std::error_code error;
  return std::filesystem::is_directory(host::toFileSystemPath(program_path), error);
}

std::string withEnding(std::string name) {
  name.resize(name.find_last_not_of(' ') + 1);
  return name.append(kEnding);
}

std::string withSeparator(std::string folder) {
  if (folder.empty() || folder.back() != kSeparator) folder += kSeparator;
  return folder;
}

}  // namespace

std::string folderOf(std::string_view program_path) {
  const auto last = program_path.rfind(kSeparator);
  if (last == std::string_view::npos) return ".";
  return std::string(last == 0 ? program_path.substr(0, 1) : program_path.substr(0, last));
}

std::string_view baseName(std::string_view program_path) {
  return program_path.substr(program_path.rfind(kSeparator) + 1);
}

FileFinder::FileFinder(std::string_view model_path, bool allow_outside,
                       std::vector<std::string> search_folders, NameRules rules)
    : search_folders_(std::move(search_folders)), allow_outside_(allow_outside), rules_(rules) {
  top_folders_ = foldersOf(model_path);
  for (const auto& folders : {top_folders_, search_folders_}) {
    for (const std::string& folder : folders) {
      if (std::string share = shareOf(folder); !share.empty()) inside_shares_.push_back(std::move(share));
      if (const auto canonical = host::canonicalPath(folder)) inside_.push_back(withSeparator(*canonical));
    }
  }
}

// The folder of a file as it is named and, where that is another, the one where it really lies.
std::vector<std::string> FileFinder::foldersOf(std::string_view path) {
  std::vector<std::string> folders = {folderOf(path)};
  const auto named = host::canonicalPath(folders.front());
  const auto real = host::canonicalPath(path);
  if (real && folderOf(*real) != named) folders.push_back(folderOf(*real));
  return folders;
}

std::vector<FileFinder::Attempt> FileFinder::attempts(std::string_view referring_path,
                                                      const StatedName& stated) const {
  const std::vector<std::string>& names = stated.names;
  const bool is_relative = stated.kind == StatedName::Kind::Relative;
  const std::vector<std::string> here = foldersOf(referring_path);
  const auto after_climbing = std::find(names.rbegin(), names.rend(), "..").base() - names.begin();
  const auto longest = std::max<std::ptrdiff_t>(after_climbing, is_relative ? 1 : 0);
  const auto size = static_cast<std::ptrdiff_t>(names.size());
  std::vector<Attempt> attempts;
  const auto addTails = [&](const std::string& folder, std::ptrdiff_t from, std::ptrdiff_t end) {
    for (std::ptrdiff_t i = std::max(from, end - kMostTails); i < end; ++i) {
      attempts.push_back({folder, {names.begin() + i, names.end()}, true});
    }
  };
  if (is_relative) {
    for (const std::string& folder : here) attempts.push_back({folder, names, false});
    for (const std::string& folder : top_folders_) attempts.push_back({folder, names, false});
  }
  for (const std::string& folder : top_folders_) addTails(folder, longest, size - 1);
  // The bare name; parts are usually kept in a folder that is named like their assembly.
  const std::string_view file = baseName(referring_path);
  const std::string own_folder(file.substr(0, file.rfind('.')));
  const bool is_tail = !is_relative || size > 1;
  for (const std::string& folder : here) {
    attempts.push_back({folder, {names.back()}, is_tail});
    attempts.push_back({folder, {own_folder, names.back()}, is_tail});
  }
  for (const std::string& folder : top_folders_) attempts.push_back({folder, {names.back()}, is_tail});
  for (const std::string& folder : search_folders_) {
    if (is_relative) attempts.push_back({folder, names, false});
    addTails(folder, longest, size);
  }
  return attempts;
}

FileFinder::Refusal FileFinder::refusalByText(std::string_view reference, const StatedName& stated) const {
  using Kind = StatedName::Kind;
  const auto isName = [&](const std::string& name) { return isFileName(name, rules_); };
  if (stated.kind == Kind::Device || !std::all_of(stated.names.begin(), stated.names.end(), isName)) {
    return Refusal::NoFile;
  }
  if (stated.kind == Kind::DriveRelative) return Refusal::DriveRelative;
  if (stated.kind != Kind::Network || allow_outside_) return Refusal::None;
  const auto& shares = inside_shares_;
  return std::find(shares.begin(), shares.end(), shareOf(reference)) == shares.end() ? Refusal::OtherHost
                                                                                     : Refusal::None;
}

FileFinder::Found FileFinder::find(std::string_view referring_path, std::string_view reference) {
  using Kind = StatedName::Kind;
  if (reference.size() > kLongestReference) return {{}, {}, Refusal::NoFile, false};
  const StatedName stated = statedName(reference);
  if (stated.names.empty() || stated.names.back() == "..") return {};
  const bool has_ending = nameKey(stated.names.back()).ends_with(kEnding);
  const Refusal by_text = refusalByText(reference, stated);
  Refusal refusal = by_text;
  const auto isFound = [&](const Found& found) {
    if (refusal == Refusal::None) refusal = found.refusal;
    return !found.path.empty();
  };
  const bool is_of_this_host = stated.kind != Kind::Drive || rules_ == NameRules::Windows;
  if (stated.kind != Kind::Relative && by_text == Refusal::None && is_of_this_host) {
    if (const Found found = check(std::string(reference)); isFound(found)) return found;
    if (!has_ending) {
      if (const Found found = check(withEnding(std::string(reference))); isFound(found)) return found;
    }
  }
  for (Attempt& attempt : attempts(referring_path, stated)) {
    Found found = check(resolve(attempt.folder, attempt.names));
    if (!isFound(found) && !has_ending) {
      attempt.names.back() = withEnding(attempt.names.back());
      found = check(resolve(attempt.folder, attempt.names));
      static_cast<void>(isFound(found));
    }
    if (found.path.empty()) continue;
    found.by_tail = attempt.by_tail;
    return found;
  }
  return {{}, {}, refusal, false};
}

std::string FileFinder::resolve(std::string folder, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (!isFileName(name, rules_)) return {};
    std::string exact = folder;
    exact.append(1, kSeparator).append(name);
    // Windows finds a folder by a name with blanks behind it, but nothing in it.
    if (name == ".." || (!name.ends_with(' ') && host::pathExists(exact))) {
      folder = std::move(exact);
      continue;
    }
    const auto& existing = listing(folder);
    const auto match = existing.find(nameKey(name));
    if (match == existing.end()) return {};
    folder += kSeparator + match->second;
  }
  return folder;
}

const std::map<std::string, std::string>& FileFinder::listing(const std::string& folder) {
  const auto [entry, is_new] = listings_.try_emplace(folder);
  if (is_new) {
    auto names = host::listDirectory(folder).value_or(std::vector<std::string>());
    // Of two with one key the same one on every host, whatever order the system lists in.
    std::sort(names.begin(), names.end());
    for (std::string& name : names) entry->second.try_emplace(nameKey(name), name);
  }
  return entry->second;
}

bool FileFinder::isInside(const std::string& canonical) const {
  return std::any_of(inside_.begin(), inside_.end(),
                     [&](const std::string& folder) { return canonical.starts_with(folder); });
}

FileFinder::Found FileFinder::check(const std::string& path) const {
  if (path.empty()) return {};
  const auto canonical = host::canonicalPath(path);
  if (!canonical || isDirectory(path)) return {};
  if (!allow_outside_ && !isInside(*canonical)) return {{}, {}, Refusal::Outside, false};
  return {path, *canonical, Refusal::None, false};
}

}  // namespace jttk
