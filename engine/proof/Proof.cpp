/// \file
/// The steps of a proof as text.
#include "Derivation.h"

namespace estoc {

namespace {
constexpr std::size_t block = std::size_t{1} << 16; ///< bytes that go to the sink at a time
} // namespace

Proof::Proof(ProofSink& to, const ProofPlan& plan)
    : sink(to), semicolons(plan.version == ProofVersion::v3), problem_rows(plan.rows),
      surplus(plan.surplus), last(plan.rows), starts(1, 0) {
  text += semicolons ? "pseudo-Boolean proof version 3.0\n" : "pseudo-Boolean proof version 2.0\n";
  if (!plan.comment.empty()) comment(plan.comment);
  text += "f ";
  appendNumber(text, plan.rows);
  end();
}

void Proof::addVariable(bool own) {
  const auto v = static_cast<Var>(units.size());
  units.push_back(0);
  if (own) own_variables++;
  for (const bool negated : {false, true}) {
    names += ' ';
    if (own) {
      if (negated) names += '~';
      names += sink.ownPrefix();
      appendNumber(names, own_variables);
    } else {
      sink.appendLiteral(Lit::of(v, negated), names);
    }
    starts.push_back(names.size());
  }
}

/// The end of a step.
void Proof::end() {
  text += semicolons ? " ;\n" : "\n";
  if (text.size() >= block) flush();
}

ProofId Proof::finish() {
  end();
  return ++last;
}

void Proof::flush() {
  if (text.empty()) return;
  sink.write(text.data(), text.size());
  text.clear();
}

template <class C, class D> void Proof::appendRow(const RowOf<C, D>& row) {
  for (const auto& t : row.terms) {
    text += ' ';
    appendNumber(text, t.coefficient);
    appendLiteral(text, t.literal);
  }
  text += " >= ";
  appendNumber(text, row.degree);
}

template <class C, class D> ProofId Proof::rup(const RowOf<C, D>& row) {
  text += "rup";
  appendRow(row);
  if (!semicolons) text += " ;";
  return finish();
}

ProofId Proof::rupClause(const Lit* literals, std::size_t size) {
  text += "rup";
  for (std::size_t i = 0; i < size; i++) {
    text += " 1";
    appendLiteral(text, literals[i]);
  }
  text += semicolons ? " >= 1" : " >= 1 ;";
  return finish();
}

ProofId Proof::rupUnit(Lit l) {
  const ProofId id = rupClause(&l, 1);
  setUnit(l, id);
  return id;
}

template <class C, class D>
ProofId Proof::redundant(const RowOf<C, D>& row, const std::vector<Lit>& witness) {
  std::vector<Substitution> substitutions;
  for (const Lit l : witness) substitutions.push_back({~l, Lit()});
  return redundant(row, substitutions);
}

template <class C, class D>
ProofId Proof::redundant(const RowOf<C, D>& row, const std::vector<Substitution>& witness) {
  text += "red";
  appendRow(row);
  text += semicolons ? " :" : " ;";
  for (const Substitution& s : witness) {
    const bool negated = s.literal.negated();
    appendLiteral(text, negated ? ~s.literal : s.literal);
    text += " ->";
    if (s.by.isNone())
      text += negated ? " 1" : " 0";
    else
      appendLiteral(text, negated ? ~s.by : s.by);
  }
  return finish();
}

void Proof::appendValues(const std::vector<bool>& values) {
  for (std::size_t v = 0; v < values.size(); v++)
    appendLiteral(text, Lit::of(static_cast<Var>(v), !values[v]));
}

ProofId Proof::improvingSolution(const std::vector<bool>& values) {
  text += "soli";
  appendValues(values);
  return finish();
}

void Proof::writeDeletion(ProofId id) {
  text += "del id ";
  appendNumber(text, id);
  end();
}

void Proof::comment(const std::string& what) {
  text += semicolons ? "% " : "* ";
  text += what;
  text += '\n';
}

void Proof::settleFrom(const Trail& trail) {
  for (; settled < trail.start(1); settled++) needUnit(trail[settled]);
}

void Proof::contradiction() {
  if (contradiction_id == 0) contradiction_id = rupClause(nullptr, 0);
}

/// The lines at the end; `what` is the rest of the conclusion up to what `text` has already.
void Proof::conclude(const char* what) {
  assert(!concluded);
  concluded = true;
  text += "output NONE";
  end();
  text += "conclusion ";
  text += what;
}

void Proof::concludeNone() {
  conclude("NONE");
  end();
  text += "end pseudo-Boolean proof";
  end();
  flush();
}

void Proof::concludeUnsatisfiable() {
  conclude("UNSAT : ");
  appendNumber(text, contradiction_id);
  end();
  text += "end pseudo-Boolean proof";
  end();
  flush();
}

void Proof::concludeSatisfiable(const std::vector<bool>& values) {
  conclude("SAT :");
  appendValues(values);
  end();
  text += "end pseudo-Boolean proof";
  end();
  flush();
}

void Proof::concludeBounds(const std::optional<Int128>& lower, ProofId lower_id,
                           const std::optional<Int128>& upper, const std::vector<bool>& values) {
  conclude("BOUNDS ");
  if (lower)
    appendNumber(text, *lower - surplus);
  else
    text += "INF";
  if (lower_id != 0) {
    text += " : ";
    appendNumber(text, lower_id);
  }
  text += ' ';
  if (upper) {
    appendNumber(text, *upper - surplus);
    text += " :";
    appendValues(values);
  } else {
    text += "INF";
  }
  end();
  text += "end pseudo-Boolean proof";
  end();
  flush();
}

ProofId Derivation::finish() {
  assert(first_end != 0);
  proof.text += "pol";
  proof.text += line;
  clear();
  return proof.finish();
}

template ProofId Proof::rup(const Row& row);
template ProofId Proof::rup(const LearntRow& row);
template ProofId Proof::redundant(const Row& row, const std::vector<Lit>& witness);
template ProofId Proof::redundant(const LearntRow& row, const std::vector<Lit>& witness);
template ProofId Proof::redundant(const Row& row, const std::vector<Substitution>& witness);

} // namespace estoc
