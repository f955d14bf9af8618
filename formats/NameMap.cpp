/// \file
/// Map files to and from text.
#include "NameMap.h"

#include "Lexical.h"

namespace formats {

namespace {

/// Where an old name is expected: the source has no such variable.
const std::string nothing = "-";

} // namespace

std::string writeNameMap(const std::vector<std::pair<std::string, std::string>>& pairs) {
  std::string text;
  for (const auto& [new_name, old_name] : pairs) {
    const bool is_variable = !old_name.empty() && old_name.find(' ') == std::string::npos;
    text += new_name + " " + (is_variable ? old_name : nothing) + "\n";
  }
  return text;
}

Result<NameMap> readNameMap(std::string_view text) {
  NameMap map;
  size_t at = 0;
  for (size_t line = 1; at < text.size(); line++) {
    const size_t end = std::min(text.find('\n', at), text.size());
    std::string words[2];
    size_t count = 0;
    while (at < end) {
      if (isSpace(text[at])) {
        at++;
        continue;
      }
      const size_t start = at;
      while (at < end && !isSpace(text[at])) at++;
      if (count < 2) words[count] = text.substr(start, at - start);
      count++;
    }
    at = end + 1;
    if (count == 0) continue;
    if (count != 2) return Error{Place::at(line, 1), "a line of a map is NEW OLD"};
    if (words[1] == nothing) words[1].clear();
    if (!map.emplace(words[0], words[1]).second)
      return Error{Place::at(line, 1), "\"" + words[0] + "\" is mapped twice"};
  }
  return map;
}

} // namespace formats
