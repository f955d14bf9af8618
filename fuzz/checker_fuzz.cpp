/// \file
/// Fuzz target for the checker of proofs: any bytes as a proof of one of a few small problems, and
/// any bytes as a problem and a proof. Whatever it is, the checker ends with a verdict; one that
/// claims something of a problem whose truth is known must be true.
///
/// The first byte chooses: "0" to "3" (and, modulo 5, whatever follows) one of the problems below,
/// the rest being the proof; 4 takes the text up to the first "%%" for the problem.
#include "Demand.h"
#include "checker/Refusal.h"
#include "checker/Verify.h"

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

namespace {

struct Known {
  const char* text;
  bool satisfiable;
  int optimum; ///< of what is to be minimised, if there is a solution and an objective
};

constexpr Known problems[] = {
    {"1 x1 1 x2 >= 1 ;\n1 x1 1 ~x2 >= 1 ;\n1 ~x1 1 x3 >= 1 ;\n1 ~x1 1 ~x3 >= 1 ;\n", false, 0},
    {"min: 2 x1 3 x2 -1 x3 ;\n1 x1 1 x2 >= 1 ;\n1 ~x3 1 x4 >= 1 ;\n2 x1 1 x2 2 x4 <= 3 ;\n", true,
     2},
    {"max: 2 x1 3 x2 ;\n3 x1 2 x2 4 x3 = 5 ;\n", true, -5},
    {"min: 1 x1 ;\n1 x1 1 x2 >= 2 ;\n1 ~x1 1 ~x2 1 x3 >= 2 ;\n1 x3 <= 0 ;\n", false, 0},
};

bool allows(const Known& known, const checker::Verdict& verdict) {
  using Kind = checker::Verdict::Kind;
  switch (verdict.kind) {
  case Kind::satisfiable:
    return known.satisfiable;
  case Kind::unsatisfiable:
    return !known.satisfiable;
  case Kind::bounds:
    if (!known.satisfiable) return !verdict.upper;
    return verdict.lower && *verdict.lower <= known.optimum &&
           (!verdict.upper || *verdict.upper >= known.optimum);
  case Kind::none:
  case Kind::refused:
    break;
  }
  return true;
}

checker::Verdict verdictOn(std::string_view problem, std::string_view proof) {
  std::istringstream stream{std::string(proof)};
  const checker::Verdict verdict = checker::verify(checker::readProblem(problem), stream);
  demand(!verdict.text().empty(), "no verdict");
  return verdict;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::size_t choice = static_cast<std::uint8_t>(data[0] - '0') % (std::size(problems) + 1);
  if (choice < std::size(problems)) {
    const Known& known = problems[choice];
    demand(allows(known, verdictOn(known.text, text)), "an accepted proof claims what is false");
    return 0;
  }
  const std::size_t end = std::min(text.find("%%"), text.size());
  try {
    verdictOn(text.substr(0, end), text.substr(std::min(end + 2, text.size())));
  } catch (const checker::Refusal&) { // no problem
  }
  return 0;
}
