#include "zelmo/member_reader.h"

#include <cstring>

#include "tunrak/exception.h"

namespace Zelmo {
namespace {

constexpr const char* kBlanks = " \t\r\n";

[[noreturn]] void Refuse(pugi::xml_node structure, const std::string& reason) {
  throw Tunrak::Exception(std::string("Unexpected answer: \"") + structure.name() + "\" " + reason +
                          ".");
}

bool IsBlank(pugi::xml_node text) {
  return text.value()[std::strspn(text.value(), kBlanks)] == '\0';
}

/// The first element from \p node on. Between a structure's members there is nothing but blanks.
pugi::xml_node ElementFrom(pugi::xml_node structure, pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) {
    if (!IsBlank(node)) Refuse(structure, "holds text among its members");
    node = node.next_sibling();
  }
  return node;
}

}  // namespace

MemberReader::MemberReader(pugi::xml_node structure)
    : structure_(structure), next_(ElementFrom(structure, structure.first_child())) {}

pugi::xml_node MemberReader::OptionalStructure(const char* name) {
  if (!next_ || std::strcmp(next_.name(), name) != 0) return {};
  const pugi::xml_node found = next_;
  next_ = ElementFrom(structure_, next_.next_sibling());
  return found;
}

pugi::xml_node MemberReader::Structure(const char* name) {
  const pugi::xml_node found = OptionalStructure(name);
  if (!found) Refuse(structure_, std::string("has no \"") + name + "\" where one belongs");
  return found;
}

std::vector<pugi::xml_node> MemberReader::Structures(const char* name) {
  std::vector<pugi::xml_node> found;
  while (const pugi::xml_node node = OptionalStructure(name)) found.push_back(node);
  return found;
}

std::string MemberReader::Text(const char* name) { return TextOf(Structure(name)); }

std::optional<std::string> MemberReader::OptionalText(const char* name) {
  const pugi::xml_node node = OptionalStructure(name);
  if (!node) return std::nullopt;
  return TextOf(node);
}

std::vector<std::string> MemberReader::Texts(const char* name) {
  std::vector<std::string> texts;
  while (const pugi::xml_node node = OptionalStructure(name)) texts.push_back(TextOf(node));
  return texts;
}

Tunrak::System::DateTime MemberReader::Time(const char* name) {
  return Tunrak::System::ParseDateTime(Text(name));
}

MoRef MemberReader::Reference(const char* name) { return ReferenceOf(Structure(name)); }

std::optional<MoRef> MemberReader::OptionalReference(const char* name) {
  const pugi::xml_node node = OptionalStructure(name);
  if (!node) return std::nullopt;
  return ReferenceOf(node);
}

void MemberReader::End() const {
  if (next_) Refuse(structure_, std::string("has an unexpected \"") + next_.name() + "\"");
}

std::string TextOf(pugi::xml_node element) {
  std::string text;
  for (const pugi::xml_node piece : element.children()) {
    if (piece.type() == pugi::node_element) Refuse(element, "holds elements instead of text");
    text += piece.value();
  }
  return text;
}

MoRef ReferenceOf(pugi::xml_node element) {
  MoRef reference{element.attribute("type").value(), TextOf(element)};
  if (reference.type.empty() || reference.id.empty()) Refuse(element, "is no reference");
  return reference;
}

}  // namespace Zelmo
