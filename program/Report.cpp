/// \file
/// The parts of the page.
#include "Report.h"

#include "Markup.h"
#include "Plot.h"
#include "ProblemSizes.h"
#include "ReportStyle.h"
#include "formats/ProblemReader.h"

#include <algorithm>

namespace {

using formats::Int;
using What = Findings::What;

/// What the page is made of.
struct Subject {
  const Settings& settings;
  const formats::Problem& problem; ///< only to be looked at when `is_read`
  const RunFacts& facts;
  bool is_read;
  bool optimises;
  Timeline timeline;
  Finders finders;

  const std::optional<Int>& best() const {
    return timeline.maximises ? timeline.bounds.lower : timeline.bounds.upper;
  }
  const std::optional<Int>& proven() const {
    return timeline.maximises ? timeline.bounds.upper : timeline.bounds.lower;
  }
};

std::string durationOf(process::Ticks ticks) {
  return html::duration(process::seconds(ticks));
}

/// The problem's name: that of its file without the folders.
std::string titleOf(const Settings& settings) {
  if (settings.file == "-") return "standard input";
  return html::escaped(settings.file.substr(settings.file.rfind('/') + 1));
}

const char* moodOf(const RunFacts& facts) {
  if (!facts.failure.empty()) return "bad";
  switch (facts.verdict) {
  case Verdict::optimum:
  case Verdict::unsatisfiable:
    return "good";
  case Verdict::satisfiable:
    return "plain";
  case Verdict::unsupported:
    return "bad";
  case Verdict::unknown:
    break;
  }
  return "none";
}

/// The verdict in a sentence or two.
std::string sentenceOf(const Subject& s) {
  std::string text;
  if (!s.facts.failure.empty()) return html::escaped(s.facts.failure) + ".";
  const std::string limit =
      s.proven() ? "no solution is better than " + html::number(*s.proven()) : "";
  switch (s.facts.verdict) {
  case Verdict::optimum:
    text = "Optimal: " + limit + ".";
    break;
  case Verdict::satisfiable:
    if (!s.optimises)
      text = "A solution was found; there is no objective by which another could be better.";
    else if (limit.empty())
      text = "The best solution so far has the value " + html::number(*s.best()) +
             "; no bound is known for others.";
    else
      text =
          "The best solution so far has the value " + html::number(*s.best()) + "; " + limit + ".";
    break;
  case Verdict::unsatisfiable:
    text = "The problem has no solution.";
    break;
  case Verdict::unknown:
    text = "The run ended before there was a solution" + (limit.empty() ? "" : "; " + limit) + ".";
    break;
  case Verdict::unsupported:
    text = "The numbers of a statement add up to more than 127 bits.";
    break;
  }
  if (!s.facts.stopped_by.empty())
    text += " Stopped by: " + html::escaped(s.facts.stopped_by) + ".";
  return text;
}

std::string card(const std::string& name, const std::string& value, const std::string& more = "") {
  const std::size_t letters = html::lettersOf(value);
  const char* const size = letters > 14  ? " class=\"long\""
                           : letters > 9 ? " class=\"middling\""
                                         : "";
  return "<div class=\"card\"><span>" + name + "</span><b" + size + ">" + value + "</b>" +
         (more.empty() ? "" : "<small>" + more + "</small>") + "</div>\n";
}

/// Who found `value`, the last of its kind, and when; the end of the search finds bounds, too.
std::string originOf(const Timeline& timeline, What what, const std::optional<Int>& value) {
  if (!value) return "";
  const auto& events = timeline.events;
  const auto last = std::find_if(events.rbegin(), events.rend(),
                                 [what](const Findings::Event& e) { return e.what == what; });
  if (last == events.rend() || last->value != *value) return "all others are excluded";
  return html::escaped(last->who) + ", " + durationOf(last->time);
}

std::string cardsOf(const Subject& s) {
  std::string cards = "<div class=\"cards\">\n";
  if (s.optimises) {
    const auto gap = s.timeline.bounds.gap();
    cards += card("best solution", s.best() ? html::number(*s.best()) : "none",
                  originOf(s.timeline, What::solution, s.best()));
    cards += card(s.timeline.maximises ? "proven upper bound" : "proven lower bound",
                  s.proven() ? html::number(*s.proven()) : "none",
                  originOf(s.timeline, What::bound, s.proven()));
    cards += card("gap", gap ? html::percent(*gap) : "\xE2\x80\x93",
                  gap ? "of the larger bound" : "a bound is missing");
  } else if (s.is_read && !s.timeline.events.empty()) {
    cards += card("solution", "found", originOf(s.timeline, What::solution, 0));
  }
  if (s.facts.counters)
    cards += card("conflicts", html::number(static_cast<Int>(s.facts.counters->conflicts)));
  cards += card("time", durationOf(s.facts.ended), "processor " + durationOf(s.facts.processor));
  return cards + "</div>\n";
}

std::string section(const std::string& title, const std::string& content) {
  return "<section>\n<h2>" + title + "</h2>\n" + content + "</section>\n";
}

std::string plotsOf(const Subject& s) {
  if (!s.is_read) return "";
  if (!s.optimises)
    return section("Bounds", "<p>The problem has no objective, so there are no bounds.</p>\n");
  if (s.timeline.events.empty() && !s.best() && !s.proven())
    return section("Bounds", "<p>Neither a solution nor a bound was found.</p>\n");
  std::string content = plotOf(s.timeline, s.finders);
  if (!s.timeline.bounds.gap())
    content += "<p>There is no gap to show, since no " +
               std::string(s.best() ? "bound" : "solution") + " was found.</p>\n";
  return section("What is known about the optimum", content);
}

/// What one finder has found of a kind.
struct Share {
  int count = 0;
  const Findings::Event* first = nullptr;
  const Findings::Event* last = nullptr;
};

Share shareOf(const Timeline& timeline, What what, const std::string& finder) {
  Share share;
  for (const Findings::Event& e : timeline.events) {
    if (e.what != what || finder != e.who) continue;
    if (share.count++ == 0) share.first = &e;
    share.last = &e;
  }
  return share;
}

std::string rowOf(const Subject& s, What what, const std::string& finder) {
  const Share share = shareOf(s.timeline, what, finder);
  if (share.count == 0) return "";
  const std::string best = s.optimises ? html::number(share.last->value) : "\xE2\x80\x93";
  std::string row = "<tr><td>" + symbolOf(what, s.finders.colourOf(finder)) + " " +
                    html::escaped(finder) + "</td>";
  for (const std::string& cell :
       {std::string(what == What::solution ? "solutions" : "bounds"), html::number(share.count),
        best, durationOf(share.first->time), durationOf(share.last->time)})
    row += "<td>" + cell + "</td>";
  return row + "</tr>\n";
}

/// Who found how much of what, and the best of it.
std::string findersTable(const Subject& s) {
  if (s.finders.size() == 0) return "";
  std::string rows;
  for (std::size_t i = 0; i < s.finders.size(); i++)
    for (const What what : {What::solution, What::bound}) rows += rowOf(s, what, s.finders[i]);
  return section("Who found what",
                 "<div class=\"scroll\"><table>\n<thead><tr><th>by</th><th>what</th><th>number</th>"
                 "<th>best</th><th>first</th><th>last</th></tr></thead>\n<tbody>\n" +
                     rows + "</tbody></table></div>\n");
}

/// A list of names with values.
class Facts {
  std::string lines;

 public:
  Facts& add(const std::string& name, const std::string& value) {
    lines += "<div><dt>" + name + "</dt><dd>" + value + "</dd></div>\n";
    return *this;
  }
  Facts& add(const std::string& name, std::uint64_t value) {
    return add(name, html::number(static_cast<Int>(value)));
  }
  bool isEmpty() const { return lines.empty(); }
  std::string list(const std::string& kind = "") const {
    return "<dl" + (kind.empty() ? "" : " class=\"" + kind + "\"") + ">\n" + lines + "</dl>\n";
  }
};

std::string problemSection(const Subject& s) {
  if (!s.is_read) return "";
  const formats::Problem& problem = s.problem;
  const ProblemSizes sizes = sizesOf(problem);
  Facts facts;
  facts.add("format", formats::nameOf(problem.format)).add("variables", sizes.variables);
  if (!problem.products.empty()) facts.add("products", problem.products.size());
  facts.add("rows", sizes.rows);
  if (sizes.equations != 0) facts.add("equations among them", sizes.equations);
  if (!problem.soft.rows.empty()) facts.add("soft rows", problem.soft.rows.size());
  facts.add("terms of rows", sizes.terms).add("longest row", sizes.longest);
  facts.add("largest coefficient", html::number(sizes.largest));
  if (problem.objective.sense != formats::Sense::none)
    facts.add("objective", s.timeline.maximises ? "to be maximised" : "to be minimised")
        .add("its terms", problem.objective.form.size());
  else if (problem.hasCost())
    facts.add("objective", "cost, to be minimised");
  else
    facts.add("objective", "none");
  return section("Problem", facts.list());
}

std::string timeSection(const Subject& s) {
  Facts facts;
  if (s.facts.read != 0) facts.add("read after", durationOf(s.facts.read));
  if (s.facts.loaded != 0) facts.add("loaded after", durationOf(s.facts.loaded));
  for (const What what : {What::solution, What::bound}) {
    const auto& events = s.timeline.events;
    const auto first = std::find_if(events.begin(), events.end(),
                                    [what](const Findings::Event& e) { return e.what == what; });
    if (first != events.end())
      facts.add(what == What::solution ? "first solution after" : "first bound after",
                durationOf(first->time));
  }
  facts.add("whole run", durationOf(s.facts.ended));
  facts.add("processor time", durationOf(s.facts.processor));
  return section("Time", facts.list());
}

std::string optionsSection(const Subject& s) {
  Facts facts;
  for (const auto& [name, value] : s.settings.changed)
    facts.add(html::escaped(name), value.empty() ? "given" : html::escaped(value));
  return section("Options that are not as usual",
                 facts.isEmpty() ? "<p>None.</p>\n" : facts.list());
}

std::string countersSection(const Subject& s) {
  if (!s.facts.counters) {
    if (s.facts.loaded == 0) return "";
    return section("Search",
                   "<p>There are no counters: the run was ended from outside of the search.</p>\n");
  }
  Facts facts;
  forEachCounter(*s.facts.counters, [&](const char* name, std::uint64_t value) {
    facts.add(html::escaped(name), value);
  });
  return section("Search", facts.list("wide"));
}

/// `word` as a shell takes it for one.
std::string quoted(const std::string& word) {
  const bool is_plain = !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-_./=+:,@%").find(c) != std::string_view::npos;
  });
  if (is_plain) return word;
  std::string result = "'";
  for (const char c : word) result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return result + "'";
}

std::string commandOf(const Settings& settings) {
  std::string line;
  for (const std::string& word : settings.command) line += (line.empty() ? "" : " ") + quoted(word);
  return section("Command", "<code>" + html::escaped(line) + "</code>\n");
}

} // namespace

std::string pageOf(const Settings& settings, const formats::Problem& problem,
                   const Findings& findings, const RunFacts& facts) {
  const bool is_read = facts.read != 0;
  std::vector<Findings::Event> events = findings.events();
  const Finders finders(events);
  const Subject s = {settings,
                     problem,
                     facts,
                     is_read,
                     is_read && problem.hasObjective(),
                     {std::move(events), facts.ended, findings.bounds(),
                      is_read && problem.objective.sense == formats::Sense::maximise},
                     finders};
  const std::string verdict = facts.failure.empty() ? wordsOf(facts.verdict) : "NO VERDICT";
  return "<!DOCTYPE html>\n<html lang=\"en\" xmlns=\"http://www.w3.org/1999/xhtml\">\n<head>\n"
         "<meta charset=\"utf-8\"/>\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\"/>\n"
         "<title>" +
         titleOf(settings) + ": " + verdict + "</title>\n<style>" + report_style +
         "</style>\n</head>\n<body>\n"
         "<svg class=\"shapes\" xmlns=\"http://www.w3.org/2000/svg\" aria-hidden=\"true\"><defs>"
         "<circle id=\"solution\" r=\"5\"/><path id=\"bound\" d=\"M0 -6L6 0L0 6L-6 0Z\"/>"
         "</defs></svg>\n<main>\n<header>\n<div class=\"verdict " +
         moodOf(facts) + "\">" + verdict + "</div>\n<h1>" + titleOf(settings) + "</h1>\n<p>" +
         sentenceOf(s) + "</p>\n</header>\n" + cardsOf(s) + plotsOf(s) + findersTable(s) +
         "<div class=\"pair\">\n" + problemSection(s) + timeSection(s) + optionsSection(s) +
         "</div>\n" + countersSection(s) + commandOf(settings) +
         "<footer>estoc " QUILLON_VERSION "</footer>\n</main>\n</body>\n</html>\n";
}

bool Report::write(const Settings& settings, const formats::Problem& problem,
                   const Findings& findings, const RunFacts& facts) {
  return file.write([&] { return pageOf(settings, problem, findings, facts); });
}
