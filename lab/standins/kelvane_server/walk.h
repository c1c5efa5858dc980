// Walking the inventory along the traversals of a filter.
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "filter_spec.h"
#include "inventory.h"

namespace Lab::Kelvane {

/// The walk of one filter, breadth first. It stops at each object that is reported and goes on when
/// asked for the next one.
///
/// A step is a starting object or a traversal: both report what they lead to unless they skip, and
/// both go on with a selection set. An object may be come upon by several steps, and each goes on
/// from it with its own selection set, though never twice; it is reported once.
class Walk {
 public:
  /// \param inventory  Must outlive the walk.
  /// Throws SoapFault for types, properties, names and objects that there aren't, and for a name
  /// that two traversals have.
  Walk(const Inventory& inventory, FilterSpec filter);

  struct Found {
    Inventory::Number object;
    const PropertySpec* properties;  ///< What is asked of it. Lives as long as the walk.
  };

  /// \return Nothing when all has been reported.
  std::optional<Found> Next();

 private:
  struct Step {
    std::optional<Type> type;  ///< Only from objects of this type; of a traversal alone.
    Property property{};
    bool skip = false;
    std::vector<std::size_t> next;  ///< The traversals of its selection set.
  };

  void CheckProperties() const;
  void AddTraversals(const std::vector<SelectionSpec>& selections);
  std::size_t AddTraversal(const TraversalSpec& spec);
  /// \return The steps that a selection set means.
  std::vector<std::size_t> Resolve(const std::vector<SelectionSpec>& selections) const;
  void Begin(const ObjectSpec& spec);
  void Reach(Inventory::Number object, std::size_t step);
  void GoOnFrom(Inventory::Number object, const Step& step);
  const PropertySpec* Wanted(Inventory::Number object) const;

  const Inventory& inventory_;
  FilterSpec filter_;
  std::vector<Step> steps_;
  std::map<const TraversalSpec*, std::size_t> traversals_;
  std::map<std::string, std::size_t> names_;
  std::vector<std::vector<bool>> reached_;  ///< For each step, the objects that it has led to.
  std::vector<bool> reported_;
  std::deque<std::pair<Inventory::Number, std::size_t>> pending_;
};

}  // namespace Lab::Kelvane
