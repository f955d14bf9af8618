/// \file
/// The curves of a run as SVG: what is known about the optimum, and how far its bounds are apart.
#ifndef QUILLON_PROGRAM_PLOT_H
#define QUILLON_PROGRAM_PLOT_H

#include "Findings.h"

#include <string>
#include <vector>

/// What has happened in a run with an objective.
struct Timeline {
  std::vector<Findings::Event> events; ///< one at least, by ascending time
  process::Ticks ended = 0;
  Bounds bounds = {}; ///< at the end
  bool maximises = false;
};

/// Those who have found something, in order of their first find, each with a colour.
class Finders {
  std::vector<std::string> names;

 public:
  explicit Finders(const std::vector<Findings::Event>& events);
  std::size_t size() const { return names.size(); }
  const std::string& operator[](std::size_t i) const { return names[i]; }
  /// The class in the style sheet that has the colour; those who come late share one.
  std::string colourOf(const std::string& name) const;
};

/// Solutions and bounds over time, with a legend, and below them the gap, if there ever was one.
/// Thousands of points are thinned, so that in each narrow strip of time the first, the last, the
/// lowest and the highest remain of what each finder has found.
std::string plotOf(const Timeline& timeline, const Finders& finders);

/// The shape of a solution or a bound in the finder's colour, for use within text.
std::string symbolOf(Findings::What what, const std::string& colour);

#endif
