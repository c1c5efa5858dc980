// The fields of a compound value, ordered by name.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Krova::Data {

class DataValue;

/// Name and value of a field, and fields in the order of their arrival.
using Field = std::pair<std::string, std::shared_ptr<const DataValue>>;
using FieldList = std::vector<Field>;

/// A map from name to value in byte-wise order of the names.
///
/// The fields lie side by side, without a node for each: making, walking and releasing them is most
/// of what a request costs. (Boost's flat_map takes a sequence over by casting it to another type,
/// which g++ 12 compiles to a vector of the wrong size.)
class FieldMap {
 public:
  using const_iterator = FieldList::const_iterator;

  FieldMap() = default;
  /// Orders the fields at once, which costs less than setting them one by one: the way to go
  /// wherever a client decides how many there are. Of fields with one name the last wins.
  explicit FieldMap(FieldList fields);

  /// Inserts an unset field if there is none of that name. Moves the fields behind it, so that
  /// setting N fields takes N * N steps unless they come in order.
  std::shared_ptr<const DataValue>& operator[](std::string_view name);
  /// \return end() for an unknown name.
  const_iterator find(std::string_view name) const;

  std::size_t size() const { return fields_.size(); }
  bool empty() const { return fields_.empty(); }
  const_iterator begin() const { return fields_.begin(); }
  const_iterator end() const { return fields_.end(); }

  /// Takes the fields out and leaves the map empty.
  FieldList Detach() { return std::exchange(fields_, {}); }

 private:
  FieldList fields_;
};

}  // namespace Krova::Data
