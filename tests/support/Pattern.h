/// \file
/// Regular expressions, of the kind of std::regex. That takes a compiler longer than any of the
/// tests does, so it is compiled here, once.
#ifndef QUILLON_TESTS_PATTERN_H
#define QUILLON_TESTS_PATTERN_H

#include <string>
#include <vector>

/// Where the text has the pattern, one behind the other: the whole match, then what its groups
/// matched.
std::vector<std::vector<std::string>> matches(const std::string& text, const std::string& pattern);

/// Whether the text has the pattern somewhere.
bool contains(const std::string& text, const std::string& pattern);

/// Whether the whole of the text is as the pattern says.
bool isLike(const std::string& text, const std::string& pattern);

/// The text with all that matches replaced; "$1" in `by` stands for the first group.
std::string replaced(const std::string& text, const std::string& pattern, const std::string& by);

#endif
