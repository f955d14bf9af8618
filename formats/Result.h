/// \file
/// What the readers hand back: a value, or the one error that kept them from it. Nothing in this
/// library throws on account of its input; only exhausted memory surfaces as `std::bad_alloc`.
#ifndef QUILLON_FORMATS_RESULT_H
#define QUILLON_FORMATS_RESULT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace formats {

/// A place in a text: line and column, both counted from 1 and in bytes. Line 0 stands for a place
/// that is not in any text.
struct Place {
  std::uint32_t line = 0;
  std::uint32_t column = 0;

  /// The place at `line` and `column`; numbers too large for the record are cut to the largest.
  static Place at(std::size_t line, std::size_t column) {
    constexpr std::size_t largest = std::numeric_limits<std::uint32_t>::max();
    return {static_cast<std::uint32_t>(std::min(line, largest)),
            static_cast<std::uint32_t>(std::min(column, largest))};
  }
  bool operator==(const Place&) const = default;
};

/// Why a text was refused.
struct Error {
  Place place;         ///< where; line 0 when the trouble is not at one place
  std::string message; ///< one line without a line end, without the place
  /// Our own format only: the ordinal of the word being read, comment skips counted as words, which
  /// is the number the solver's own messages begin with.
  std::size_t word = 0;
  /// Whether the text is well formed as far as it was read, but has numbers beyond `int_width`.
  bool beyond_width = false;

  /// "LINE:COLUMN: message", or the bare message when there is no place.
  std::string text() const {
    if (place.line == 0) return message;
    return std::to_string(place.line) + ":" + std::to_string(place.column) + ": " + message;
  }
};

/// A value of type T, or the error that kept it from being made.
template <class T> class Result {
  std::optional<T> value_;
  Error error_;

 public:
  Result(T value) : value_(std::move(value)) {}
  Result(Error error) : error_(std::move(error)) {}

  /// True when there is a value.
  explicit operator bool() const { return value_.has_value(); }
  /// The value, which must be there.
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }
  /// Why there is no value; meaningless when there is one.
  const Error& error() const { return error_; }
};

} // namespace formats

#endif
