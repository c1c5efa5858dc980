// The inventory: managed objects of all types and the properties that lead from one to others.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "members.h"

namespace Lab::Kelvane {

enum class Type : std::uint8_t {
  kFolder,
  kDatacenter,
  kComputeResource,
  kClusterComputeResource,
  kResourcePool,
  kVirtualApp,
  kHostSystem,
  kVirtualMachine,
};

enum class Property : std::uint8_t {
  kChildEntity,
  kHostFolder,
  kVmFolder,
  kHost,
  kResourcePool,
  kVm,
};

/// \return Nothing for a name that isn't a type's.
std::optional<Type> FindType(std::string_view name);
std::string_view TypeName(Type type);

/// Whether an object of the type is one of \p base too, by being it or by deriving from it.
bool IsA(Type type, Type base);

/// A property that leads on, of a type or inherited by it. \return Nothing if it has none of the
/// name.
std::optional<Property> FindProperty(Type type, std::string_view name);

std::string_view PropertyName(Property property);

/// Whether the property holds a list of references and not one.
bool IsList(Type type, Property property);

/// The objects of an inventory, by numbers that begin with 0.
class Inventory {
 public:
  using Number = std::uint32_t;

  struct Link {
    Property property;
    Number target;
  };

  Number Add(Type type, std::string name);
  void AddLink(Number from, Property property, Number target);

  std::size_t Size() const { return objects_.size(); }
  Type TypeOf(Number object) const { return objects_[object].type; }
  const std::string& NameOf(Number object) const { return objects_[object].name; }
  /// All references that lead on, those of one property in order.
  const std::vector<Link>& LinksOf(Number object) const { return objects_[object].links; }

  /// As "host-12".
  std::string IdOf(Number object) const;
  /// \return Nothing when there is no such object or when it is of another type than that named.
  std::optional<Number> Find(const Reference& reference) const;

 private:
  struct Object {
    Type type;
    std::string name;
    std::vector<Link> links;
  };

  std::vector<Object> objects_;
};

/// The folder that everything lies in.
inline constexpr Inventory::Number kRootFolder = 0;

}  // namespace Lab::Kelvane
