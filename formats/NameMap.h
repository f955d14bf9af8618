/// \file
/// The file that tells which new name stands for which name of the source: lines "NEW OLD",
/// or "NEW -" for a variable that the source does not have.
#ifndef QUILLON_FORMATS_NAME_MAP_H
#define QUILLON_FORMATS_NAME_MAP_H

#include "KeyedHash.h"
#include "Result.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace formats {

/// From the new name to the old one, which is empty for a variable that the source does not have.
using NameMap = std::unordered_map<std::string, std::string, KeyedHash>;

/// The text of a map file with `pairs` as in a `NameMap`. The names hold no white space, and none
/// is "-"; only old names may hold blanks, and stand for no variable then.
std::string writeNameMap(const std::vector<std::pair<std::string, std::string>>& pairs);

/// Reads a map file; empty lines are skipped. Refused are lines without exactly two words and a
/// new name given twice.
Result<NameMap> readNameMap(std::string_view text);

} // namespace formats

#endif
