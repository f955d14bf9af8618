/// \file
/// The decision order: which variable the search assigns next.
#ifndef QUILLON_VAR_ORDER_H
#define QUILLON_VAR_ORDER_H

#include "Global.h"
#include "SolverTypes.h"

/// The decision variables by descending activity, kept in order by insertion steps, with a scan
/// position before which every variable is assigned.
///
/// The sequence is cut into blocks of limited size, so that a step across it moves the variables of
/// two blocks and not all those passed: it costs the same however many variables there are. Blocks
/// lie anywhere in `order`; `blocks` has them in sequence. A position, for comparing, is the rank
/// of the variable's block in the sequence times `block_room` plus the place within the block;
/// positions are in order but need not be consecutive.
class VarOrder {
  /// Over 100 thousand variables blocks of 32 cost 5 % more instructions, of 64 and of 2048 some 2
  /// % more, of 256 and 512 under 1 % less; in cnf_add64, of 1400 variables, of 256 and more 3 % to
  /// 8 % more.
  static constexpr int block_bits = 7;
  static constexpr int block_room = 1 << block_bits; ///< a small problem has one block

  struct Block {
    int rank = 0; ///< where it stands in `blocks`
    int size = 0; ///< variables in it, none only while it is in `spare`
  };

  const vec<signed char>& assigns; ///< the solver's values
  const vec<double>& activity;     ///< the solver's activities
  vec<int> varpos;                 ///< per variable: its place in `order`, -1 if never decided
  vec<Var> order;                  ///< block b holds places from b * block_room on
  vec<Block> table;                ///< the blocks by number
  vec<int> blocks;                 ///< their numbers, by non-increasing activity of the variables
  vec<int> spare;                  ///< numbers of blocks that have become empty
  int nordered = 0;                ///< number of decision variables
  double random_seed = 91648253;
  int64 last_var = 0; ///< all variables at lower positions are assigned

  friend class SolverAudit;

  static int blockAt(int place) { return place >> block_bits; }
  static int slotAt(int place) { return place & (block_room - 1); }
  static int64 positionAt(int rank, int slot) {
    return static_cast<int64>(rank) * block_room + slot;
  }
  Var* members(int block) { return &order[block * block_room]; }
  const Var* members(int block) const { return &order[block * block_room]; }
  /// The position of decision variable x.
  int64 position(Var x) const {
    return positionAt(table[blockAt(varpos[x])].rank, slotAt(varpos[x]));
  }

  /// An empty block behind the one of rank `rank` - 1.
  int newBlock(int rank);
  /// Moves the upper half of a full block to a new one behind it.
  void split(int block);
  /// Takes the variable at `slot` out of its block.
  void takeOut(int block, int slot);
  /// Puts x at `slot` of a block, which is not full; what is there and behind moves on.
  void putIn(int block, int slot, Var x);
  /// The first variable among the first `size` of `block` with an activity below `act`; `size` if
  /// there is none.
  int firstBelow(double act, int block, int size) const;
  /// Puts x behind all others.
  void append(Var x);
  /// Moves x, whose activity is `act`, to the first block that ends below that, if there is one
  /// before its own, which is not the first.
  void moveAcross(Var x, double act);
  /// The variable that `before` others precede.
  Var at(int before) const;
  /// All decision variables in order, and the same for starting anew with them so.
  void flatten(vec<Var>& sequence) const;
  void refill(const vec<Var>& sequence);

 public:
  /// Binds to the solver's tables, which must outlive the order.
  VarOrder(const vec<signed char>& values, const vec<double>& activities)
      : assigns(values), activity(activities) {}

  /// Makes room for `nvars` variables in all.
  void reserve(int nvars) {
    varpos.reserve(nvars);
    order.reserve(nvars);
  }
  /// Registers the next variable, at the end of the order if it is a decision variable.
  void newVar(bool decision_var);
  bool decisionVar(Var x) const { return varpos[x] != -1; }
  /// Restores the order after x's activity has grown. Variables of equal activity stay in the order
  /// in which they reached it. x must be assigned, or nothing selected since it was not.
  void update(Var x);
  /// To be called when x has become unassigned.
  void undo(Var x) {
    if (!decisionVar(x)) return;
    const int64 pos = position(x);
    if (pos < last_var) last_var = pos;
  }
  /// The unassigned variable of highest activity, or with probability `random_var_freq` one drawn
  /// at random if that is unassigned; -1 when every decision variable is assigned.
  Var select(double random_var_freq);
  /// The memory it takes, gaps within blocks included.
  size_t bytes() const {
    return varpos.bytes() + order.bytes() + table.bytes() + blocks.bytes() + spare.bytes();
  }
  /// Sorts everything anew by activity.
  void updateAll();
  /// Reorders the first `nvars` positions at random.
  void permute(int nvars);
};

#endif
