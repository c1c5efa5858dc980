// What a property collector is asked for, as the client says it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace Lab::Kelvane {

struct TraversalSpec;

/// A traversal, or the name of one that stands elsewhere in the same filter.
struct SelectionSpec {
  std::string name;                                ///< Empty for a traversal alone.
  std::shared_ptr<const TraversalSpec> traversal;  ///< Null for a name.
};

struct TraversalSpec {
  std::string type;
  std::string path;
  bool skip = false;
  std::vector<SelectionSpec> selectSet;
};

struct PropertySpec {
  std::string type;
  bool all = false;
  std::vector<std::string> pathSet;
};

struct ObjectSpec {
  std::string type;
  std::string id;
  bool skip = false;
  std::vector<SelectionSpec> selectSet;
};

struct FilterSpec {
  std::vector<PropertySpec> propSet;
  std::vector<ObjectSpec> objectSet;
};

/// Throws SoapFault for what isn't as agreed.
/// \param explicitFlags  Whether a flag that isn't given is refused; else it is false.
FilterSpec ReadFilterSpec(pugi::xml_node node, std::string_view space, bool explicitFlags);

}  // namespace Lab::Kelvane
