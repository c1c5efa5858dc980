#include "core/property_store.h"

#include <utility>

namespace Halvard {

PropertyTable& gProperties = *new PropertyTable;
std::set<std::wstring>& gPrivateProperties = *new std::set<std::wstring>;

std::wstring Property::Value() const {
  const std::lock_guard lock(table_->mutex_);
  return *value_;
}

Property& Property::operator=(std::wstring value) {
  const std::lock_guard lock(table_->mutex_);
  *value_ = std::move(value);
  return *this;
}

Property& Property::operator=(const Property& other) { return *this = other.Value(); }

Property& Property::operator+=(std::wstring_view text) {
  const std::lock_guard lock(table_->mutex_);
  *value_ += text;
  return *this;
}

Property PropertyTable::operator[](const std::wstring& name) {
  const std::lock_guard lock(mutex_);
  return Property(*this, values_[name]);
}

std::map<std::wstring, std::wstring> PropertyTable::Snapshot() const {
  const std::lock_guard lock(mutex_);
  return values_;
}

bool IsPrivateProperty(const std::wstring& name) { return gPrivateProperties.contains(name); }

}  // namespace Halvard
