#include "walk.h"

#include <utility>

#include "soap_fault.h"

namespace Lab::Kelvane {
namespace {

Type RequireType(const std::string& name) {
  const std::optional<Type> type = FindType(name);
  if (!type) Refuse("There is no type \"" + name + "\".", "InvalidType");
  return *type;
}

}  // namespace

Walk::Walk(const Inventory& inventory, FilterSpec filter)
    : inventory_(inventory), filter_(std::move(filter)) {
  CheckProperties();
  for (const ObjectSpec& object : filter_.objectSet) AddTraversals(object.selectSet);
  for (const auto& [spec, step] : traversals_) steps_[step].next = Resolve(spec->selectSet);
  reported_.resize(inventory_.Size());
  for (const ObjectSpec& object : filter_.objectSet) Begin(object);
}

void Walk::CheckProperties() const {
  for (const PropertySpec& spec : filter_.propSet) {
    const Type type = RequireType(spec.type);
    for (const std::string& path : spec.pathSet) {
      if (path == "name") continue;
      const std::optional<Property> property = FindProperty(type, path);
      if (!property) Refuse(spec.type + " has no property \"" + path + "\".", "InvalidProperty");
      if (IsList(type, *property)) {
        Refuse("The list \"" + path + "\" has no form in an answer.", "InvalidProperty");
      }
    }
  }
}

void Walk::AddTraversals(const std::vector<SelectionSpec>& selections) {
  for (const SelectionSpec& selection : selections) {
    if (!selection.traversal) continue;
    const std::size_t step = AddTraversal(*selection.traversal);
    if (!selection.name.empty() && !names_.emplace(selection.name, step).second) {
      Refuse("Two traversals have the name \"" + selection.name + "\".", "InvalidArgument");
    }
    AddTraversals(selection.traversal->selectSet);
  }
}

std::size_t Walk::AddTraversal(const TraversalSpec& spec) {
  const Type type = RequireType(spec.type);
  const std::optional<Property> property = FindProperty(type, spec.path);
  if (!property) {
    Refuse("No property \"" + spec.path + "\" of " + spec.type + " leads on.", "InvalidProperty");
  }
  steps_.push_back({type, *property, spec.skip, {}});
  reached_.emplace_back(inventory_.Size());
  traversals_[&spec] = steps_.size() - 1;
  return steps_.size() - 1;
}

std::vector<std::size_t> Walk::Resolve(const std::vector<SelectionSpec>& selections) const {
  std::vector<std::size_t> steps;
  for (const SelectionSpec& selection : selections) {
    if (selection.traversal) {
      steps.push_back(traversals_.at(selection.traversal.get()));
      continue;
    }
    const auto named = names_.find(selection.name);
    if (named == names_.end()) {
      Refuse("No traversal has the name \"" + selection.name + "\".", "InvalidArgument");
    }
    steps.push_back(named->second);
  }
  return steps;
}

void Walk::Begin(const ObjectSpec& spec) {
  const std::optional<Inventory::Number> object = inventory_.Find({spec.type, spec.id});
  if (!object) {
    Refuse("There is no " + spec.type + " \"" + spec.id + "\".", "ManagedObjectNotFound");
  }
  steps_.push_back({std::nullopt, {}, spec.skip, Resolve(spec.selectSet)});
  reached_.emplace_back(inventory_.Size());
  Reach(*object, steps_.size() - 1);
}

void Walk::Reach(Inventory::Number object, std::size_t step) {
  if (reached_[step][object]) return;
  reached_[step][object] = true;
  pending_.emplace_back(object, step);
}

void Walk::GoOnFrom(Inventory::Number object, const Step& step) {
  for (const std::size_t next : step.next) {
    if (!IsA(inventory_.TypeOf(object), *steps_[next].type)) continue;
    for (const Inventory::Link& link : inventory_.LinksOf(object)) {
      if (link.property == steps_[next].property) Reach(link.target, next);
    }
  }
}

const PropertySpec* Walk::Wanted(Inventory::Number object) const {
  for (const PropertySpec& spec : filter_.propSet) {
    if (IsA(inventory_.TypeOf(object), *FindType(spec.type))) return &spec;
  }
  return nullptr;
}

std::optional<Walk::Found> Walk::Next() {
  while (!pending_.empty()) {
    const auto [object, number] = pending_.front();
    pending_.pop_front();
    const Step& step = steps_[number];
    GoOnFrom(object, step);
    if (step.skip || reported_[object]) continue;
    if (const PropertySpec* properties = Wanted(object)) {
      reported_[object] = true;
      return Found{object, properties};
    }
  }
  return std::nullopt;
}

}  // namespace Lab::Kelvane
