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
  text.add(semicolons ? "pseudo-Boolean proof version 3.0\n"
                      : "pseudo-Boolean proof version 2.0\n");
  if (!plan.comment.empty()) comment(plan.comment);
  text.add('f');
  text.addNumber(plan.rows);
  end();
}

void Proof::addVariable(bool own) {
  const auto v = static_cast<Var>(units.size());
  units.push_back(0);
  if (own) own_variables++;
  names.resize(starts.back());
  for (const bool negated : {false, true}) {
    names += ' ';
    if (own) {
      if (negated) names += '~';
      names += sink.ownPrefix();
      names += std::to_string(own_variables);
    } else {
      sink.appendLiteral(Lit::of(v, negated), names);
    }
    starts.push_back(names.size());
  }
  const std::size_t plain = starts.size() - (isPlain(Lit::of(v)) ? 3 : 2);
  names += names.substr(starts[plain], starts[plain + 1] - starts[plain]) + " w";
  starts.push_back(names.size());
  names.append(Text::short_piece, ' ');
}

/// The end of a step.
void Proof::end() {
  text.add(semicolons ? " ;\n" : "\n");
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
    text.addNumber(t.coefficient);
    appendLiteral(text, t.literal);
  }
  text.add(" >=");
  text.addNumber(row.degree);
}

template <class C, class D> ProofId Proof::rup(const RowOf<C, D>& row) {
  text.add("rup");
  appendRow(row);
  if (!semicolons) text.add(" ;");
  return finish();
}

/// "rup" and a clause.
void Proof::addClause(const Lit* literals, std::size_t size) {
  text.add("rup");
  for (std::size_t i = 0; i < size; i++) {
    text.add(" 1");
    appendLiteral(text, literals[i]);
  }
  text.add(semicolons ? " >= 1" : " >= 1 ;");
}

ProofId Proof::rupClause(const Lit* literals, std::size_t size) {
  addClause(literals, size);
  return finish();
}

ProofId Proof::rupClause(const std::vector<Lit>& literals, ProofId id) {
  addClause(literals.data(), literals.size());
  if (semicolons) {
    text.add(" :");
    text.addNumber(id);
  }
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
  substitutions.reserve(witness.size());
  for (const Lit l : witness) substitutions.push_back({~l, Lit()});
  return redundant(row, substitutions);
}

template <class C, class D>
ProofId Proof::redundant(const RowOf<C, D>& row, const std::vector<Substitution>& witness) {
  text.add("red");
  appendRow(row);
  text.add(semicolons ? " :" : " ;");
  for (const Substitution& s : witness) {
    const bool negated = !isPlain(s.literal);
    appendLiteral(text, negated ? ~s.literal : s.literal);
    text.add(" ->");
    if (s.by.isNone())
      text.add(negated ? " 1" : " 0");
    else
      appendLiteral(text, negated ? ~s.by : s.by);
  }
  return finish();
}

template <class C, class D> ProofId Proof::implied(const RowOf<C, D>& row, ProofId id) {
  text.add("ia");
  appendRow(row);
  text.add(semicolons ? " :" : " ;");
  text.addNumber(id);
  return finish();
}

ProofId Proof::byContradiction(const Row& row, Derivation& refutation) {
  text.add("red");
  appendRow(row);
  text.add(semicolons ? " : : subproof\n" : " ; ; begin\n");
  last++; // the negation
  refutation.finish();
  text.add(semicolons ? "qed" : "end");
  return finish();
}

void Proof::appendValues(const std::vector<bool>& values) {
  for (std::size_t v = 0; v < values.size(); v++)
    appendLiteral(text, Lit::of(static_cast<Var>(v), !values[v]));
}

ProofId Proof::improvingSolution(const std::vector<bool>& values) {
  text.add("soli");
  appendValues(values);
  return finish();
}

void Proof::remove(std::vector<ProofId>& ids) {
  if (ids.empty()) return;
  text.add("del id");
  for (const ProofId id : ids) text.addNumber(id);
  end();
  ids.clear();
}

void Proof::setLean(ProofId id, const Lean& form) {
  dropLean(id);
  lean.emplace(id, form);
}

void Proof::dropLean(ProofId id) {
  const auto found = lean.find(id);
  if (found == lean.end()) return;
  writeDeletion(found->second.id);
  lean.erase(found);
}

void Proof::writeDeletion(ProofId id) {
  text.add("del id");
  text.addNumber(id);
  end();
}

/// The problem's row that constraint `id` is or stands for, 0 for none.
ProofId Proof::originOf(ProofId id) const {
  if (id <= problem_rows) return id;
  const auto place = std::lower_bound(origins.begin(), origins.end(), id,
                                      [](const std::pair<ProofId, ProofId>& entry, ProofId wanted) {
                                        return entry.first < wanted;
                                      });
  return place != origins.end() && place->first == id ? place->second : 0;
}

void Proof::removeWithOrigin(ProofId id, const std::vector<ProofId>& by) {
  const ProofId origin = originOf(id);
  const auto isDerived = [&](ProofId other) { return other > problem_rows; };
  if (origin != 0 && std::any_of(by.begin(), by.end(), isDerived)) {
    text.add("core id"); // what a row of the problem can be derived of again
    for (const ProofId other : by)
      if (isDerived(other)) text.addNumber(other);
    end();
  }
  if (origin != 0) writeDeletion(origin);
  if (origin != id) remove(id);
}

void Proof::comment(const std::string& what) {
  text.add(semicolons ? "% " : "* ");
  text.add(what);
  text.add('\n');
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
  text.add("output NONE");
  end();
  text.add("conclusion ");
  text.add(what);
}

void Proof::endConclusion() {
  end();
  text.add("end pseudo-Boolean proof");
  end();
  flush();
}

void Proof::concludeNone() {
  conclude("NONE");
  endConclusion();
}

void Proof::concludeUnsatisfiable() {
  conclude("UNSAT :");
  text.addNumber(contradiction_id);
  endConclusion();
}

void Proof::concludeSatisfiable(const std::vector<bool>& values) {
  conclude("SAT :");
  appendValues(values);
  endConclusion();
}

void Proof::concludeBounds(const std::optional<Int128>& lower, ProofId lower_id,
                           const std::optional<Int128>& upper, const std::vector<bool>& values) {
  conclude("BOUNDS");
  if (lower)
    text.addNumber(*lower - surplus);
  else
    text.add(" INF");
  if (lower_id != 0) {
    text.add(" :");
    text.addNumber(lower_id);
  }
  if (upper) {
    text.addNumber(*upper - surplus);
    text.add(" :");
    appendValues(values);
  } else {
    text.add(" INF");
  }
  endConclusion();
}

ProofId Derivation::finish() {
  assert(first_end != 0);
  proof.text.add("pol");
  proof.text.add(line);
  clear();
  return proof.finish();
}

template ProofId Proof::rup(const Row& row);
template ProofId Proof::rup(const LearntRow& row);
template ProofId Proof::implied(const Row& row, ProofId id);
template ProofId Proof::implied(const LearntRow& row, ProofId id);
template ProofId Proof::redundant(const Row& row, const std::vector<Lit>& witness);
template ProofId Proof::redundant(const LearntRow& row, const std::vector<Lit>& witness);
template ProofId Proof::redundant(const Row& row, const std::vector<Substitution>& witness);

} // namespace estoc
