/// \file
/// Scales, and steps that people count in.
#include "Axes.h"

#include "Markup.h"

#include <algorithm>
#include <cmath>

namespace {

using formats::Int;

/// Labels closer than this share of an axis would touch.
constexpr double label_distance = 0.09;
/// An axis is logarithmic when its values span more than this factor.
constexpr double wide_span = 30;

/// The least of 1, 2, 5, 10, 20... times a power of ten that is at least `least`, above 0.
double niceStep(double least) {
  const double power = std::pow(10, std::floor(std::log10(least)));
  for (const double factor : {1.0, 2.0, 5.0})
    if (factor * power >= least * (1 - 1e-9)) return factor * power;
  return 10 * power;
}

/// Takes the labels away that would touch the one before.
std::vector<Tick> withRoom(std::vector<Tick> made, double distance) {
  double last = -1;
  for (Tick& tick : made) {
    if (tick.label.empty()) continue;
    if (tick.at - last < distance)
      tick.label.clear();
    else
      last = tick.at;
  }
  return made;
}

/// 10 to the power of `exponent`, 0 to 38.
Int powerOfTen(int exponent) {
  Int power = 1;
  for (int i = 0; i < exponent; i++) power *= 10;
  return power;
}

/// `to` - `from`, as near as a double comes; the difference may have 128 bits.
double distance(Int from, Int to) {
  __extension__ typedef unsigned __int128 Unsigned;
  if (to < from) return -distance(to, from);
  return static_cast<double>(static_cast<Unsigned>(to) - static_cast<Unsigned>(from));
}

/// Short, but such that neighbours, `step` apart, differ.
std::string labelOf(Int value, Int step) {
  const Int size = formats::magnitude(value);
  const std::string digits = formats::toString(size);
  constexpr std::size_t short_enough = 9;
  if (digits.size() <= short_enough) return html::number(value);
  // Digits from that of the step on; the value is a multiple of it.
  const std::size_t last = formats::toString(step).size();
  const std::string sign = value < 0 ? "\xE2\x88\x92" : "";
  constexpr std::size_t most_places = 6;
  if (digits.size() - last > most_places)
    return sign + "\xE2\x80\xA6" + digits.substr(digits.size() - last - 2);
  std::string places = digits.substr(1, digits.size() - last);
  while (!places.empty() && places.back() == '0') places.pop_back();
  return sign + digits[0] + (places.empty() ? "" : "." + places) + "e" +
         std::to_string(digits.size() - 1);
}

/// A power of ten.
std::string exponentOf(Int power) {
  return "1e" + std::to_string(formats::toString(power).size() - 1);
}

} // namespace

TimeAxis::TimeAxis(const std::vector<process::Ticks>& times, process::Ticks end) {
  constexpr double shortest = 1e-4;
  last = std::max(process::seconds(end), shortest);
  if (times.empty()) return;
  const double begin = std::clamp(process::seconds(times.front()), shortest, last);
  const double middle = process::seconds(times[times.size() / 2]);
  constexpr double early = 8;
  is_logarithmic = last > wide_span * begin && last > early * middle;
  if (is_logarithmic)
    first = begin * 0.8;
  else if (begin > last / 2) // reading and loading took most of the time
    first = std::min(begin - 0.1 * (last - begin), 0.9 * last);
}

double TimeAxis::atSeconds(double seconds) const {
  const double inside = std::clamp(seconds, first, last);
  if (is_logarithmic) return std::log(inside / first) / std::log(last / first);
  return (inside - first) / (last - first);
}

std::vector<Tick> TimeAxis::ticks() const {
  std::vector<Tick> made;
  constexpr int most = 6;
  if (!is_logarithmic) {
    const double step = niceStep((last - first) / (most - 1));
    for (int i = static_cast<int>(std::ceil(first / step)); i * step <= last * (1 + 1e-9); i++)
      made.push_back({atSeconds(i * step), i == 0 ? "0" : html::duration(i * step)});
    return made;
  }
  const int low = static_cast<int>(std::floor(std::log10(first)));
  const int high = static_cast<int>(std::floor(std::log10(last)));
  const int stride = 1 + (high - low) / most;
  for (int decade = low; decade <= high; decade++) {
    for (const int factor : {1, 2, 5}) {
      const double seconds = factor * std::pow(10, decade);
      if (seconds < first || seconds > last) continue;
      const bool labelled = high - low <= 2 || (factor == 1 && (decade - low) % stride == 0);
      made.push_back({atSeconds(seconds), labelled ? html::duration(seconds) : ""});
    }
  }
  constexpr double wide_label = 0.13;
  return withRoom(std::move(made), wide_label);
}

ValueAxis::ValueAxis(const std::vector<Int>& values, Int scale) {
  const auto [least, largest] = std::minmax_element(values.begin(), values.end());
  low = *least;
  const double extreme = std::max(std::abs(distance(0, *least)), std::abs(distance(0, *largest)));
  is_logarithmic = extreme > wide_span * std::max(1.0, distance(0, scale));
  bottom = measure(*least);
  top = measure(*largest);
  // A single value lies in the middle.
  const double margin = top > bottom ? 0.06 * (top - bottom) : is_logarithmic ? 0.5 : 1.5;
  bottom -= margin;
  top += margin;
}

double ValueAxis::measure(Int value) const {
  if (!is_logarithmic) return distance(low, value);
  const double size = std::abs(distance(0, value));
  return value < 0 ? -std::log10(1 + size) : std::log10(1 + size);
}

std::vector<Tick> ValueAxis::ticks() const {
  return is_logarithmic ? logarithmicTicks() : linearTicks();
}

std::vector<Tick> ValueAxis::linearTicks() const {
  constexpr int most = 6;
  const double wanted = std::max(1.0, niceStep((top - bottom) / most));
  // Below 10^38, since the axis spans less than 2^129.
  const int exponent = static_cast<int>(std::floor(std::log10(wanted) + 1e-9));
  const auto factor = static_cast<int>(std::llround(wanted / std::pow(10, exponent)));
  const Int step = factor * powerOfTen(exponent);
  std::vector<Tick> made;
  Int value = low - low % step; // towards 0, so it cannot leave the range
  while (at(value) > 0 && value >= -formats::largest_int + step) value -= step;
  for (;;) {
    const double place = at(value);
    if (place > 1) break;
    if (place >= 0) made.push_back({place, labelOf(value, step)});
    if (value > formats::largest_int - step) break;
    value += step;
  }
  return made;
}

std::vector<Tick> ValueAxis::logarithmicTicks() const {
  std::vector<Tick> made;
  const auto add = [&](Int value) {
    const double place = at(value);
    if (place < 0 || place > 1) return;
    constexpr Int in_full = 10000;
    const Int size = formats::magnitude(value);
    made.push_back({place, size <= in_full ? html::number(value)
                                           : (value < 0 ? "\xE2\x88\x92" : "") + exponentOf(size)});
  };
  constexpr int largest_exponent = 38;
  for (int e = largest_exponent; e > 0; e--) add(-powerOfTen(e));
  add(0);
  for (int e = 1; e <= largest_exponent; e++) add(powerOfTen(e));
  return withRoom(std::move(made), label_distance);
}

ShareAxis::ShareAxis(const std::vector<double>& shares) {
  constexpr double finest = 1e-6;
  double largest = 0;
  double least = 1;
  for (const double share : shares) {
    largest = std::max(largest, share);
    if (share > 0) least = std::min(least, std::max(share, finest));
  }
  is_logarithmic = largest > wide_span * least;
  if (is_logarithmic) {
    bottom = std::floor(std::log10(least)) - 0.5; // where 0 is
    top = std::log10(largest) + 0.1;
  } else {
    top = 1.06 * largest;
  }
}

double ShareAxis::at(double share) const {
  double measure = share;
  if (is_logarithmic) // what is not 0 shows
    measure = share > 0 ? std::max(std::log10(share), bottom + 0.2) : bottom;
  return (measure - bottom) / (top - bottom);
}

std::vector<Tick> ShareAxis::ticks() const {
  std::vector<Tick> made = {{0, "0"}};
  constexpr int most = 4;
  if (is_logarithmic) {
    for (int decade = static_cast<int>(std::ceil(bottom)); decade <= top; decade++) {
      const double share = std::pow(10, decade);
      made.push_back({at(share), html::printed("%.3g%%", 100 * share)});
    }
  } else {
    const double step = niceStep(top / most);
    for (int i = 1; i * step <= top; i++)
      made.push_back({at(i * step), html::printed("%.3g%%", 100 * i * step)});
  }
  constexpr double low_panel = 0.15;
  return withRoom(std::move(made), low_panel);
}
