/// \file
/// What is beyond 64 bits, and texts.
#include "Integer.h"

#include "Refusal.h"

#include <charconv>
#include <limits>

namespace checker {

void Integer::set(const Wide& value) {
  const Wide size = value.sign() < 0 ? Wide(-value) : value;
  if (!size.is_zero() && msb(size) >= longest)
    throw Refusal("a number of more than " + std::to_string(longest) + " bits");
  if (value >= std::numeric_limits<std::int64_t>::min() &&
      value <= std::numeric_limits<std::int64_t>::max()) {
    narrow = static_cast<std::int64_t>(value);
    wide.reset();
  } else {
    narrow = 0;
    wide = std::make_unique<Wide>(value);
  }
}

std::optional<Integer> Integer::parse(std::string_view text) {
  constexpr std::size_t surely_narrow = 18; // digits
  if (text.size() <= surely_narrow) {       // nearly always a plain number
    std::int64_t number = 0;
    std::size_t i = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; i++)
      number = 10 * number + (text[i] - '0');
    if (i == text.size() && i > 0) return Integer(number);
  }
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return {};
  }
  Integer result;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result.narrow);
  if (error == std::errc::invalid_argument || end != text.data() + text.size()) return {};
  if (error == std::errc()) return result;
  const bool negative = text.starts_with('-');
  text.remove_prefix(negative ? 1 : 0);
  // Leading zeros would make it octal.
  text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
  const Wide size{std::string(text)};
  result.set(negative ? Wide(-size) : size);
  return result;
}

std::string Integer::text() const {
  return wide ? wide->str() : std::to_string(narrow);
}

Integer Integer::under(const Integer& divisor) const {
  if (!wide && !divisor.wide) {
    const std::int64_t rest = narrow % divisor.narrow;
    return narrow / divisor.narrow - (rest < 0 ? 1 : 0);
  }
  const Wide dividend = widened();
  const Wide by = divisor.widened();
  Wide quotient = dividend / by; // towards 0
  if (quotient * by > dividend) quotient -= 1;
  Integer result;
  result.set(quotient);
  return result;
}

Integer Integer::over(const Integer& divisor) const {
  if (!wide && !divisor.wide) {
    const std::int64_t rest = narrow % divisor.narrow;
    return narrow / divisor.narrow + (rest > 0 ? 1 : 0);
  }
  return -(-*this).under(divisor);
}

std::strong_ordering Integer::compareWide(const Integer& other) const {
  const int order = widened().compare(other.widened());
  return order <=> 0;
}

} // namespace checker
