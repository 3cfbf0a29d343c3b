#include "jttk/model/file_finder.h"

#include <algorithm>
#include <optional>

#include "host/directory.h"
#include "host/file.h"

namespace jttk {

namespace host = loftbay::host;

namespace {

constexpr char kSeparator = '\\';
constexpr std::string_view kEnding = ".jt";

// Components of a reference; `/` separates like `\`.
std::vector<std::string> components(std::string_view reference) {
  std::vector<std::string> names;
  std::string name;
  const auto finish = [&] {
    if (!name.empty() && name != ".") names.push_back(name);
    name.clear();
  };
  for (const char c : reference) {
    if (c == '/' || c == kSeparator) {
      finish();
    } else {
      name += c;
    }
  }
  finish();
  return names;
}

bool isAbsolute(std::string_view reference) {
  const bool drive = reference.size() > 1 && reference[1] == ':';
  return drive || (!reference.empty() && (reference.front() == '/' || reference.front() == kSeparator));
}

// Capital letters of two UTF-8 bytes: the Latin ones with accents, Greek and Cyrillic.
unsigned foldCodePoint(unsigned code) {
  if (code >= 0xc0 && code <= 0xde && code != 0xd7) return code + 0x20;
  // Capitals of the extended Latin letters are even in some stretches and odd in others; 0x130 and 0x131 are
  // no pair.
  if ((code >= 0x100 && code <= 0x12f) || (code >= 0x132 && code <= 0x137)) return code | 1U;
  if (code >= 0x139 && code <= 0x148) return code + (code & 1U);
  if (code >= 0x14a && code <= 0x177) return code | 1U;
  if (code == 0x178) return 0xff;
  if (code >= 0x179 && code <= 0x17e) return code + (code & 1U);
  if (code == 0x386) return 0x3ac;
  if (code >= 0x388 && code <= 0x38a) return code + 0x25;
  if (code == 0x38c) return 0x3cc;
  if (code == 0x38e || code == 0x38f) return code + 0x3f;
  if (code >= 0x391 && code <= 0x3a9 && code != 0x3a2) return code + 0x20;
  if (code >= 0x400 && code <= 0x40f) return code + 0x50;
  if (code >= 0x410 && code <= 0x42f) return code + 0x20;
  return code;
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

std::string foldCase(std::string_view utf8) {
  std::string folded;
  folded.reserve(utf8.size());
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    if (byte < 0x80) {
      folded += static_cast<char>(byte >= 'A' && byte <= 'Z' ? byte + 0x20 : byte);
    } else if (byte >= 0xc2 && byte < 0xe0 && i + 1 < utf8.size()) {
      const unsigned code = (byte & 0x1fU) << 6U | (static_cast<unsigned char>(utf8[++i]) & 0x3fU);
      const unsigned lower = foldCodePoint(code);
      folded += static_cast<char>(0xc0U | lower >> 6U);
      folded += static_cast<char>(0x80U | (lower & 0x3fU));
    } else {
      folded += utf8[i];
    }
  }
  return folded;
}

FileFinder::FileFinder(std::string_view model_path, bool allow_outside) : allow_outside_(allow_outside) {
  const auto add = [&](const std::optional<std::string>& folder) {
    if (folder) model_folders_.push_back(folder->back() == kSeparator ? *folder : *folder + kSeparator);
  };
  add(host::canonicalPath(folderOf(model_path)));
  if (const auto model = host::canonicalPath(model_path)) add(host::canonicalPath(folderOf(*model)));
}

FileFinder::Found FileFinder::find(std::string_view referring_path, std::string_view reference) {
  Found found = findWithEnding(referring_path, reference);
  if (!found.path.empty()) return found;
  const auto real_path = host::canonicalPath(referring_path);
  if (!real_path) return found;
  return better(findWithEnding(*real_path, reference), found);
}

// The first of two searches, unless nothing came of it; that a file was refused is remembered.
FileFinder::Found FileFinder::better(Found later, const Found& before) {
  if (later.path.empty()) later.refused = later.refused || before.refused;
  return later;
}

FileFinder::Found FileFinder::findWithEnding(std::string_view referring_path, std::string_view reference) {
  Found found = findFrom(referring_path, reference);
  if (!found.path.empty() || foldCase(reference).ends_with(kEnding)) return found;
  return better(findFrom(referring_path, std::string(reference).append(kEnding)), found);
}

FileFinder::Found FileFinder::findFrom(std::string_view referring_path, std::string_view reference) {
  const std::vector<std::string> names = components(reference);
  if (names.empty()) return {};
  const std::string folder = folderOf(referring_path);
  Found found = isAbsolute(reference) ? check(std::string(reference)) : check(resolve(folder, names));
  if (found.path.empty()) found = better(check(resolve(folder, {names.back()})), found);
  if (found.path.empty()) {
    // Parts are usually kept in a folder that is named like their assembly.
    const std::string_view file = baseName(referring_path);
    const std::string own_folder(file.substr(0, file.rfind('.')));
    found = better(check(resolve(folder, {own_folder, names.back()})), found);
  }
  return found;
}

std::string FileFinder::resolve(std::string folder, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    std::string exact = folder;
    exact.append(1, kSeparator).append(name);
    if (name == ".." || host::pathExists(exact)) {
      folder = std::move(exact);
      continue;
    }
    const auto& existing = listing(folder);
    const auto match = existing.find(foldCase(name));
    if (match == existing.end()) return {};
    folder += kSeparator + match->second;
  }
  return folder;
}

const std::map<std::string, std::string>& FileFinder::listing(const std::string& folder) {
  const auto [entry, is_new] = listings_.try_emplace(folder);
  if (is_new) {
    auto names = host::listDirectory(folder).value_or(std::vector<std::string>());
    // Of two that differ in letter case only the same one on every host, whatever order the system lists in.
    std::sort(names.begin(), names.end());
    for (std::string& name : names) entry->second.try_emplace(foldCase(name), name);
  }
  return entry->second;
}

bool FileFinder::isInside(const std::string& canonical) const {
  return std::any_of(model_folders_.begin(), model_folders_.end(),
                     [&](const std::string& folder) { return canonical.starts_with(folder); });
}

FileFinder::Found FileFinder::check(const std::string& path) const {
  if (path.empty()) return {};
  const auto canonical = host::canonicalPath(path);
  if (!canonical) return {};
  if (!allow_outside_ && !isInside(*canonical)) return {{}, {}, true};
  return {path, *canonical, false};
}

}  // namespace jttk
