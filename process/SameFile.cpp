/// \file
/// Whether writing one file would write another.
#include "SameFile.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

namespace process {

bool isSameFile(const NamedFile& a, const NamedFile& b) {
  const auto look = [](const NamedFile& file, struct stat& facts) {
    return (file.isStandard() ? fstat(file.standard, &facts) : stat(file.path.c_str(), &facts)) ==
           0;
  };
  struct stat x = {};
  struct stat y = {};
  const bool a_exists = look(a, x);
  const bool b_exists = look(b, y);
  if (a_exists && b_exists)
    return S_ISREG(x.st_mode) && x.st_dev == y.st_dev && x.st_ino == y.st_ino;
  if (a_exists || b_exists) return false;
  const auto whole = [](const NamedFile& file) {
    std::error_code ignored;
    return std::filesystem::weakly_canonical(std::filesystem::absolute(file.path, ignored),
                                             ignored);
  };
  return whole(a) == whole(b);
}

} // namespace process
