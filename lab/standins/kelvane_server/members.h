// Reading the members of a structure strictly: in their order, none unknown, none missing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

namespace Lab::Kelvane {

/// A managed object as the wire names it.
struct Reference {
  std::string type;
  std::string id;
};

/// \return The namespace of an element or, with a prefix, of an attribute. Empty for none.
std::string_view NamespaceOf(pugi::xml_node scope, std::string_view name, bool isAttribute = false);

/// \return The part of a name behind its prefix.
std::string_view LocalName(std::string_view name);

/// Takes the children of an element one after the other. Everything here throws SoapFault, which
/// names the element and never its text.
class Members {
 public:
  /// Refuses text between the children, a prefix, a namespace other than \p space, and attributes
  /// other than declarations and those of \p attributes, which are local names.
  Members(pugi::xml_node parent, std::string_view space,
          std::initializer_list<std::string_view> attributes = {});

  /// \return The next child, which must have the name.
  pugi::xml_node Required(std::string_view name);
  /// \return The next child if it has the name; else a null node, and nothing is taken.
  pugi::xml_node Optional(std::string_view name);
  /// \return All next children of the name.
  std::vector<pugi::xml_node> List(std::string_view name);
  /// Refuses what hasn't been taken.
  void End() const;

 private:
  pugi::xml_node parent_;
  pugi::xml_node next_;
};

/// The text of an element without children or attributes.
std::string ReadText(pugi::xml_node node);
/// The same; nothing for a null node.
std::optional<std::string> ReadOptionalText(pugi::xml_node node);
/// "true" or "false".
bool ReadBoolean(pugi::xml_node node);
/// Decimal, 32 bits, signed.
std::int32_t ReadInteger(pugi::xml_node node);
/// UTC with milliseconds, as "2026-02-03T04:05:06.789Z".
std::string ReadDateTime(pugi::xml_node node);
/// The type is the attribute, the id the text; neither is empty.
Reference ReadReference(pugi::xml_node node);

}  // namespace Lab::Kelvane
