#include "jttk/model/labels.h"

#include <algorithm>

#include "jttk/model/file_finder.h"

namespace jttk {

namespace {

bool endsWith(std::string_view text, std::string_view lower_case_ending) {
  if (text.size() < lower_case_ending.size()) return false;
  const std::string_view tail = text.substr(text.size() - lower_case_ending.size());
  return std::equal(tail.begin(), tail.end(), lower_case_ending.begin(), [](char a, char b) {
    return (a >= 'A' && a <= 'Z' ? static_cast<char>(a + ('a' - 'A')) : a) == b;
  });
}

// Cuts `;field` from the end, where the field holds neither `;` nor `:`. False when there is none.
bool cutField(std::string_view& text) {
  const auto mark = text.find_last_of(";:");
  if (mark == std::string_view::npos || text[mark] != ';') return false;
  text.remove_suffix(text.size() - mark);
  return true;
}

}  // namespace

std::string_view withoutSuffix(std::string_view name) {
  // Interfaces hand texts on as C strings.
  name = name.substr(0, name.find('\0'));
  if (name.empty() || name.back() != ':') return name;
  std::string_view cut = name.substr(0, name.size() - 1);
  for (int fields = 0; fields < 2; ++fields) {
    if (!cutField(cut)) return name;
  }
  for (const std::string_view ending : {std::string_view(".asm"), std::string_view(".part")}) {
    if (!endsWith(cut, ending)) continue;
    cut.remove_suffix(ending.size());
    break;
  }
  return cut;
}

std::string_view fileStem(std::string_view program_path) {
  const std::string_view name = baseName(program_path);
  const auto dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
}

}  // namespace jttk
