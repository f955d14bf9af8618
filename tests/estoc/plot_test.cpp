/// \file
/// Plots of what no small run shows: numbers of 127 bits, a single point, thousands of points.
#include "program/Axes.h"
#include "program/Markup.h"
#include "program/Plot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

#include "Pattern.h"

namespace {

using formats::Int;
using What = Findings::What;

constexpr process::Ticks second = process::ticks_per_second;

/// Ticks have to be inside and in order, and no label may stand twice.
void expectGoodTicks(const std::vector<Tick>& ticks, std::size_t least) {
  std::set<std::string> labels;
  std::size_t labelled = 0;
  for (std::size_t i = 0; i < ticks.size(); i++) {
    EXPECT_TRUE(ticks[i].at > -1e-6 && ticks[i].at < 1 + 1e-6) << ticks[i].at;
    if (i > 0) {
      EXPECT_LT(ticks[i - 1].at, ticks[i].at) << ticks[i].label;
    }
    if (ticks[i].label.empty()) continue;
    labels.insert(ticks[i].label);
    labelled++;
  }
  EXPECT_EQ(labels.size(), labelled);
  EXPECT_GE(labelled, least);
  EXPECT_LE(labelled, 14U);
}

TEST(Axes, KeepAllValuesInsideAndApart) {
  constexpr Int largest = formats::largest_int;
  const struct {
    std::vector<Int> values;
    Int scale;
    bool is_logarithmic;
  } table[] = {
      {{0}, 0, false},
      {{largest}, largest, false},
      {{-largest}, largest, false},
      {{-largest, largest}, largest, false},
      {{largest, largest - 1, largest - 4}, largest, false},
      {{-largest, -largest + 7}, largest, false},
      {{0, 23, 17}, 23, false},
      {{952740, 1000003}, 952740, false},
      {{123456789012, 123456780000}, 123456789012, false},
      {{-1, 0}, 1, false},
      {{1000000, 31, 30, 0}, 31, true},
      {{-1000000, 5}, 5, true},
      {{largest, 1}, 1, true},
      {{-largest, largest, 0}, 0, true},
  };
  for (const auto& row : table) {
    const ValueAxis axis(row.values, row.scale);
    EXPECT_EQ(axis.isLogarithmic(), row.is_logarithmic) << html::number(row.values[0]);
    std::vector<Int> values = row.values;
    std::sort(values.begin(), values.end());
    for (std::size_t i = 0; i < values.size(); i++) {
      EXPECT_TRUE(axis.at(values[i]) > 0 && axis.at(values[i]) < 1) << html::number(values[i]);
      if (i > 0) {
        EXPECT_LT(axis.at(values[i - 1]) + 0.001, axis.at(values[i]));
      }
    }
    expectGoodTicks(axis.ticks(), values.size() > 1 ? 2 : 1);
  }
}

TEST(Axes, TimeIsLogarithmicWhenItPays) {
  const struct {
    std::vector<process::Ticks> times;
    process::Ticks end;
    bool is_logarithmic;
    std::size_t least_ticks;
  } table[] = {
      {{}, 10 * second, false, 3},
      {{0}, 0, false, 2},
      {{second, 2 * second, 9 * second}, 10 * second, false, 3},
      {{second / 100, second / 50, second}, 10 * second, true, 3},
      {{1, 2, 3}, 1000000 * second, true, 3},
      {{0, 0, 0}, second, true, 3},
      // What comes late has the whole width.
      {{999 * second}, 1000 * second, false, 3},
      {{1000 * second}, 1000 * second, false, 2},
  };
  for (const auto& row : table) {
    const TimeAxis axis(row.times, row.end);
    EXPECT_EQ(axis.isLogarithmic(), row.is_logarithmic) << row.end;
    EXPECT_EQ(axis.at(row.end), row.end == 0 ? 0 : 1);
    expectGoodTicks(axis.ticks(), row.least_ticks);
  }
  EXPECT_LT(TimeAxis({800 * second}, 1000 * second).at(800 * second), 0.2);
}

TEST(Axes, SharesHaveAStripForZeroWhenTheySpanDecades) {
  for (const std::vector<double>& shares :
       {std::vector<double>{1}, {2, 0.5, 0}, {1e-9}, {1, 1e-3, 0}, {1.7, 1e-30, 0}}) {
    const ShareAxis axis(shares);
    EXPECT_EQ(axis.at(0), 0);
    for (const double share : shares)
      EXPECT_TRUE(share == 0 || (axis.at(share) > 0 && axis.at(share) <= 1)) << share;
    expectGoodTicks(axis.ticks(), 2);
  }
  EXPECT_FALSE(ShareAxis({2, 0.5, 0}).isLogarithmic());
  EXPECT_TRUE(ShareAxis({1, 1e-3, 0}).isLogarithmic());
}

std::size_t count(const std::string& text, const std::string& pattern) {
  return matches(text, pattern).size();
}

TEST(Plot, ThinsThousandsOfPointsAndKeepsTheExtremes) {
  Timeline timeline;
  constexpr int pairs = 20000;
  for (int i = 0; i < pairs; i++) {
    const process::Ticks now = (i + 1) * second / 1000;
    timeline.events.push_back({now, What::solution, 100000 - i, i == 777 ? "guest" : "host"});
    timeline.events.push_back({now, What::bound, i, "host"});
  }
  timeline.ended = 21 * second;
  timeline.bounds = {Int{pairs - 1}, Int{100000 - pairs + 1}};
  const Finders finders(timeline.events);
  const std::string plot = plotOf(timeline, finders);
  EXPECT_LT(plot.size(), 400000U);
  const std::size_t marks = count(plot, "class=\"mark ");
  EXPECT_TRUE(marks > 300 && marks < 2000) << marks;
  EXPECT_EQ(count(plot, "class=\"mark c1\""), 1U) << "the only find of one of them";
  for (const int extreme : {100000, 100000 - pairs + 1})
    EXPECT_EQ(count(plot, "<title>solution " + html::number(extreme) + ","), 1U) << extreme;
  EXPECT_EQ(count(plot, "<title>bound " + html::number(pairs - 1) + ","), 1U);
  // Those of the legend aside.
  EXPECT_EQ(count(plot, "class=\"curve (solution|bound|gap)\" d=\"M(?!1 8H)[0-9]"), 3U);
  EXPECT_EQ(count(plot, "nan|inf"), 0U);
}

TEST(Plot, ShowsASinglePointAndNoGapWithoutBothBounds) {
  Timeline timeline;
  timeline.events = {{5, What::bound, -formats::largest_int, "host"}};
  timeline.bounds.lower = -formats::largest_int;
  const std::string plot = plotOf(timeline, Finders(timeline.events));
  EXPECT_EQ(count(plot, "class=\"mark c0\" href=\"#bound\""), 1U);
  EXPECT_EQ(count(plot, "class=\"plot "), 1U);
  EXPECT_EQ(count(plot, "best solution"), 0U);
  EXPECT_EQ(count(plot, "nan|inf"), 0U);
}

TEST(Plot, DrawsTheUpperBoundOfAMaximisationAndItsEnd) {
  Timeline timeline;
  timeline.events = {{second, What::bound, 40, "host"}, {2 * second, What::solution, 10, "host"}};
  timeline.ended = 4 * second;
  timeline.bounds = {Int{10}, Int{10}};
  timeline.maximises = true;
  const std::string plot = plotOf(timeline, Finders(timeline.events));
  EXPECT_EQ(count(plot, "proven upper bound"), 1U);
  // From 40 at a quarter of the time down to 10 at the end, which is the optimum.
  EXPECT_EQ(count(plot, "class=\"curve bound\" d=\"M250 53.571H1000V946.43H1000\""), 1U) << plot;
  EXPECT_EQ(count(plot, "<circle class=\"optimum\" cx=\"100%\" cy=\"94.64%\""), 1U);
  // Three quarters are open until the search has excluded them.
  EXPECT_EQ(count(plot, "class=\"curve gap\" d=\"M500 56.604H1000V1000H1000\""), 1U);
}

TEST(Markup, MakesTextAndNumbersFitForPages) {
  EXPECT_EQ(html::escaped("a<b> & \"c'\n"), "a&lt;b&gt; &amp; &quot;c&#39;\\x0A");
  const std::string none = "\xEF\xBF\xBD";
  const std::pair<std::string, std::string> table[] = {
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"\xFF", none},                       // never a first byte
      {"\xC3", none},                       // cut off
      {"\xC0\xAF", none + none},            // too long for what it is
      {"\xED\xA0\x80", none + none + none}, // half of a pair
      {"\xEF\xBF\xBF", none + none + none}, // no character
      {"\xF4\x90\x80\x80", none + none + none + none},
      {"\xC2\x85", none + none}, // a control character
  };
  for (const auto& [text, shown] : table) EXPECT_EQ(html::escaped(text), shown);
  const std::string space = "\xE2\x80\xAF";
  EXPECT_EQ(html::number(1234), "1234");
  EXPECT_EQ(html::number(-123456), "\xE2\x88\x92"
                                   "123" +
                                       space + "456");
  EXPECT_EQ(html::number(1234567), "1" + space + "234" + space + "567");
  EXPECT_EQ(html::duration(0.00099949), "999 \xC2\xB5s");
  EXPECT_EQ(html::duration(0.99949), "999 ms");
  EXPECT_EQ(html::duration(0.9995), "1 s");
  EXPECT_EQ(html::duration(12345.6), "12" + space + "346 s");
  EXPECT_EQ(html::percent(0), "0%");
  EXPECT_EQ(html::percent(0.12345), "12.3%");
  EXPECT_EQ(html::percent(1e-9), "&lt; 0.01%");
}

} // namespace
