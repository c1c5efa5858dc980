#include "inventory.h"

#include <array>
#include <charconv>
#include <utility>

namespace Lab::Kelvane {
namespace {

struct TypeRow {
  std::string_view name;
  Type base;  ///< The type itself where it derives from no other.
  std::string_view idPrefix;
};

/// In the order of the enumeration.
constexpr std::array<TypeRow, 8> kTypes = {{
    {"Folder", Type::kFolder, "group-d"},
    {"Datacenter", Type::kDatacenter, "datacenter-"},
    {"ComputeResource", Type::kComputeResource, "domain-s"},
    {"ClusterComputeResource", Type::kComputeResource, "domain-c"},
    {"ResourcePool", Type::kResourcePool, "resgroup-"},
    {"VirtualApp", Type::kResourcePool, "resgroup-v"},
    {"HostSystem", Type::kHostSystem, "host-"},
    {"VirtualMachine", Type::kVirtualMachine, "vm-"},
}};

struct PropertyRow {
  Type type;
  std::string_view name;
  Property property;
  bool list;
};

constexpr PropertyRow kProperties[] = {
    {Type::kFolder, "childEntity", Property::kChildEntity, true},
    {Type::kDatacenter, "hostFolder", Property::kHostFolder, false},
    {Type::kDatacenter, "vmFolder", Property::kVmFolder, false},
    {Type::kComputeResource, "host", Property::kHost, true},
    {Type::kComputeResource, "resourcePool", Property::kResourcePool, false},
    {Type::kResourcePool, "resourcePool", Property::kResourcePool, true},
    {Type::kResourcePool, "vm", Property::kVm, true},
    {Type::kHostSystem, "vm", Property::kVm, true},
};

const TypeRow& RowOf(Type type) { return kTypes[static_cast<std::size_t>(type)]; }

}  // namespace

std::optional<Type> FindType(std::string_view name) {
  for (std::size_t i = 0; i < kTypes.size(); ++i) {
    if (kTypes[i].name == name) return static_cast<Type>(i);
  }
  return std::nullopt;
}

std::string_view TypeName(Type type) { return RowOf(type).name; }

bool IsA(Type type, Type base) { return type == base || RowOf(type).base == base; }

std::optional<Property> FindProperty(Type type, std::string_view name) {
  for (const PropertyRow& row : kProperties) {
    if (IsA(type, row.type) && row.name == name) return row.property;
  }
  return std::nullopt;
}

std::string_view PropertyName(Property property) {
  for (const PropertyRow& row : kProperties) {
    if (row.property == property) return row.name;
  }
  return {};
}

bool IsList(Type type, Property property) {
  for (const PropertyRow& row : kProperties) {
    if (IsA(type, row.type) && row.property == property) return row.list;
  }
  return false;
}

Inventory::Number Inventory::Add(Type type, std::string name) {
  objects_.push_back({type, std::move(name), {}});
  return static_cast<Number>(objects_.size() - 1);
}

void Inventory::AddLink(Number from, Property property, Number target) {
  objects_[from].links.push_back({property, target});
}

std::string Inventory::IdOf(Number object) const {
  return std::string(RowOf(TypeOf(object)).idPrefix) + std::to_string(object + 1);
}

std::optional<Inventory::Number> Inventory::Find(const Reference& reference) const {
  const std::optional<Type> type = FindType(reference.type);
  if (!type) return std::nullopt;
  const std::string_view prefix = RowOf(*type).idPrefix;
  const std::string_view id = reference.id;
  if (id.substr(0, prefix.size()) != prefix) return std::nullopt;
  Number number = 0;
  const std::from_chars_result parsed =
      std::from_chars(id.data() + prefix.size(), id.data() + id.size(), number);
  if (parsed.ec != std::errc{} || number == 0 || number > Size()) return std::nullopt;
  // The id must be the object's own, so that one with a leading zero isn't.
  if (TypeOf(number - 1) != *type || IdOf(number - 1) != id) return std::nullopt;
  return number - 1;
}

}  // namespace Lab::Kelvane
