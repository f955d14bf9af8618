/// \file
/// The axes of plots: where a value lies, and which values are labelled.
#ifndef QUILLON_PROGRAM_AXES_H
#define QUILLON_PROGRAM_AXES_H

#include "formats/Integer.h"
#include "process/Clock.h"

#include <string>
#include <vector>

/// A place on an axis that has a line, and a label if that is not empty.
struct Tick {
  double at; ///< from 0, the beginning of the axis, to 1
  std::string label;
};

/// Time since the beginning of a run. Logarithmic when most of what happens does so early; without
/// the beginning when nothing happens in the first half.
class TimeAxis {
  bool is_logarithmic = false;
  double first = 0; ///< seconds
  double last = 0;

 public:
  /// `times` of what happens, ascending, and the end of the run.
  TimeAxis(const std::vector<process::Ticks>& times, process::Ticks end);
  bool isLogarithmic() const { return is_logarithmic; }
  /// From 0 to 1.
  double at(process::Ticks time) const { return atSeconds(process::seconds(time)); }
  std::vector<Tick> ticks() const;

 private:
  double atSeconds(double seconds) const;
};

/// Values of an objective, any 127 bits. Places are those of exact differences, so that large
/// values that differ in their last digits are kept apart. Logarithmic, to both sides of 0, when
/// the early values are far larger than those that count in the end.
class ValueAxis {
  bool is_logarithmic = false;
  formats::Int low = 0;
  double bottom = 0; ///< in the measure of the axis
  double top = 0;

 public:
  /// From the least to the largest of `values`, of which there is one at least; those of the end
  /// are `scale` or less in magnitude.
  ValueAxis(const std::vector<formats::Int>& values, formats::Int scale);
  bool isLogarithmic() const { return is_logarithmic; }
  double at(formats::Int value) const { return (measure(value) - bottom) / (top - bottom); }
  std::vector<Tick> ticks() const;

 private:
  double measure(formats::Int value) const;
  std::vector<Tick> linearTicks() const;
  std::vector<Tick> logarithmicTicks() const;
};

/// Shares from 0 on; logarithmic above a strip for 0 when they span decades.
class ShareAxis {
  bool is_logarithmic = false;
  double bottom = 0; ///< in the measure of the axis
  double top = 0;

 public:
  /// From 0 to the largest of `shares`, which is not 0.
  explicit ShareAxis(const std::vector<double>& shares);
  bool isLogarithmic() const { return is_logarithmic; }
  double at(double share) const;
  std::vector<Tick> ticks() const;
};

#endif
