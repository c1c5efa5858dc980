// Builds data values from the inside out.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

#include "krova/data/value.h"

namespace Krova::Protocol::Json {

/// Finished values wait on a stack until the compound that holds them is closed; it then takes its
/// children off the stack, which needs room for no more than there are. Names wait likewise.
class ValueBuilder {
 public:
  /// Where the children of a compound begin: how many values, or names, wait below them.
  using Mark = std::size_t;

  /// A null pointer is a value that was left unset.
  void Add(Data::ValuePointer value) { values_.push_back(std::move(value)); }
  void AddVoid();
  void AddBoolean(bool value);

  /// Puts the last value into an optional. One that was left unset makes an unset optional.
  void CloseOptional();

  Mark OpenList() const { return values_.size(); }
  /// Makes a list of the values since \p first.
  void CloseList(Mark first);

  /// \param name  This name and those of the fields must stay in memory until the close.
  Mark OpenFields(std::string_view name);
  /// A value for each field is added before the next name.
  void AddFieldName(std::string_view name) { names_.push_back(name); }
  /// Makes a StructValue or ErrorValue of the fields since \p first. Of fields with the same name
  /// the last stays.
  template <typename Kind>
  void CloseFields(Mark first);

  bool HasValue() const { return !values_.empty(); }
  /// Takes the last value off; it is the root if nothing is open.
  Data::ValuePointer Take();
  /// Drops all that waits.
  void Clear();

 private:
  std::vector<Data::ValuePointer> values_;
  std::vector<std::string_view> names_;
};

}  // namespace Krova::Protocol::Json
