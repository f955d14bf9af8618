/// \file
/// Keeping constraints.
#include "Database.h"

#include <algorithm>

namespace checker {

Entry& Database::add(Row row, bool is_core) {
  for (const Term& t : row.terms) {
    const Var v = t.literal.variable();
    if (v >= uses.size()) uses.resize(std::max<std::size_t>(v + std::size_t{1}, 2 * uses.size()));
    uses[v]++;
  }
  Entry& entry = entries.emplace_back();
  entry.row = std::move(row);
  entry.id = ++last;
  entry.is_core = is_core;
  index.emplace(entry.id, std::prev(entries.end()));
  return entry;
}

Entry* Database::find(Id id) {
  const auto found = index.find(id);
  return found == index.end() ? nullptr : &*found->second;
}

void Database::remove(Entry& entry) {
  for (const Term& t : entry.row.terms) uses[t.literal.variable()]--;
  const auto found = index.find(entry.id);
  const auto where = found->second;
  index.erase(found);
  entries.erase(where);
}

Entry* Database::findEqual(const Row& row) {
  for (auto e = entries.rbegin(); e != entries.rend(); ++e)
    if (areEqual(e->row, row)) return &*e;
  return nullptr;
}

bool areEqual(const Row& a, const Row& b) {
  if (a.terms.size() != b.terms.size() || a.degree != b.degree) return false;
  const auto sorted = [](const Row& row) {
    std::vector<const Term*> terms;
    for (const Term& t : row.terms) terms.push_back(&t);
    std::sort(terms.begin(), terms.end(),
              [](const Term* s, const Term* t) { return s->literal.index() < t->literal.index(); });
    return terms;
  };
  const auto left = sorted(a);
  const auto right = sorted(b);
  return std::equal(left.begin(), left.end(), right.begin(), [](const Term* s, const Term* t) {
    return s->literal == t->literal && s->coefficient == t->coefficient;
  });
}

} // namespace checker
