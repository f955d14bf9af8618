/// \file
/// How an audit says what is wrong.
#ifndef QUILLON_AUDIT_DEMAND_H
#define QUILLON_AUDIT_DEMAND_H

#include <sstream>
#include <stdexcept>

namespace audit {

/// Throws std::logic_error with what the arguments say, one after the other, unless `holds`.
template <class... Args> void demand(bool holds, const Args&... args) {
  if (holds) return;
  std::ostringstream what;
  (what << ... << args);
  throw std::logic_error(what.str());
}

} // namespace audit

#endif
