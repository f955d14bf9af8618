/// \file
/// Stored constraints as they lie in the arena. All kinds begin with the same header; what the
/// constraint says never changes while it is attached, only what propagation keeps with it.
#ifndef ESTOC_CONSTRAINTS_CONSTRAINT_H
#define ESTOC_CONSTRAINTS_CONSTRAINT_H

#include "Arena.h"
#include "estoc/Types.h"

namespace estoc {

enum class Kind : std::uint8_t {
  clause,      ///< at least one literal is true
  cardinality, ///< at least `degree` literals are true
  general32,   ///< coefficients of 32 bits, sums of 64
  general64,   ///< coefficients of 64 bits, sums of 128
  general128   ///< coefficients and sums of 128 bits; the row's sum is below 2^127
};

/// What every stored constraint begins with.
struct Header {
  std::uint64_t id;   ///< number in the proof, if one is written
  std::uint32_t size; ///< number of literals or terms
  Kind kind;
  std::uint8_t learnt : 1;
  std::uint8_t removed : 1;  ///< no longer part of the problem; space to be reclaimed
  std::uint8_t marked : 1;   ///< scratch for whoever needs a mark for a while; 0 in between
  std::uint8_t vivified : 1; ///< clauses: vivification has tried this one
  std::uint8_t compared : 1; ///< clauses: subsumption has compared this one with all others
  std::uint8_t used : 2;     ///< reductions that it survives because it was of use lately
  std::uint8_t partial : 1;  ///< general constraints: not all literals are watched
  std::uint16_t glue;        ///< decision levels among its falsified literals when learnt or used
};
static_assert(sizeof(Header) == 16);

struct Clause : Header {
  Lit* literals() { return reinterpret_cast<Lit*>(this + 1); }
  const Lit* literals() const { return reinterpret_cast<const Lit*>(this + 1); }
  static std::size_t bytes(std::size_t size) { return sizeof(Clause) + size * sizeof(Lit); }
};

/// The first degree + 1 literals are watched.
struct Cardinality : Header {
  std::uint32_t degree; ///< 2 <= degree < size
  std::uint32_t cursor; ///< where the search for another watch goes on, in [degree + 1, size)
  Lit* literals() { return reinterpret_cast<Lit*>(this + 1); }
  const Lit* literals() const { return reinterpret_cast<const Lit*>(this + 1); }
  static std::size_t bytes(std::size_t size) { return sizeof(Cardinality) + size * sizeof(Lit); }
};

/// sum coefficient * literal >= degree, with positive coefficients in falling order. The literals
/// are watched all of them, or with `partial` some: these alone have a slack of at least the
/// largest coefficient, or else (`exhausted`) all others are false, or the constraint has been
/// satisfied when the last of them became false.
template <class C, class S> struct General : Header {
  using Coefficient = C;
  using Sum = S;
  // A visit that implies nothing takes these three, which stand together for that.
  S slack;     ///< sum over the watched literals not yet seen falsified, less the degree
  C largest;   ///< coefficient of the first term
  C threshold; ///< coefficient at the cursor, 0 at the end: a slack that reaches it implies nothing
  S degree;
  std::uint32_t cursor;    ///< all terms before it are assigned, or what is true is enough; if the
                           ///< threshold is the largest coefficient, it is 0 whatever stands here
  std::uint32_t scan;      ///< where the search for more literals to watch goes on
  std::uint32_t satisfier; ///< a term that has lately been true and enough by itself, or any other
  bool exhausted;
  Term<C>* terms() { return reinterpret_cast<Term<C>*>(this + 1); }
  const Term<C>* terms() const { return reinterpret_cast<const Term<C>*>(this + 1); }
  std::uint32_t position() const { return threshold == largest ? 0 : cursor; }
  void setCursor(std::uint32_t place) {
    cursor = place;
    threshold = place < size ? terms()[place].coefficient : C(0);
  }
  /// With `partial`: a bit for each term, whether it is watched.
  bool isWatched(std::uint32_t i) const { return (bits()[i / 32] >> (i % 32) & 1U) != 0; }
  void watch(std::uint32_t i) { bits()[i / 32] |= 1U << (i % 32); }
  void unwatch(std::uint32_t i) { bits()[i / 32] &= ~(1U << (i % 32)); }
  static std::size_t bytes(std::size_t size) {
    return sizeof(General) + size * sizeof(Term<C>) + (size + 31) / 32 * sizeof(std::uint32_t);
  }

 private:
  std::uint32_t* bits() { return reinterpret_cast<std::uint32_t*>(terms() + size); }
  const std::uint32_t* bits() const {
    return reinterpret_cast<const std::uint32_t*>(terms() + size);
  }
};
using General32 = General<std::int32_t, std::int64_t>;
using General64 = General<std::int64_t, Int128>;
using General128 = General<Int128, Int128>;

/// The bytes of a constraint in the arena.
inline std::size_t bytesOf(const Header& c) {
  switch (c.kind) {
  case Kind::clause:
    return Clause::bytes(c.size);
  case Kind::cardinality:
    return Cardinality::bytes(c.size);
  case Kind::general32:
    return General32::bytes(c.size);
  case Kind::general64:
    return General64::bytes(c.size);
  case Kind::general128:
    break;
  }
  return General128::bytes(c.size);
}

/// Calls `f` with the general constraint `c` as what it is.
template <class F> decltype(auto) withGeneral(Header& c, F&& f) {
  if (c.kind == Kind::general32) return f(static_cast<General32&>(c));
  if (c.kind == Kind::general64) return f(static_cast<General64&>(c));
  assert(c.kind == Kind::general128);
  return f(static_cast<General128&>(c));
}

/// The term of `c` at that place.
inline Term<Int128> termAt(Header& c, std::uint32_t place) {
  if (c.kind == Kind::clause) return {1, static_cast<Clause&>(c).literals()[place]};
  if (c.kind == Kind::cardinality) return {1, static_cast<Cardinality&>(c).literals()[place]};
  return withGeneral(c, [&](auto& g) {
    return Term<Int128>{static_cast<Int128>(g.terms()[place].coefficient),
                        g.terms()[place].literal};
  });
}

/// Calls `f(coefficient, literal)` for each term of `c`, coefficients as Int128.
template <class F> void forEachTerm(Header& c, F&& f) {
  switch (c.kind) {
  case Kind::clause: {
    const Lit* const l = static_cast<Clause&>(c).literals();
    for (std::uint32_t i = 0; i < c.size; i++) f(Int128{1}, l[i]);
    return;
  }
  case Kind::cardinality: {
    const Lit* const l = static_cast<Cardinality&>(c).literals();
    for (std::uint32_t i = 0; i < c.size; i++) f(Int128{1}, l[i]);
    return;
  }
  default:
    withGeneral(c, [&](auto& g) {
      for (std::uint32_t i = 0; i < g.size; i++)
        f(static_cast<Int128>(g.terms()[i].coefficient), g.terms()[i].literal);
    });
  }
}

/// Calls `f(literal)` for each literal of `c`.
template <class F> void forEachLiteral(Header& c, F&& f) {
  const auto plain = [&](const Lit* l) {
    for (std::uint32_t i = 0; i < c.size; i++) f(l[i]);
  };
  if (c.kind == Kind::clause) return plain(static_cast<Clause&>(c).literals());
  if (c.kind == Kind::cardinality) return plain(static_cast<Cardinality&>(c).literals());
  withGeneral(c, [&](auto& g) {
    for (std::uint32_t i = 0; i < g.size; i++) f(g.terms()[i].literal);
  });
}

/// The degree of any stored constraint.
inline Int128 degreeOf(Header& c) {
  if (c.kind == Kind::clause) return 1;
  if (c.kind == Kind::cardinality) return static_cast<Cardinality&>(c).degree;
  return withGeneral(c, [](auto& g) { return static_cast<Int128>(g.degree); });
}

} // namespace estoc

#endif
