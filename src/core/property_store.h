// The facts of one session: a process-wide table of named wide-string properties.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>

namespace Halvard {

/// The Single Sign-On domain of a machine that names no other.
inline constexpr wchar_t DefaultSsoDomain[] = L"ostrel.local";

class PropertyTable;

/// What a subscript of the table gives: one property, to be read or assigned. It reads the value
/// that the property has at the moment of the reading, and hands out copies, so that threads may
/// use one property at once.
class Property {
 public:
  Property(const Property&) = default;
  ~Property() = default;

  /// \return A copy of the value.
  std::wstring Value() const;
  operator std::wstring() const { return Value(); }
  bool empty() const { return Value().empty(); }

  Property& operator=(std::wstring value);
  /// Copies the other property's value, as between two elements of a map.
  Property& operator=(const Property& other);
  /// Appends in one step: no other thread's append is lost.
  Property& operator+=(std::wstring_view text);

  friend bool operator==(const Property& property, std::wstring_view text) {
    return property.Value() == text;
  }

 private:
  friend class PropertyTable;
  Property(PropertyTable& table, std::wstring& value) : table_(&table), value_(&value) {}

  PropertyTable* table_;
  std::wstring* value_;
};

/// An ordered map from name to value, compared by code units. A subscript inserts an empty value
/// under an absent name, so an unknown property reads as an empty one and nothing tells the two
/// apart. Safe on any thread; what several reads and writes must hold together is the callers'.
class PropertyTable {
 public:
  Property operator[](const std::wstring& name);

  /// \return All properties at this moment, in the order of their names.
  std::map<std::wstring, std::wstring> Snapshot() const;

 private:
  friend class Property;

  mutable std::mutex mutex_;
  // Elements of a map stay where they are, and none is ever removed: a Property may keep an
  // address.
  std::map<std::wstring, std::wstring> values_;
};

/// The session's properties. Constructed before wmain starts, never cleared and never destroyed:
/// the thread of an export that still runs uses them until the process is gone.
extern PropertyTable& gProperties;

/// Names of properties whose values must never reach the log. Filled once, during start-up, before
/// any other thread runs; never destroyed either.
extern std::set<std::wstring>& gPrivateProperties;

/// \return True when the property's value must never reach the log.
bool IsPrivateProperty(const std::wstring& name);

}  // namespace Halvard
