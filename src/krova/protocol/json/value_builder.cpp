#include "krova/protocol/json/value_builder.h"

#include <iterator>
#include <memory>
#include <string>

namespace Krova::Protocol::Json {

using Data::ErrorValue;
using Data::StructValue;
using Data::ValuePointer;

// Values don't change, so one object stands for all that are equal and have nothing in them.
void ValueBuilder::AddVoid() {
  static const ValuePointer kVoid = std::make_shared<Data::VoidValue>();
  Add(kVoid);
}

void ValueBuilder::AddBoolean(bool value) {
  static const ValuePointer kTrue = std::make_shared<Data::BooleanValue>(true);
  static const ValuePointer kFalse = std::make_shared<Data::BooleanValue>(false);
  Add(value ? kTrue : kFalse);
}

void ValueBuilder::CloseOptional() {
  ValuePointer& last = values_.back();
  last = last == nullptr ? std::make_shared<Data::OptionalValue>()
                         : std::make_shared<Data::OptionalValue>(std::move(last));
}

void ValueBuilder::CloseList(Mark first) {
  const auto begin = values_.begin() + static_cast<std::ptrdiff_t>(first);
  auto list = std::make_shared<Data::ListValue>(
      Data::ValueList(std::make_move_iterator(begin), std::make_move_iterator(values_.end())));
  values_.erase(begin, values_.end());
  Add(std::move(list));
}

ValueBuilder::Mark ValueBuilder::OpenFields(std::string_view name) {
  names_.push_back(name);
  return names_.size();
}

template <typename Kind>
void ValueBuilder::CloseFields(Mark first) {
  const std::size_t count = names_.size() - first;
  auto value = values_.end() - static_cast<std::ptrdiff_t>(count);
  const auto firstValue = value;
  Data::FieldList fields;
  fields.reserve(count);
  for (std::size_t i = first; i < names_.size(); ++i) {
    fields.emplace_back(names_[i], std::move(*value++));
  }
  auto compound =
      std::make_shared<Kind>(std::string(names_[first - 1]), Data::FieldMap(std::move(fields)));
  values_.erase(firstValue, values_.end());
  names_.resize(first - 1);
  Add(std::move(compound));
}

template void ValueBuilder::CloseFields<StructValue>(Mark first);
template void ValueBuilder::CloseFields<ErrorValue>(Mark first);

ValuePointer ValueBuilder::Take() {
  ValuePointer value = std::move(values_.back());
  values_.pop_back();
  return value;
}

void ValueBuilder::Clear() {
  values_.clear();
  names_.clear();
}

}  // namespace Krova::Protocol::Json
