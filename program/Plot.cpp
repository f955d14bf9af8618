/// \file
/// Curves, marks and the frame around them. Places are shares of width and height, so that a plot
/// takes whatever width there is while its labels keep their size.
#include "Plot.h"

#include "Axes.h"
#include "Markup.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace {

using What = Findings::What;

/// A place in a plot: shares from the left and from the bottom.
struct Point {
  double x;
  double y;
  std::size_t event = 0; ///< which it stands for
};
using Points = std::vector<Point>;

constexpr int curve_columns = 1000;
constexpr int mark_columns = 200;

/// Of points by ascending x those that are first, last, lowest or highest in their column.
Points thinned(const Points& points, int columns) {
  const auto columnOf = [columns](const Point& p) { return static_cast<int>(p.x * columns); };
  Points kept;
  for (std::size_t begin = 0, end; begin < points.size(); begin = end) {
    for (end = begin; end < points.size() && columnOf(points[end]) == columnOf(points[begin]);)
      end++;
    const auto first = points.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto behind = points.begin() + static_cast<std::ptrdiff_t>(end);
    const auto [lowest, highest] = std::minmax_element(
        first, behind, [](const Point& a, const Point& b) { return a.y < b.y; });
    for (auto p = first; p != behind; ++p)
      if (p == first || p + 1 == behind || p == lowest || p == highest) kept.push_back(*p);
  }
  return kept;
}

/// Curves are drawn on a square of this many units, from the top left.
constexpr double units = 1000;

std::string unitsOf(double share) {
  return html::printed("%.5g", std::clamp(share, 0.0, 1.0) * units);
}
std::string atX(const Point& p) {
  return unitsOf(p.x);
}
std::string atY(const Point& p) {
  return unitsOf(1 - p.y);
}
std::string percentOf(double share) {
  return html::printed("%.2f%%", 100 * std::clamp(share, 0.0, 1.0));
}

/// Steps through `points`, each of which holds until the next one, the last to the right edge.
std::string stepsOf(const Points& points) {
  std::string path = "M" + atX(points.front()) + " " + atY(points.front());
  for (std::size_t i = 1; i < points.size(); i++)
    path += "H" + atX(points[i]) + "V" + atY(points[i]);
  return path + "H" + unitsOf(1);
}

std::string curve(const Points& points, const std::string& kind) {
  if (points.empty()) return "";
  return "<path class=\"curve " + kind + "\" d=\"" + stepsOf(thinned(points, curve_columns)) +
         "\"/>";
}

/// The part of the curve from `x` on.
Points from(const Points& points, double x) {
  auto first = std::find_if(points.begin(), points.end(), [x](const Point& p) { return p.x > x; });
  Points part(first == points.begin() ? first : first - 1, points.end());
  part.front().x = std::max(part.front().x, x);
  return part;
}

/// What lies between two curves, where both are.
std::string areaBetween(const Points& a, const Points& b) {
  if (a.empty() || b.empty()) return "";
  const double x = std::max(a.front().x, b.front().x);
  const Points there = thinned(from(a, x), curve_columns);
  const Points back = thinned(from(b, x), curve_columns);
  std::string path = stepsOf(there) + "V" + atY(back.back());
  for (std::size_t i = back.size() - 1; i > 0; i--)
    path += "H" + atX(back[i]) + "V" + atY(back[i - 1]);
  return "<path class=\"open\" d=\"" + path + "H" + atX(back.front()) + "Z\"/>";
}

/// A plot without its content.
struct Frame {
  std::string kind; ///< class in the style sheet
  std::string description;
  std::string y_title; ///< what the values are
  std::vector<Tick> x;
  std::vector<Tick> y;
  bool is_time_logarithmic;
};

/// Characters of the longest label.
std::size_t lettersOf(const std::vector<Tick>& ticks) {
  std::size_t most = 0;
  for (const Tick& tick : ticks) most = std::max(most, html::lettersOf(tick.label));
  return most;
}

std::string framed(const Frame& frame, const std::string& curves, const std::string& marks) {
  std::string labels;
  std::string grid;
  for (const Tick& tick : frame.y) {
    const std::string y = percentOf(1 - tick.at);
    grid += "<line x1=\"0\" x2=\"100%\" y1=\"" + y + "\" y2=\"" + y + "\"/>";
    if (!tick.label.empty()) labels += "<span style=\"top:" + y + "\">" + tick.label + "</span>";
  }
  std::string times;
  for (const Tick& tick : frame.x) {
    const std::string x = percentOf(tick.at);
    grid += "<line" + std::string(tick.label.empty() ? " class=\"minor\"" : "") + " x1=\"" + x +
            "\" x2=\"" + x + "\" y1=\"0\" y2=\"100%\"/>";
    if (!tick.label.empty()) times += "<span style=\"left:" + x + "\">" + tick.label + "</span>";
  }
  return "<div class=\"plot " + frame.kind + "\">\n<div class=\"title\">" + frame.y_title +
         "</div>\n<div class=\"values\">" + labels +
         "</div>\n<svg class=\"field\" role=\"img\" xmlns=\"http://www.w3.org/2000/svg\" "
         "aria-label=\"" +
         frame.description + "\">\n<g class=\"grid\">" + grid +
         "</g>\n<svg viewBox=\"0 0 1000 1000\" preserveAspectRatio=\"none\">" + curves +
         "</svg>\n" + marks + "</svg>\n<div class=\"times\">" + times +
         "</div>\n<div class=\"note\">time since the start" +
         (frame.is_time_logarithmic ? ", logarithmic" : "") + "</div>\n</div>\n";
}

std::vector<process::Ticks> timesOf(const std::vector<Findings::Event>& events) {
  std::vector<process::Ticks> times;
  times.reserve(events.size());
  for (const Findings::Event& e : events) times.push_back(e.time);
  return times;
}

const char* nameOf(What what) {
  return what == What::solution ? "solution" : "bound";
}

std::string markOf(const Findings::Event& event, const Point& p, const std::string& colour) {
  return "<use class=\"mark " + colour + "\" href=\"#" + nameOf(event.what) + "\" x=\"" +
         percentOf(p.x) + "\" y=\"" + percentOf(1 - p.y) + "\"><title>" + nameOf(event.what) + " " +
         html::number(event.value) + ", " + html::duration(process::seconds(event.time)) + ", " +
         html::escaped(event.who) + "</title></use>\n";
}

std::string legendOf(const Timeline& timeline, const Finders& finders, bool solutions,
                     bool bounds) {
  const auto key = [](const std::string& kind, const std::string& words) {
    return "<li><svg class=\"key\" aria-hidden=\"true\"><path class=\"curve " + kind +
           "\" d=\"M1 8H19\"/></svg>" + words + "</li>";
  };
  std::string legend = "<ul class=\"legend\">";
  if (solutions) legend += key("solution", "best solution");
  if (bounds)
    legend += key("bound", timeline.maximises ? "proven upper bound" : "proven lower bound");
  for (std::size_t i = 0; i < finders.size(); i++) {
    bool found[] = {false, false};
    for (const Findings::Event& e : timeline.events)
      if (finders[i] == e.who) found[e.what == What::solution ? 0 : 1] = true;
    legend += "<li>";
    for (const What what : {What::solution, What::bound})
      if (found[what == What::solution ? 0 : 1])
        legend += symbolOf(what, finders.colourOf(finders[i]));
    legend += html::escaped(finders[i]) + "</li>";
  }
  return legend + "</ul>\n";
}

/// A plot ready for the page.
struct Panel {
  std::size_t letters = 0; ///< of the longest label of its values
  std::string markup = {};
};

/// Every value that the plot shows, and the larger magnitude of those at the end.
ValueAxis valueAxisOf(const Timeline& timeline) {
  std::vector<formats::Int> values;
  values.reserve(timeline.events.size() + 2);
  for (const Findings::Event& e : timeline.events) values.push_back(e.value);
  formats::Int scale = 0;
  for (const auto& bound : {timeline.bounds.lower, timeline.bounds.upper}) {
    if (!bound) continue;
    values.push_back(*bound);
    scale = std::max(scale, formats::magnitude(*bound));
  }
  return {values, scale};
}

Panel panelOfBounds(const Timeline& timeline, const TimeAxis& time, const Finders& finders) {
  const ValueAxis value = valueAxisOf(timeline);

  Points solutions;
  Points bounds;
  std::map<std::pair<What, std::string>, Points> by_finder;
  for (std::size_t i = 0; i < timeline.events.size(); i++) {
    const Findings::Event& e = timeline.events[i];
    const Point p = {time.at(e.time), value.at(e.value), i};
    (e.what == What::solution ? solutions : bounds).push_back(p);
    by_finder[{e.what, e.who}].push_back(p);
  }
  // What the end of the search proves is no find of its own.
  const auto& proven = timeline.maximises ? timeline.bounds.upper : timeline.bounds.lower;
  if (proven) bounds.push_back({time.at(timeline.ended), value.at(*proven)});

  std::string marks;
  for (const auto& [key, points] : by_finder)
    for (const Point& p : thinned(points, mark_columns))
      marks += markOf(timeline.events[p.event], p, finders.colourOf(key.second));
  if (timeline.bounds.lower && timeline.bounds.lower == timeline.bounds.upper)
    marks += "<circle class=\"optimum\" cx=\"100%\" cy=\"" + percentOf(1 - value.at(*proven)) +
             "\" r=\"8\"><title>optimum " + html::number(*proven) + "</title></circle>\n";
  const Frame frame = {"bounds",
                       "Best solution and proven bound over time",
                       value.isLogarithmic() ? "objective, logarithmic" : "objective",
                       time.ticks(),
                       value.ticks(),
                       time.isLogarithmic()};
  return {lettersOf(frame.y), legendOf(timeline, finders, !solutions.empty(), !bounds.empty()) +
                                  framed(frame,
                                         areaBetween(solutions, bounds) + curve(bounds, "bound") +
                                             curve(solutions, "solution"),
                                         marks)};
}

/// Empty when there never was a gap: for want of a solution or a bound, or since both came at once.
Panel panelOfGap(const Timeline& timeline, const TimeAxis& time) {
  std::vector<double> gaps;
  std::vector<process::Ticks> when;
  Bounds known;
  for (const Findings::Event& e : timeline.events) {
    const bool is_upper = (e.what == What::solution) != timeline.maximises;
    (is_upper ? known.upper : known.lower) = e.value;
    if (const auto gap = known.gap()) {
      gaps.push_back(*gap);
      when.push_back(e.time);
    }
  }
  if (const auto gap = timeline.bounds.gap()) {
    gaps.push_back(*gap);
    when.push_back(timeline.ended);
  }
  if (std::all_of(gaps.begin(), gaps.end(), [](double gap) { return gap == 0; })) return {};
  const ShareAxis share(gaps);
  Points points;
  for (std::size_t i = 0; i < gaps.size(); i++)
    points.push_back({time.at(when[i]), share.at(gaps[i])});
  const Frame frame = {"gap",
                       "The gap between both bounds over time",
                       share.isLogarithmic() ? "gap, logarithmic" : "gap",
                       time.ticks(),
                       share.ticks(),
                       time.isLogarithmic()};
  return {lettersOf(frame.y), framed(frame, curve(points, "gap"), "")};
}

} // namespace

Finders::Finders(const std::vector<Findings::Event>& events) {
  for (const Findings::Event& e : events)
    if (std::find(names.begin(), names.end(), e.who) == names.end()) names.emplace_back(e.who);
}

std::string Finders::colourOf(const std::string& name) const {
  constexpr std::ptrdiff_t last_colour = 6;
  const std::ptrdiff_t place = std::find(names.begin(), names.end(), name) - names.begin();
  return "c" + std::to_string(std::min(place, last_colour));
}

std::string symbolOf(What what, const std::string& colour) {
  return std::string("<svg class=\"symbol\" aria-hidden=\"true\"><use class=\"") + colour +
         "\" href=\"#" + nameOf(what) + "\" x=\"8\" y=\"8\"/></svg>";
}

std::string plotOf(const Timeline& timeline, const Finders& finders) {
  const TimeAxis time(timesOf(timeline.events), timeline.ended);
  const Panel bounds = panelOfBounds(timeline, time, finders);
  const Panel gap = panelOfGap(timeline, time);
  // Both leave the same room for labels, so that their times are above each other.
  return "<div style=\"--labels:" + std::to_string(std::max(bounds.letters, gap.letters)) +
         "ch\">\n" + bounds.markup + gap.markup + "</div>\n";
}
