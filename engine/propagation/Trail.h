/// \file
/// The assignment: which literals are true, since when, and why.
#ifndef ESTOC_PROPAGATION_TRAIL_H
#define ESTOC_PROPAGATION_TRAIL_H

#include "constraints/Arena.h"
#include "estoc/Types.h"

#include <cassert>
#include <vector>

namespace estoc {

/// Literals in the order in which they became true, cut into decision levels. Level 0 holds what
/// is true in every solution.
class Trail {
  struct VarInfo {
    std::int32_t level;
    std::int32_t position;
    Ref reason;
  };
  std::vector<signed char> values; ///< per literal: 1 true, -1 false, 0 neither
  std::vector<VarInfo> infos;      ///< per variable; of use while it is assigned
  std::vector<Lit> stack;
  std::vector<std::int32_t> starts; ///< per level from 1: where it begins in the stack

 public:
  void addVariable() {
    values.push_back(0);
    values.push_back(0);
    infos.push_back({0, 0, no_ref});
  }
  Var variables() const { return static_cast<Var>(infos.size()); }

  signed char value(Lit l) const { return values[l.index()]; }
  bool isTrue(Lit l) const { return values[l.index()] > 0; }
  bool isFalse(Lit l) const { return values[l.index()] < 0; }
  bool isAssigned(Var v) const { return values[static_cast<std::size_t>(v) * 2] != 0; }
  /// The level at which assigned variable v became so.
  int level(Var v) const { return infos[static_cast<std::size_t>(v)].level; }
  /// The place of assigned variable v in the trail.
  int position(Var v) const { return infos[static_cast<std::size_t>(v)].position; }
  /// The constraint that implied v; `no_ref` for decisions and at level 0.
  Ref reason(Var v) const { return infos[static_cast<std::size_t>(v)].reason; }
  void setReason(Var v, Ref ref) { infos[static_cast<std::size_t>(v)].reason = ref; }

  /// False or true since level 0.
  bool isRootFalse(Lit l) const { return isFalse(l) && level(l.var()) == 0; }
  bool isRootTrue(Lit l) const { return isTrue(l) && level(l.var()) == 0; }
  bool isRootAssigned(Var v) const { return isAssigned(v) && level(v) == 0; }

  int size() const { return static_cast<int>(stack.size()); }
  Lit operator[](int i) const { return stack[static_cast<std::size_t>(i)]; }
  /// The current decision level.
  int level() const { return static_cast<int>(starts.size()); }
  /// Where level `l` begins in the trail; the trail's end for the level above the current one.
  int start(int l) const {
    if (l == 0) return 0;
    return l > level() ? size() : starts[static_cast<std::size_t>(l) - 1];
  }

  void openLevel() { starts.push_back(size()); }
  /// Makes l true at the current level; it must be unassigned.
  void push(Lit l, Ref reason) {
    assert(value(l) == 0);
    values[l.index()] = 1;
    values[(~l).index()] = -1;
    infos[static_cast<std::size_t>(l.var())] = {level(), size(), level() == 0 ? no_ref : reason};
    stack.push_back(l);
  }
  /// Takes back the levels above `l`.
  void cut(int l) {
    assert(l <= level());
    const int target = start(l + 1);
    for (int i = size(); i-- > target;) {
      const Lit taken = stack[static_cast<std::size_t>(i)];
      values[taken.index()] = 0;
      values[(~taken).index()] = 0;
    }
    stack.resize(static_cast<std::size_t>(target));
    starts.resize(static_cast<std::size_t>(l));
  }
};

} // namespace estoc

#endif
