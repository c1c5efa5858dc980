#include "soap_envelope.h"

#include "members.h"
#include "xml_text.h"

namespace Lab::Kelvane {
namespace {

constexpr std::string_view kEnvelopeSpace = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr std::string_view kBegin =
    R"(<?xml version="1.0" encoding="UTF-8"?>)"
    "\n"
    R"(<soapenv:Envelope xmlns:soapenv="http://schemas.xmlsoap.org/soap/envelope/")"
    R"( xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"><soapenv:Body>)";
constexpr std::string_view kEnd = "</soapenv:Body></soapenv:Envelope>";

/// \return The one child of a node, which is an element.
pugi::xml_node OnlyElement(pugi::xml_node parent, const char* where) {
  const pugi::xml_node child = parent.first_child();
  if (!child || child.type() != pugi::node_element || child.next_sibling()) {
    Refuse("Expected exactly one element " + std::string(where));
  }
  return child;
}

void CheckEnvelopePart(pugi::xml_node node, std::string_view name) {
  if (LocalName(node.name()) != name || NamespaceOf(node, node.name()) != kEnvelopeSpace) {
    Refuse("Expected the " + std::string(name) + " of SOAP 1.1");
  }
  for (const pugi::xml_attribute attribute : node.attributes()) {
    if (std::string_view(attribute.name()).substr(0, 5) != "xmlns") {
      Refuse("Unknown attribute of the " + std::string(name));
    }
  }
}

}  // namespace

std::string_view SoapRequest::Name() const { return LocalName(operation.name()); }

SoapRequest ReadEnvelope(std::string_view body, std::string_view space) {
  CheckXmlText(body);
  auto document = std::make_unique<pugi::xml_document>();
  const pugi::xml_parse_result parsed = document->load_buffer(
      body.data(), body.size(), pugi::parse_default | pugi::parse_ws_pcdata, pugi::encoding_utf8);
  if (!parsed) Refuse("Not XML: " + std::string(parsed.description()));
  const pugi::xml_node envelope = OnlyElement(*document, "in the document");
  CheckEnvelopePart(envelope, "Envelope");
  const pugi::xml_node soapBody = OnlyElement(envelope, "in the envelope");
  CheckEnvelopePart(soapBody, "Body");
  const pugi::xml_node operation = OnlyElement(soapBody, "in the body");
  if (NamespaceOf(operation, operation.name()) != space) {
    Refuse("Wrong namespace of <" + std::string(operation.name()) + ">");
  }
  return {std::move(document), operation};
}

std::string WriteResponse(std::string_view operation, std::string_view space,
                          std::string_view results) {
  std::string xml;
  xml.reserve(kBegin.size() + results.size() + kEnd.size() + 3 * operation.size() + 64);
  xml.append(kBegin).append("<").append(operation).append("Response xmlns=\"").append(space);
  xml.append("\">").append(results).append("</").append(operation).append("Response>");
  return xml.append(kEnd);
}

std::string WriteFault(const SoapFault& fault, std::string_view space) {
  const bool client = fault.Blames() == SoapFault::Blame::kClient;
  std::string xml(kBegin);
  xml.append("<soapenv:Fault>")
      .append(Element("faultcode", client ? "soapenv:Client" : "soapenv:Server"));
  xml.append(Element("faultstring", fault.what())).append("<detail><").append(fault.Type());
  xml.append("Fault xmlns=\"").append(space).append("\"/></detail></soapenv:Fault>");
  return xml.append(kEnd);
}

}  // namespace Lab::Kelvane
