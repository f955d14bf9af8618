/// \file
/// Whether writing one file would write another.
#ifndef QUILLON_PROCESS_SAME_FILE_H
#define QUILLON_PROCESS_SAME_FILE_H

#include <string>

namespace process {

/// A file of a command line.
struct NamedFile {
  std::string path;  ///< "-" is the stream `standard`
  int standard = -1; ///< a file descriptor; -1: "-" is a name like others

  bool isStandard() const { return standard >= 0 && path == "-"; }
};

/// Whether `a` and `b` are one regular file, or would be if they were created.
bool isSameFile(const NamedFile& a, const NamedFile& b);

} // namespace process

#endif
