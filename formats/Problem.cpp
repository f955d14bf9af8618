/// \file
/// The packing of rows, and their names.
#include "Problem.h"

#include <algorithm>
#include <optional>

namespace formats {
namespace {

constexpr std::string_view made_up_prefix = "r.";

std::string madeUpName(std::uint64_t ordinal) {
  return std::string(made_up_prefix) + std::to_string(ordinal);
}

} // namespace

const char* signOf(Relation relation) {
  if (relation == Relation::at_most) return "<=";
  return relation == Relation::equal ? "=" : ">=";
}

std::string Row::name() const {
  if (!label.empty()) return std::string(label);
  return ordinal == 0 ? "" : madeUpName(ordinal);
}

Row Rows::operator[](std::size_t i) const {
  const Packed& row = packed[i];
  const std::uint64_t first = i == 0 ? 0 : packed[i - 1].end;
  const Int bound = row.is_wide ? wide_bounds[static_cast<std::size_t>(row.bound)] : Int{row.bound};
  const std::string_view label = row.label < 0 ? std::string_view() : labels[row.label];
  return {{row.relation, bound, row.place, row.bound_place, label, row.ordinal},
          store.form(first, row.end)};
}

void Rows::add(const RowHead& head) {
  const bool is_wide = head.bound != static_cast<std::int64_t>(head.bound);
  const Int bound = is_wide ? static_cast<Int>(wide_bounds.size()) : head.bound;
  if (is_wide) wide_bounds.push(head.bound);
  const int label = head.label.empty() ? -1 : labels.add(head.label);
  packed.push({store.size(), static_cast<std::int64_t>(bound), head.place, head.bound_place,
               head.ordinal, label, head.relation, is_wide});
}

bool Rows::hasName(std::string_view name) const {
  if (labels.find(name) >= 0) return true;
  if (!name.starts_with(made_up_prefix)) return false;
  const std::optional<Int> ordinal = parseInt(name.substr(made_up_prefix.size()));
  if (!ordinal) return false;
  const Packed* const behind = packed.data() + packed.size();
  const Packed* const found =
      std::lower_bound(packed.data(), behind, *ordinal,
                       [](const Packed& row, Int wanted) { return row.ordinal < wanted; });
  return found != behind && found->label < 0 && found->ordinal != 0 &&
         madeUpName(found->ordinal) == name;
}

} // namespace formats
