/// \file
/// Integers without bound. Nearly all of them fit 64 bits, where each operation is one instruction
/// with a look at its overflow flag; what does not fit is left to a library.
#ifndef QUILLON_CHECKER_INTEGER_H
#define QUILLON_CHECKER_INTEGER_H

#include <boost/multiprecision/cpp_int.hpp>
#include <compare>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace checker {

class Integer {
  using Wide = boost::multiprecision::cpp_int;

  std::int64_t narrow = 0;    ///< the value, unless `wide` is there
  std::unique_ptr<Wide> wide; ///< the value if it does not fit `narrow`, which is 0 then

  Wide widened() const { return wide ? *wide : Wide(narrow); }
  void set(const Wide& value);

 public:
  Integer() = default;
  // cppcheck-suppress noExplicitConstructor ; plain numbers are meant to mix with these
  Integer(std::int64_t number) : narrow(number) {}
  Integer(const Integer& other)
      : narrow(other.narrow), wide(other.wide ? std::make_unique<Wide>(*other.wide) : nullptr) {}
  Integer(Integer&& other) noexcept = default;
  Integer& operator=(const Integer& other) {
    narrow = other.narrow;
    if (wide || other.wide) wide = other.wide ? std::make_unique<Wide>(*other.wide) : nullptr;
    return *this;
  }
  Integer& operator=(Integer&& other) noexcept = default;
  ~Integer() = default;

  /// The integer that `text` is: digits behind an optional sign; nothing if it is none.
  static std::optional<Integer> parse(std::string_view text);
  std::string text() const;

  bool fits() const { return !wide; }
  /// The value, which must fit.
  std::int64_t value() const { return narrow; }
  int sign() const { return wide ? wide->sign() : (narrow > 0) - (narrow < 0); }

  /// Each of these throws a Refusal when the result has more than `longest` bits: no proof needs
  /// that, and a few bytes of text could otherwise keep a machine busy for days.
  static constexpr unsigned longest = 1U << 20U;
  Integer& operator+=(const Integer& other) {
    if (std::int64_t sum = 0;
        !wide && !other.wide && !__builtin_add_overflow(narrow, other.narrow, &sum))
      narrow = sum;
    else
      set(widened() + other.widened());
    return *this;
  }
  Integer& operator-=(const Integer& other) {
    if (std::int64_t difference = 0;
        !wide && !other.wide && !__builtin_sub_overflow(narrow, other.narrow, &difference))
      narrow = difference;
    else
      set(widened() - other.widened());
    return *this;
  }
  Integer& operator*=(const Integer& other) {
    if (std::int64_t product = 0;
        !wide && !other.wide && !__builtin_mul_overflow(narrow, other.narrow, &product))
      narrow = product;
    else
      set(widened() * other.widened());
    return *this;
  }
  friend Integer operator+(Integer a, const Integer& b) { return std::move(a += b); }
  friend Integer operator-(Integer a, const Integer& b) { return std::move(a -= b); }
  friend Integer operator*(Integer a, const Integer& b) { return std::move(a *= b); }
  Integer operator-() const { return Integer(0) - *this; }

  friend bool operator==(const Integer& a, const Integer& b) {
    return (a <=> b) == 0; // NOLINT(modernize-use-nullptr): it is no pointer of ours
  }
  friend std::strong_ordering operator<=>(const Integer& a, const Integer& b) {
    if (!a.wide && !b.wide) return a.narrow <=> b.narrow;
    return a.compareWide(b);
  }

  /// This over a positive `divisor`, rounded up and down.
  Integer over(const Integer& divisor) const;  // up
  Integer under(const Integer& divisor) const; // down

 private:
  std::strong_ordering compareWide(const Integer& other) const;
};

/// The absolute value.
inline Integer magnitude(const Integer& a) {
  return a.sign() < 0 ? -a : a;
}

} // namespace checker

#endif
