#include "members.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <regex>
#include <system_error>
#include <utility>

#include "soap_fault.h"

namespace Lab::Kelvane {
namespace {

std::string Quoted(std::string_view name) { return "<" + std::string(name) + ">"; }

bool IsDeclaration(std::string_view name) {
  return name == "xmlns" || name.substr(0, 6) == "xmlns:";
}

void CheckAttributes(pugi::xml_node node, std::initializer_list<std::string_view> allowed) {
  std::vector<std::string_view> seen;
  for (const pugi::xml_attribute attribute : node.attributes()) {
    const std::string_view name = attribute.name();
    if (std::find(seen.begin(), seen.end(), name) != seen.end()) {
      Refuse("An attribute stands twice in " + Quoted(node.name()));
    }
    seen.push_back(name);
    if (IsDeclaration(name)) continue;
    if (std::find(allowed.begin(), allowed.end(), LocalName(name)) == allowed.end()) {
      Refuse("Unknown attribute " + std::string(name) + " of " + Quoted(node.name()));
    }
  }
}

void CheckChild(pugi::xml_node child, pugi::xml_node parent, std::string_view space) {
  if (child.type() != pugi::node_element) Refuse("Text within " + Quoted(parent.name()));
  const std::string_view name = child.name();
  if (LocalName(name) != name) Refuse("A prefix at " + Quoted(name));
  if (NamespaceOf(child, name) != space) Refuse("Wrong namespace of " + Quoted(name));
}

/// \return The text of an element whose attributes have been checked.
std::string TextOf(pugi::xml_node node) {
  const pugi::xml_node text = node.first_child();
  if (!text) return {};
  if (text.type() != pugi::node_pcdata || text.next_sibling()) {
    Refuse("Expected nothing but text in " + Quoted(node.name()));
  }
  return text.value();
}

}  // namespace

std::string_view LocalName(std::string_view name) {
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

std::string_view NamespaceOf(pugi::xml_node scope, std::string_view name, bool isAttribute) {
  const std::size_t colon = name.find(':');
  // An attribute without a prefix has no namespace, whatever the default.
  if (isAttribute && colon == std::string_view::npos) return {};
  std::string declaration = "xmlns";
  if (colon != std::string_view::npos) declaration += ":" + std::string(name.substr(0, colon));
  for (; scope; scope = scope.parent()) {
    if (const pugi::xml_attribute found = scope.attribute(declaration.c_str()))
      return found.value();
  }
  return {};
}

Members::Members(pugi::xml_node parent, std::string_view space,
                 std::initializer_list<std::string_view> attributes)
    : parent_(parent), next_(parent.first_child()) {
  CheckAttributes(parent, attributes);
  for (const pugi::xml_node child : parent.children()) CheckChild(child, parent, space);
}

pugi::xml_node Members::Required(std::string_view name) {
  const pugi::xml_node found = Optional(name);
  if (found) return found;
  const std::string instead = next_ ? Quoted(next_.name()) : "its end";
  Refuse("Expected " + Quoted(name) + " in " + Quoted(parent_.name()) + ", found " + instead);
}

pugi::xml_node Members::Optional(std::string_view name) {
  if (!next_ || name != next_.name()) return {};
  return std::exchange(next_, next_.next_sibling());
}

std::vector<pugi::xml_node> Members::List(std::string_view name) {
  std::vector<pugi::xml_node> found;
  while (const pugi::xml_node node = Optional(name)) found.push_back(node);
  return found;
}

void Members::End() const {
  if (next_) {
    Refuse("Unknown or misplaced " + Quoted(next_.name()) + " in " + Quoted(parent_.name()));
  }
}

std::string ReadText(pugi::xml_node node) {
  CheckAttributes(node, {});
  return TextOf(node);
}

std::optional<std::string> ReadOptionalText(pugi::xml_node node) {
  if (!node) return std::nullopt;
  return ReadText(node);
}

bool ReadBoolean(pugi::xml_node node) {
  const std::string text = ReadText(node);
  if (text != "true" && text != "false") {
    Refuse("Expected true or false in " + Quoted(node.name()));
  }
  return text == "true";
}

std::int32_t ReadInteger(pugi::xml_node node) {
  const std::string text = ReadText(node);
  std::int32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) {
    Refuse("Expected a decimal number of 32 bits in " + Quoted(node.name()));
  }
  return number;
}

std::string ReadDateTime(pugi::xml_node node) {
  std::string text = ReadText(node);
  static const std::regex kForm(R"((\d{4})-(\d\d)-(\d\d)T(\d\d):(\d\d):(\d\d)\.\d{3}Z)");
  std::smatch parts;
  const auto number = [&parts](std::size_t i) { return std::stoi(parts[i]); };
  using namespace std::chrono;
  const bool sound = std::regex_match(text, parts, kForm) &&
                     (year(number(1)) / number(2) / number(3)).ok() && number(4) < 24 &&
                     number(5) < 60 && number(6) < 60;
  if (!sound) Refuse("Expected a time as 2026-02-03T04:05:06.789Z in " + Quoted(node.name()));
  return text;
}

Reference ReadReference(pugi::xml_node node) {
  CheckAttributes(node, {"type"});
  Reference reference{node.attribute("type").value(), TextOf(node)};
  if (reference.type.empty() || reference.id.empty()) {
    Refuse("Expected a reference with its type in " + Quoted(node.name()));
  }
  return reference;
}

}  // namespace Lab::Kelvane
