#include "filter_spec.h"

#include "members.h"
#include "soap_fault.h"

namespace Lab::Kelvane {
namespace {

constexpr std::string_view kInstanceSpace = "http://www.w3.org/2001/XMLSchema-instance";

class SpecReader {
 public:
  SpecReader(std::string_view space, bool explicitFlags)
      : space_(space), explicitFlags_(explicitFlags) {}

  PropertySpec ReadProperty(pugi::xml_node node) const {
    Members members(node, space_);
    PropertySpec spec;
    spec.type = ReadText(members.Required("type"));
    spec.all = ReadFlag(members, "all");
    for (const pugi::xml_node path : members.List("pathSet")) {
      spec.pathSet.push_back(ReadText(path));
    }
    members.End();
    return spec;
  }

  ObjectSpec ReadObject(pugi::xml_node node) const {
    Members members(node, space_);
    const Reference object = ReadReference(members.Required("obj"));
    ObjectSpec spec{object.type, object.id, ReadFlag(members, "skip"), ReadSelections(members)};
    members.End();
    return spec;
  }

 private:
  bool ReadFlag(Members& members, const char* name) const {
    const pugi::xml_node node = members.Optional(name);
    if (!node && explicitFlags_) Refuse("The flag <" + std::string(name) + "> isn't given.");
    return node && ReadBoolean(node);
  }

  std::vector<SelectionSpec> ReadSelections(Members& members) const {
    std::vector<SelectionSpec> selections;
    for (const pugi::xml_node node : members.List("selectSet")) {
      selections.push_back(ReadSelection(node));
    }
    return selections;
  }

  /// Descends as deep as the elements nest, which the envelope's reader limits.
  SelectionSpec ReadSelection(pugi::xml_node node) const {
    Members members(node, space_, {"type"});
    const bool isTraversal = IsTraversal(node);
    SelectionSpec selection;
    if (const pugi::xml_node name = members.Optional("name")) {
      selection.name = ReadText(name);
      if (selection.name.empty()) Refuse("A selection has an empty name.", "InvalidArgument");
    } else if (!isTraversal) {
      Refuse("A selection that is no traversal has no name.", "InvalidArgument");
    }
    if (isTraversal) {
      auto traversal = std::make_shared<TraversalSpec>();
      traversal->type = ReadText(members.Required("type"));
      traversal->path = ReadText(members.Required("path"));
      traversal->skip = ReadFlag(members, "skip");
      traversal->selectSet = ReadSelections(members);
      selection.traversal = std::move(traversal);
    }
    members.End();
    return selection;
  }

  /// Whether the element says by xsi:type that it is a traversal.
  static bool IsTraversal(pugi::xml_node node) {
    bool isTraversal = false;
    for (const pugi::xml_attribute attribute : node.attributes()) {
      if (LocalName(attribute.name()) != "type") continue;
      if (NamespaceOf(node, attribute.name(), true) != kInstanceSpace) {
        Refuse("Unknown attribute " + std::string(attribute.name()) + " of <selectSet>");
      }
      if (attribute.value() != std::string_view("TraversalSpec")) {
        Refuse("Unknown type of a selection: " + std::string(attribute.value()), "InvalidType");
      }
      isTraversal = true;
    }
    return isTraversal;
  }

  std::string_view space_;
  bool explicitFlags_;
};

}  // namespace

FilterSpec ReadFilterSpec(pugi::xml_node node, std::string_view space, bool explicitFlags) {
  const SpecReader reader(space, explicitFlags);
  Members members(node, space);
  FilterSpec filter;
  for (const pugi::xml_node property : members.List("propSet")) {
    filter.propSet.push_back(reader.ReadProperty(property));
  }
  for (const pugi::xml_node object : members.List("objectSet")) {
    filter.objectSet.push_back(reader.ReadObject(object));
  }
  members.End();
  return filter;
}

}  // namespace Lab::Kelvane
