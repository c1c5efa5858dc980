#include "zelmo/member_writer.h"

#include "tunrak/exception.h"
#include "zelmo/xml_text.h"

namespace Zelmo {
namespace {

/// The texts may be passwords, so the exception names the member alone.
const char* Checked(const char* name, const std::string& value) {
  if (!IsXmlText(value)) {
    throw Tunrak::Exception(std::string("The ") + name + " has a character that can't be sent.");
  }
  return value.c_str();
}

}  // namespace

void MemberWriter::Text(const char* name, const std::string& value) {
  structure_.append_child(name).text().set(Checked(name, value));
}

void MemberWriter::Texts(const char* name, const std::vector<std::string>& values) {
  for (const std::string& value : values) Text(name, value);
}

void MemberWriter::Boolean(const char* name, bool value) { Text(name, value ? "true" : "false"); }

void MemberWriter::Integer(const char* name, std::int32_t value) {
  Text(name, std::to_string(value));
}

void MemberWriter::Time(const char* name, Tunrak::System::DateTime value) {
  Text(name, Tunrak::System::FormatDateTime(value));
}

void MemberWriter::Reference(const char* name, const MoRef& value) {
  pugi::xml_node node = structure_.append_child(name);
  node.append_attribute("type").set_value(Checked(name, value.type));
  node.text().set(Checked(name, value.id));
}

MemberWriter MemberWriter::Structure(const char* name) {
  return MemberWriter(structure_.append_child(name));
}

void MemberWriter::SetDerivedType(const char* type) {
  structure_.append_attribute("xsi:type").set_value(type);
}

}  // namespace Zelmo
