/// \file
/// What goes into the file.
#include "StatsFile.h"

#include "Techniques.h"
#include "formats/ProblemReader.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

/// A number, or its digits where readers of JSON could not be relied on to keep it.
Json number(const std::optional<formats::Int>& value) {
  constexpr formats::Int exact = formats::Int{1} << 53;
  if (!value) return nullptr;
  if (*value > exact || *value < -exact) return formats::toString(*value);
  return static_cast<std::int64_t>(*value);
}

Json secondsOrNull(process::Ticks ticks) {
  return ticks == 0 ? Json() : Json(process::seconds(ticks));
}

Json describe(const Settings& settings, const formats::Problem& problem, const Findings& findings,
              const RunFacts& facts) {
  Json options = {{"seed", settings.engine.seed},
                  {"smallest width", settings.engine.smallest_width}};
  for (const Technique& t : techniques) options[t.name] = settings.engine.*t.member;
  Json counters;
  if (facts.counters) {
    forEachCounter(*facts.counters,
                   [&](const char* name, std::uint64_t value) { counters[name] = value; });
  }
  Json events = Json::array();
  for (const Findings::Event& e : findings.events()) {
    events.push_back({{"time", process::seconds(e.time)},
                      {"what", e.what == Findings::What::solution ? "solution" : "bound"},
                      {"value", number(e.value)},
                      {"by", e.who}});
  }
  const Bounds bounds = findings.bounds();
  Json sizes;
  if (facts.read != 0)
    sizes = {{"variables", problem.variables.size()}, {"rows", problem.rows.size()}};
  return {
      {"program", "estoc " QUILLON_VERSION},
      {"file", settings.file},
      {"verdict", facts.failure.empty() ? Json(wordsOf(facts.verdict)) : Json()},
      {"failure", facts.failure.empty() ? Json() : Json(facts.failure)},
      {"lower", number(bounds.lower)},
      {"upper", number(bounds.upper)},
      {"stopped by", facts.stopped_by.empty() ? Json() : Json(facts.stopped_by)},
      {"format", formats::nameOf(problem.format)},
      {"problem", sizes},
      {"time",
       {{"read", secondsOrNull(facts.read)},
        {"loaded", secondsOrNull(facts.loaded)},
        {"wall", process::seconds(facts.ended)},
        {"processor", process::seconds(facts.processor)}}},
      {"options", options},
      {"counters", counters},
      {"found", events},
  };
}

} // namespace

bool StatsFile::write(const Settings& settings, const formats::Problem& problem,
                      const Findings& findings, const RunFacts& facts) {
  return file.write([&] {
    // File names need not be UTF-8.
    return describe(settings, problem, findings, facts)
               .dump(2, ' ', false, Json::error_handler_t::replace) +
           "\n";
  });
}
