/// \file
/// Where a proof goes, seen from the solver.
#ifndef ESTOC_PROOF_SINK_H
#define ESTOC_PROOF_SINK_H

#include "Types.h"

#include <cstdint>
#include <string>

namespace estoc {

/// The versions of the proof format. They differ in their surface only: in 2.0 the end of a line
/// ends a step, in 3.0 a semicolon does.
enum class ProofVersion { v2, v3 };

/// The number of a constraint in a proof, from 1; 0 is none.
using ProofId = std::uint64_t;

/// What a proof is about, and how it is written.
struct ProofPlan {
  ProofVersion version = ProofVersion::v3;
  std::uint64_t rows = 0; ///< of the problem
  Int128 surplus = 0;     ///< what the solver's objective has more than that of the proof
  std::string comment;    ///< the proof's first one; one line, or empty for none
};

/// Takes the bytes of a proof, and knows what the problem's variables are called in it.
class ProofSink {
 public:
  virtual ~ProofSink() = default;
  /// The next `size` bytes. What goes wrong is the sink's own affair.
  virtual void write(const char* bytes, std::size_t size) = 0;
  /// Appends the text of a literal of a variable of the problem: a name, or "~" and a name. It may
  /// be the negation that has a plain name.
  virtual void appendLiteral(Lit literal, std::string& text) const = 0;
  /// What the names of the solver's own variables begin with; a number follows. No name of the
  /// problem's does.
  virtual std::string ownPrefix() const = 0;
};

} // namespace estoc

#endif
