/// \file
/// The file that tells which new name stands for which name of the source: lines "NEW OLD".
#ifndef QUILLON_FORMATS_NAME_MAP_H
#define QUILLON_FORMATS_NAME_MAP_H

#include "Result.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace formats {

/// From the new name to the old one.
using NameMap = std::unordered_map<std::string, std::string>;

/// The text of a map file with `pairs` of new and old names, which hold no white space.
std::string writeNameMap(const std::vector<std::pair<std::string, std::string>>& pairs);

/// Reads a map file; empty lines are skipped. Refused are lines without exactly two words and a
/// new name given twice.
Result<NameMap> readNameMap(std::string_view text);

} // namespace formats

#endif
