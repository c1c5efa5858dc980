#include "krova/data/field_map.h"

#include <algorithm>

#include "krova/data/value.h"

namespace Krova::Data {
namespace {

// Names are compared as unsigned bytes: that is what std::string does.
bool IsBefore(const Field& field, std::string_view name) { return field.first < name; }

bool NameIsBefore(const Field& left, const Field& right) { return left.first < right.first; }

bool HaveOneName(const Field& left, const Field& right) { return left.first == right.first; }

}  // namespace

FieldMap::FieldMap(FieldList fields) : fields_(std::move(fields)) {
  // A few fields are the rule, and serializers that write them in order.
  if (!std::is_sorted(fields_.begin(), fields_.end(), NameIsBefore)) {
    std::stable_sort(fields_.begin(), fields_.end(), NameIsBefore);
  }
  // Seen from the back, std::unique keeps the last of equal names, and what it drops is in front.
  const auto kept = std::unique(fields_.rbegin(), fields_.rend(), HaveOneName);
  fields_.erase(fields_.begin(), kept.base());
}

std::shared_ptr<const DataValue>& FieldMap::operator[](std::string_view name) {
  auto place = fields_.end();
  // Most fields are set in order.
  if (!fields_.empty() && !IsBefore(fields_.back(), name)) {
    place = std::lower_bound(fields_.begin(), fields_.end(), name, IsBefore);
    if (place->first == name) return place->second;
  }
  return fields_.emplace(place, std::string(name), nullptr)->second;
}

FieldMap::const_iterator FieldMap::find(std::string_view name) const {
  const auto place = std::lower_bound(fields_.begin(), fields_.end(), name, IsBefore);
  return place != fields_.end() && place->first == name ? place : fields_.end();
}

}  // namespace Krova::Data
