#include "jttk/model/stated_name.h"

#include <algorithm>
#include <array>

#include "jttk/model/name_key.h"

namespace jttk {

namespace {

bool isSeparator(char c) { return c == '/' || c == '\\'; }

// The texts between the separators, none of them empty.
std::vector<std::string> components(std::string_view path) {
  std::vector<std::string> names(1);
  for (const char c : path) {
    if (!isSeparator(c)) {
      names.back() += c;
    } else if (!names.back().empty()) {
      names.emplace_back();
    }
  }
  if (names.back().empty()) names.pop_back();
  return names;
}

StatedName::Kind kindOf(std::string_view reference, const std::vector<std::string>& names) {
  using Kind = StatedName::Kind;
  const auto separatorAt = [&](std::size_t i) { return reference.size() > i && isSeparator(reference[i]); };
  if (reference.size() > 1 && reference[1] == ':') return separatorAt(2) ? Kind::Drive : Kind::DriveRelative;
  if (!separatorAt(0)) return Kind::Relative;
  const std::string first = names.empty() ? std::string() : names.front();
  if (first == "??" || (separatorAt(1) && (first == "?" || first == "."))) return Kind::Device;
  return separatorAt(1) ? Kind::Network : Kind::Absolute;
}

// Devices have their names in every folder, with any ending: `aux`, `Aux.jt`, `COM1 .x`.
bool isDeviceName(std::string_view name) {
  std::string stem = foldCase(name.substr(0, name.find('.')));
  stem.resize(stem.find_last_not_of(' ') + 1);
  constexpr std::array<std::string_view, 6> kDevices = {"con", "prn", "aux", "nul", "conin$", "conout$"};
  if (std::find(kDevices.begin(), kDevices.end(), stem) != kDevices.end()) return true;
  if (!stem.starts_with("com") && !stem.starts_with("lpt")) return false;
  const std::string_view number = std::string_view(stem).substr(3);
  // The raised digits 1 to 3 count like the others.
  return (number.size() == 1 && number[0] >= '0' && number[0] <= '9') || number == "\u00b9" ||
         number == "\u00b2" || number == "\u00b3";
}

}  // namespace

StatedName statedName(std::string_view reference) {
  StatedName stated;
  stated.names = components(reference);
  stated.kind = kindOf(reference, stated.names);
  const bool has_drive =
      stated.kind == StatedName::Kind::Drive || stated.kind == StatedName::Kind::DriveRelative;
  if (has_drive) stated.names = components(reference.substr(2));
  std::erase(stated.names, ".");
  return stated;
}

bool isFileName(std::string_view name, NameRules rules) {
  if (rules == NameRules::Posix) return true;
  const bool is_impossible = std::any_of(name.begin(), name.end(), [](char c) {
    return (c >= 0 && c < ' ') || std::string_view("\"*:<>?|").find(c) != std::string_view::npos;
  });
  return !is_impossible && !isDeviceName(name);
}

std::string shareOf(std::string_view path) {
  const StatedName stated = statedName(path);
  if (stated.kind != StatedName::Kind::Network || stated.names.size() < 2) return {};
  return "\\\\" + nameKey(stated.names[0]) + "\\" + nameKey(stated.names[1]);
}

}  // namespace jttk
