/// \file
/// The course of a proof, and how steps name rows.
#include "Checker.h"

#include "Refusal.h"

namespace checker {

Checker::Checker(Problem of, std::istream& proof)
    : problem(std::move(of)), syntax(proof, problem.names),
      polish([this](const Integer& id) -> const Row& { return entryOf(id).row; },
             [this](const std::string& name) -> const Row& { return entryOf(name).row; }),
      objective(problem.objective) {
  for (const Row& row : problem.rows) add(row, true);
  for (const auto& [name, id] : problem.labels) labels[name] = id;
}

/// The row with that identifier, a negative one counting back from the newest.
Entry& Checker::entryOf(const Integer& id) {
  Integer number = id;
  if (id.sign() < 0) number += static_cast<std::int64_t>(database.lastId()) + 1;
  Entry* const entry =
      number.fits() && number.sign() > 0 ? database.find(static_cast<Id>(number.value())) : nullptr;
  if (entry == nullptr) throw Refusal("there is no constraint " + id.text().substr(0, 40));
  if (!isUsable(*entry)) throw Refusal("constraint " + id.text() + " is not in the core");
  return *entry;
}

Entry& Checker::entryOf(const std::string& name) {
  const auto found = labels.find(name);
  if (found == labels.end()) throw Refusal("there is no constraint " + name);
  return entryOf(Integer(static_cast<std::int64_t>(found->second)));
}

bool Checker::atEntry() const {
  return syntax.atNumber() || (syntax.atWord() && syntax.lexer.word()[0] == '@');
}

Entry& Checker::readEntry() {
  if (syntax.atWord() && syntax.lexer.word()[0] == '@') return entryOf(syntax.word());
  return entryOf(syntax.number());
}

Entry& Checker::add(Row row, bool is_core) {
  Entry& entry = database.add(std::move(row), is_core);
  propagator.add(entry);
  if (!label.empty()) labels[label] = entry.id;
  label.clear();
  return entry;
}

void Checker::remove(Entry& entry) {
  propagator.remove(entry);
  database.remove(entry);
}

Verdict Checker::run() {
  verdict.maximised = problem.maximise;
  try {
    syntax.header();
    bool ended = false;
    while (!ended) {
      syntax.skipEmpty();
      if (syntax.atWord() && syntax.lexer.word()[0] == '@') label = syntax.word();
      const std::string rule = syntax.word();
      if (rule == "output") {
        output();
        ended = true;
      } else if (!implicational(rule) && !step(rule)) {
        throw Refusal("unknown rule '" + rule.substr(0, 40) + "'");
      }
      label.clear();
    }
    conclusion();
  } catch (const Refusal& refusal) {
    verdict.kind = Verdict::Kind::refused;
    verdict.line = syntax.lexer.line();
    verdict.reason = refusal.what();
  }
  return verdict;
}

/// Where nothing is known or possible there is infinity; a problem without solutions is at INF on
/// both sides, whatever its objective.
std::string Verdict::text() const {
  std::string low = lower ? lower->text() : "INF";
  std::string high = upper ? upper->text() : "INF";
  if (maximised && lower) {
    low = upper ? (-*upper).text() : "-INF";
    high = (-*lower).text();
  }
  switch (kind) {
  case Kind::none:
    return "s VERIFIED NONE";
  case Kind::satisfiable:
    return "s VERIFIED SATISFIABLE";
  case Kind::unsatisfiable:
    return "s VERIFIED UNSATISFIABLE";
  case Kind::bounds:
    return "s VERIFIED BOUNDS " + low + " <= obj <= " + high;
  case Kind::refused:
    break;
  }
  return "s NOT VERIFIED line " + std::to_string(line) + ": " + reason;
}

Verdict verify(Problem problem, std::istream& proof) {
  try {
    return Checker(std::move(problem), proof).run();
  } catch (const Refusal& refusal) { // before there is anything that could be run
    Verdict verdict;
    verdict.line = 1;
    verdict.reason = refusal.what();
    return verdict;
  }
}

} // namespace checker
