/// \file
/// Regular expressions for tests.
#include "Pattern.h"

#include <regex>

std::vector<std::vector<std::string>> matches(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  std::vector<std::vector<std::string>> result;
  for (std::sregex_iterator it(text.begin(), text.end(), regex), end; it != end; ++it)
    result.emplace_back(it->begin(), it->end());
  return result;
}

bool contains(const std::string& text, const std::string& pattern) {
  return !matches(text, pattern).empty();
}

bool isLike(const std::string& text, const std::string& pattern) {
  return std::regex_match(text, std::regex(pattern));
}

std::string replaced(const std::string& text, const std::string& pattern, const std::string& by) {
  return std::regex_replace(text, std::regex(pattern), by);
}
