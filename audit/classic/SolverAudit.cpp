/// \file
/// The audit of a solver's state.
#include "SolverAudit.h"

#include "audit/Demand.h"

#include <map>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

using audit::demand;

static std::ostream& operator<<(std::ostream& out, Lit p) {
  return out << (sign(p) ? "~x" : "x") << var(p);
}

static std::ostream& operator<<(std::ostream& out, const Clause& c) {
  out << (c.learnt() ? "learnt clause" : "clause");
  for (int i = 0; i < c.size(); i++) out << " " << c[i];
  return out;
}

/// Watched terms are marked "*", fake-watched ones "'".
static std::ostream& operator<<(std::ostream& out, const PseudoBool& pb) {
  for (int i = 0; i < pb.size(); i++) {
    const PBTerm& term = pb[i];
    out << term.coeff()
        << (pb.is_watched(i)       ? "*"
            : pb.is_fakewatched(i) ? "'"
                                   : " ")
        << term.lit << " ";
  }
  return out << ">= " << pb.degree() << (pb.learnt() ? " (learnt)" : "");
}

/// One look over one solver; every part throws at the first fault it finds.
class SolverAudit::Pass {
  const Solver& S;
  std::vector<int> position; ///< per variable: place on the trail, -1 unassigned
  std::vector<const Clause*> clauses;
  std::vector<const PseudoBool*> pbs;
  std::set<const Constr*> owned;

  /// Whether p is false and became so before the trail reached `place`.
  bool falseBefore(Lit p, int place) const {
    return S.value(p) == l_False && position[static_cast<size_t>(var(p))] < place;
  }

  void enter(const Constr* c, bool learnt) {
    demand(owned.insert(c).second, "a constraint is owned twice");
    if (const auto* clause = dynamic_cast<const Clause*>(c)) {
      demand(clause->learnt() == learnt, *clause, " is in the wrong database");
      clauses.push_back(clause);
    } else {
      const auto* pb = dynamic_cast<const PseudoBool*>(c);
      demand(pb != nullptr && pb->learnt() == learnt, "a constraint is in the wrong database");
      pbs.push_back(pb);
    }
  }

 public:
  explicit Pass(const Solver& solver)
      : S(solver), position(static_cast<size_t>(solver.nVars()), -1) {}

  void databases() {
    for (int i = 0; i < S.constrs.size(); i++) enter(S.constrs[i], false);
    for (int i = 0; i < S.learnts.size(); i++) enter(S.learnts[i], true);
    for (int i = 0; i < S.pb_learnts.size(); i++) enter(S.pb_learnts[i], true);
    demand(S.objConstr == nullptr || owned.count(S.objConstr) != 0, "the objective is not owned");
  }

  void trail() {
    int level = 0;
    for (int i = 0; i < S.trail.size(); i++) {
      while (level < S.decisionLevel() && S.trail_lim[level] <= i) level++;
      const Lit p = S.trail[i];
      const Var x = var(p);
      demand(position[static_cast<size_t>(x)] == -1, p, " is on the trail twice");
      position[static_cast<size_t>(x)] = i;
      demand(S.value(p) == l_True, p, " is on the trail and not true");
      demand(S.level[x] == level, p, " stands at level ", level, ", not ", S.level[x]);

      const bool opens_level = level > 0 && i == S.trail_lim[level - 1];
      const bool has_reason = S.reason[x] != nullptr;
      demand(level > 0 || !has_reason, p, " has a reason at level 0");
      // Assumptions may be true already, so up to the root a level need not begin with a decision;
      // there, and only there, facts without a reason are asserted, too.
      demand(level <= S.root_level || has_reason != opens_level, p, " at level ", level,
             has_reason ? " has a reason but was decided" : " has neither reason nor decision");
    }
    for (Var x = 0; x < S.nVars(); x++) {
      demand(S.value(Lit(x)) == S.value(x) && S.value(~Lit(x)) == ~S.value(x), "x", x,
             " and its literals differ in value");
      if (position[static_cast<size_t>(x)] != -1) continue;
      demand(S.value(x) == l_Undef && S.level[x] == -1 && S.reason[x] == nullptr, "x", x,
             " is not on the trail, but not quite unassigned");
    }
    demand(S.trail_pb.size() == S.trail_lim.size(), "levels and their flags differ in number");
    demand(S.propQ.size() <= S.trail.size(), "more is pending than assigned");
    for (int i = S.trail.size() - S.propQ.size(); i < S.trail.size(); i++)
      demand(S.propQ.has(S.trail[i]), "the queue is no end of the trail: ", S.trail[i]);
    for (int i = 0; i < S.analyze_seen.size(); i++)
      demand(S.analyze_seen[i] == 0, "x", i, " keeps its mark of conflict analysis");
  }

  /// Every reason implies its literal from what was false before.
  void reasons() {
    for (int i = 0; i < S.trail.size(); i++) {
      const Lit p = S.trail[i];
      const Constr* const from = S.reason[var(p)];
      if (from == nullptr) continue;
      demand(owned.count(from) != 0, "the reason of ", p, " has been removed");
      if (const auto* c = dynamic_cast<const Clause*>(from)) {
        demand((*c)[0] == p, p, " is not the first literal of its reason, ", *c);
        for (int k = 1; k < c->size(); k++)
          demand(falseBefore((*c)[k], i), *c, " does not imply ", p);
        demand(S.reason_coeff[var(p)] == 1, "wrong coefficient of ", p, " in ", *c);
      } else {
        const auto& pb = static_cast<const PseudoBool&>(*from);
        int64 others = 0;
        int64 own = 0;
        for (int k = 0; k < pb.size(); k++) {
          if (pb[k].lit == p) {
            own = pb[k].coeff();
          } else if (!falseBefore(pb[k].lit, i)) {
            others += pb[k].coeff();
          }
        }
        demand(own > 0 && others < pb.rhs_max, pb, " does not imply ", p);
        demand(S.reason_coeff[var(p)] == own, "wrong coefficient of ", p, " in ", pb);
      }
    }
  }

  void clauseWatches() {
    std::map<std::pair<const Constr*, int>, int> entries;
    size_t total = 0;
    for (int list = 0; list < S.watches.size(); list++) {
      for (int i = 0; i < S.watches[list].size(); i++) {
        entries[{S.watches[list][i], list}]++;
        total++;
      }
    }
    for (const Clause* c : clauses) {
      demand(c->size() >= 2, *c, " is too short to be watched");
      for (int k = 0; k < 2; k++) {
        const auto found = entries.find({c, index(~(*c)[k])});
        demand(found != entries.end() && found->second == 1, *c, " is watched ",
               found == entries.end() ? 0 : found->second, " times for ", (*c)[k]);
      }
    }
    demand(total == 2 * clauses.size(), "there are ", total, " clause watches for ", clauses.size(),
           " clauses");
  }

  void pbWatches() {
    std::map<std::pair<const Constr*, int>, int> entries; // per constraint and term
    for (int list = 0; list < S.pb_watches.size(); list++) {
      for (int i = 0; i < S.pb_watches[list].size(); i++) {
        const pbWatchTerm& entry = S.pb_watches[list][i];
        demand(owned.count(entry.pb) != 0, "a removed constraint is watched");
        const auto& pb = static_cast<const PseudoBool&>(*entry.pb);
        demand(entry.index >= 0 && entry.index < pb.size() && index(~pb[entry.index].lit) == list,
               "term ", entry.index, " is in the wrong watch list: ", pb);
        entries[{entry.pb, entry.index}]++;
      }
    }
    for (const PseudoBool* pb : pbs) {
      int64 watched = 0;
      int64 total = 0;
      for (int k = 0; k < pb->size(); k++) {
        const PBTerm& term = (*pb)[k];
        const auto found = entries.find({pb, k});
        const int there = found == entries.end() ? 0 : found->second;
        const bool flagged = pb->is_watched(k) || pb->is_fakewatched(k);
        demand(!pb->is_watched(k) || !pb->is_fakewatched(k), "both flags are set: ", *pb);
        // Tightening clears the objective's flags and leaves the entries to the next visit.
        demand(pb == S.objConstr ? !flagged || there >= 1 : there == (flagged ? 1 : 0), "term ", k,
               " has ", there, " watch entries: ", *pb);
        if (pb->is_watched(k)) watched += term.coeff();
        total += term.coeff();
        demand(term.coeff() > 0 && (k == 0 || term.coeff() <= (*pb)[k - 1].coeff()),
               "not in normal form: ", *pb);
      }
      demand(pb->watchsum == watched, "watched sum ", pb->watchsum, " of ", *pb);
      demand(pb->overflow || pb->lhs_max == total, "sum ", pb->lhs_max, " of ", *pb);
    }
  }

  void order() {
    const VarOrder& o = S.order;
    demand(o.varpos.size() == S.nVars(), "the order does not know all variables");
    for (int rank = 0; rank < o.blocks.size(); rank++) {
      const VarOrder::Block& block = o.table[o.blocks[rank]];
      demand(block.rank == rank && block.size > 0 && block.size <= VarOrder::block_room, "block ",
             rank, " of the order has rank ", block.rank, " and size ", block.size);
    }
    const std::vector<Var> sequence = SolverAudit::sequence(o);
    size_t decided = 0;
    for (Var x = 0; x < S.nVars(); x++) {
      if (o.varpos[x] == -1) continue;
      decided++;
      demand(o.varpos[x] < o.order.size() && o.order[o.varpos[x]] == x, "x", x, " is misplaced");
    }
    demand(decided == sequence.size() && o.nordered == static_cast<int>(decided),
           "the order lists variables that are never decided");
    for (size_t i = 1; i < decided; i++) {
      const Var x = sequence[i];
      demand(o.position(sequence[i - 1]) < o.position(x), "x", x, " has a wrong position");
      demand(S.activity[sequence[i - 1]] >= S.activity[x], "x", x,
             " is less active than its place in the order");
    }
    for (const Var x : sequence)
      demand(o.position(x) >= o.last_var || S.value(x) != l_Undef, "x", x,
             " is open before the scan start");
  }

  /// What propagation promises. A problem clause and a problem constraint imply all they can. What
  /// was learnt may miss an implication: a learnt clause that is stored without being asserted
  /// where it is unit already, or a learnt constraint or objective of which backtracking has opened
  /// larger terms than those its watches were chosen for. None of them misses its violation.
  void fixpoint() {
    demand(S.propQ.size() == 0, "propagation has not ended");
    // Then all learnt clauses come from plain conflict analysis.
    const bool clauses_only = S.stats.inspects == 0;

    for (const Clause* c : clauses) {
      int open = 0;
      bool satisfied = false;
      for (int k = 0; k < c->size(); k++) {
        open += S.value((*c)[k]) == l_Undef;
        satisfied = satisfied || S.value((*c)[k]) == l_True;
      }
      demand(satisfied || open > 0, "violated unnoticed: ", *c);
      if (!c->learnt() || clauses_only) demand(satisfied || open > 1, "unit unnoticed: ", *c);
    }
    for (const PseudoBool* pb : pbs) {
      int64 open_sum = 0; // of the terms not false
      int largest_open = 0;
      for (int k = 0; k < pb->size(); k++) {
        const PBTerm& term = (*pb)[k];
        const lbool value = S.value(term.lit);
        demand(value != l_False || !pb->is_watched(k), "term ", k, " is false and counted: ", *pb);
        if (value != l_False) open_sum += term.coeff();
        if (value == l_Undef && largest_open == 0) largest_open = term.coeff();
      }
      demand(open_sum >= pb->rhs_max, "violated unnoticed: ", *pb);
      demand(pb->watchsum >= pb->rhs_max, "too little is watched: ", *pb);
      if (!pb->learnt() && pb != S.objConstr)
        demand(largest_open == 0 || open_sum >= static_cast<int64>(pb->rhs_max) + largest_open,
               "implies unnoticed: ", *pb);
    }
  }
};

std::vector<Var> SolverAudit::sequence(const VarOrder& order) {
  vec<Var> flat;
  order.flatten(flat);
  std::vector<Var> result;
  for (int i = 0; i < flat.size(); i++) result.push_back(flat[i]);
  return result;
}

int SolverAudit::scanStart(const VarOrder& order) {
  int before = 0;
  for (const Var x : sequence(order)) before += order.position(x) < order.last_var ? 1 : 0;
  return before;
}

std::string SolverAudit::check(const Solver& S) {
  try {
    Pass pass(S);
    pass.databases();
    pass.trail();
    pass.reasons();
    pass.clauseWatches();
    pass.pbWatches();
    pass.order();
  } catch (const std::logic_error& fault) {
    return fault.what();
  }
  return "";
}

std::string SolverAudit::checkFixpoint(const Solver& S) {
  const std::string fault = check(S);
  if (!fault.empty()) return fault;
  try {
    Pass pass(S);
    pass.databases();
    pass.fixpoint();
  } catch (const std::logic_error& missed) {
    return missed.what();
  }
  return "";
}

void SolverAudit::enforce(const Solver& S, AuditPoint point) {
  static constexpr const char* names[] = {"a fixpoint", "a conflict", "learning", "a reduction",
                                          "a tightening"};
  const bool propagated = point == AuditPoint::fixpoint || point == AuditPoint::reduced;
  const std::string fault = propagated ? checkFixpoint(S) : check(S);
  if (!fault.empty())
    throw std::logic_error(std::string("audit after ") + names[static_cast<int>(point)] + ": " +
                           fault);
}

void SolverAudit::enable() {
#ifndef NDEBUG
  search_audit = enforce;
#endif
}

void SolverAudit::emptyAccumulator(Solver& S) {
  S.accumulator.growTo(S.nVars());
  S.accumulator.clear();
}
