#include "zelmo/soap_message.h"

#include <boost/algorithm/string/replace.hpp>
#include <string_view>

#include "tunrak/exception.h"
#include "zelmo/member_reader.h"
#include "zelmo/xml_scan.h"

namespace Zelmo {
namespace {

constexpr const char* kEnvelopeNamespace = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr const char* kInstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";

class TextSink : public pugi::xml_writer {
 public:
  void write(const void* data, std::size_t size) override {
    text.append(static_cast<const char*>(data), size);
  }
  std::string text;
};

[[noreturn]] void Refuse(const std::string& reason) {
  throw Tunrak::Exception("Unexpected answer: " + reason + ".");
}

std::string_view LocalName(pugi::xml_node element) {
  const std::string_view name = element.name();
  const std::size_t colon = name.find(':');
  return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

/// \return The namespace that the element's prefix, or its lack of one, stands for.
std::string_view NamespaceOf(pugi::xml_node element) {
  const std::string_view name = element.name();
  const std::size_t colon = name.find(':');
  std::string attribute = "xmlns";
  if (colon != std::string_view::npos) attribute += ":" + std::string(name.substr(0, colon));
  for (pugi::xml_node node = element; node; node = node.parent()) {
    if (const pugi::xml_attribute found = node.attribute(attribute.c_str())) return found.value();
  }
  return {};
}

bool IsNamed(pugi::xml_node element, std::string_view space, std::string_view name) {
  return LocalName(element) == name && NamespaceOf(element) == space;
}

/// \return The one element within \p parent.
pugi::xml_node OnlyElement(pugi::xml_node parent) {
  pugi::xml_node found;
  for (const pugi::xml_node child : parent.children()) {
    if (child.type() != pugi::node_element) continue;
    if (found) Refuse(std::string("\"") + parent.name() + "\" has more than one element");
    found = child;
  }
  if (!found) Refuse(std::string("\"") + parent.name() + "\" is empty");
  return found;
}

}  // namespace

std::string WriteCall(const Version& version, const MoRef& self, const char* operation,
                      const WriteArguments& writeArguments) {
  pugi::xml_document document;
  pugi::xml_node declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version").set_value("1.0");
  declaration.append_attribute("encoding").set_value("UTF-8");
  pugi::xml_node envelope = document.append_child("soapenv:Envelope");
  envelope.append_attribute("xmlns:soapenv").set_value(kEnvelopeNamespace);
  envelope.append_attribute("xmlns:xsi").set_value(kInstanceNamespace);
  pugi::xml_node call = envelope.append_child("soapenv:Body").append_child(operation);
  call.append_attribute("xmlns").set_value(version.GetNamespace());
  MemberWriter writer(call);
  writer.Reference("self", self);
  if (writeArguments) writeArguments(writer);
  TextSink sink;
  document.save(sink, "", pugi::format_raw, pugi::encoding_utf8);
  // A reader would take a carriage return for a line's end; as a reference it stays one.
  boost::replace_all(sink.text, "\r", "&#13;");
  return std::move(sink.text);
}

Answer::Answer(std::vector<char> content) : content_(std::move(content)) {
  ScanXml({content_.data(), content_.size()});
  // A text of blanks alone is a text where no elements are.
  const pugi::xml_parse_result result = document_.load_buffer_inplace(
      content_.data(), content_.size(), pugi::parse_default | pugi::parse_ws_pcdata_single,
      pugi::encoding_utf8);
  if (!result) Refuse(result.description());
  const pugi::xml_node envelope = OnlyElement(document_);
  if (!IsNamed(envelope, kEnvelopeNamespace, "Envelope")) Refuse("no SOAP envelope");
  pugi::xml_node last;
  for (const pugi::xml_node child : envelope.children()) last = child;
  if (!IsNamed(last, kEnvelopeNamespace, "Body")) Refuse("an envelope without a body");
  body_ = OnlyElement(last);
}

bool Answer::IsFault() const { return IsNamed(body_, kEnvelopeNamespace, "Fault"); }

std::string Answer::FaultType() const {
  constexpr std::string_view kEnding = "Fault";
  pugi::xml_node detail = body_.child("detail").first_child();
  while (detail && detail.type() != pugi::node_element) detail = detail.next_sibling();
  const std::string_view name = LocalName(detail);
  if (!name.ends_with(kEnding)) return {};
  return std::string(name.substr(0, name.size() - kEnding.size()));
}

std::string Answer::FaultText() const { return TextOf(body_.child("faultstring")); }

std::vector<pugi::xml_node> Answer::Results(const Version& version, const char* operation) const {
  if (!IsNamed(body_, version.GetNamespace(), std::string(operation) + "Response")) {
    Refuse(std::string("\"") + body_.name() + "\" instead of one to " + operation);
  }
  MemberReader reader(body_);
  std::vector<pugi::xml_node> results = reader.Structures("result");
  reader.End();
  return results;
}

}  // namespace Zelmo
