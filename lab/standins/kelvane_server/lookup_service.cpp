#include "lookup_service.h"

#include <utility>

#include "soap_fault.h"
#include "xml_text.h"

namespace Lab::Kelvane {
namespace {

struct ServiceType {
  std::string product;
  std::string type;
};

/// What isn't set lets everything pass.
struct Filter {
  std::optional<ServiceType> serviceType;
  std::optional<EndPointType> endPointType;
};

Filter ReadFilter(pugi::xml_node node, std::string_view space) {
  Members members(node, space);
  Filter filter;
  if (const pugi::xml_node child = members.Optional("serviceType")) {
    Members type(child, space);
    filter.serviceType = {ReadText(type.Required("product")), ReadText(type.Required("type"))};
    type.End();
  }
  if (const pugi::xml_node child = members.Optional("endpointType")) {
    Members type(child, space);
    filter.endPointType.emplace();
    filter.endPointType->protocol = ReadOptionalText(type.Optional("protocol"));
    filter.endPointType->type = ReadOptionalText(type.Optional("type"));
    type.End();
  }
  members.End();
  return filter;
}

bool Fits(const std::optional<std::string>& wanted, const std::optional<std::string>& value) {
  return !wanted || wanted == value;
}

bool Passes(const EndPoint& endPoint, const Filter& filter) {
  if (!filter.endPointType) return true;
  return Fits(filter.endPointType->protocol, endPoint.type.protocol) &&
         Fits(filter.endPointType->type, endPoint.type.type);
}

/// \return The registration with those of its endpoints that pass; nothing if it doesn't pass
/// itself.
std::optional<Registration> Passing(Registration registration, const Filter& filter) {
  if (filter.serviceType && (filter.serviceType->product != registration.product ||
                             filter.serviceType->type != registration.type)) {
    return std::nullopt;
  }
  std::erase_if(registration.endPoints,
                [&filter](const EndPoint& endPoint) { return !Passes(endPoint, filter); });
  // Without a wanted endpoint type even a registration that has no endpoints passes.
  if (filter.endPointType && registration.endPoints.empty()) return std::nullopt;
  return registration;
}

std::string WriteEndPoint(const EndPoint& endPoint) {
  std::string xml = "<serviceEndpoints>" + Element("url", endPoint.url) + "<endpointType>";
  if (endPoint.type.protocol) xml += Element("protocol", *endPoint.type.protocol);
  if (endPoint.type.type) xml += Element("type", *endPoint.type.type);
  return xml + "</endpointType></serviceEndpoints>";
}

std::string WriteRegistration(const Registration& registration) {
  std::string xml = "<result>" + Element("serviceId", registration.serviceId) + "<serviceType>" +
                    Element("product", registration.product) + Element("type", registration.type) +
                    "</serviceType>";
  for (const EndPoint& endPoint : registration.endPoints) xml += WriteEndPoint(endPoint);
  return xml + "</result>";
}

}  // namespace

LookupService::LookupService(bool hasRegistration, std::vector<Registration> registrations)
    : hasRegistration_(hasRegistration), registrations_(std::move(registrations)) {}

ServiceAnswer LookupService::Invoke(const SoapRequest& request, const std::string& /*cookie*/,
                                    Json::Value& record) {
  Members arguments(request.operation, Space());
  if (request.Name() == "RetrieveServiceContent") return {RetrieveServiceContent(arguments), {}};
  if (request.Name() == "List") return {List(arguments, record), {}};
  Refuse("Unknown operation <" + std::string(request.Name()) + ">");
}

std::string LookupService::RetrieveServiceContent(Members& arguments) const {
  TakeSelf(arguments, {"LookupServiceInstance", "ServiceInstance"});
  arguments.End();
  if (!hasRegistration_) return "<result/>";
  return "<result><serviceRegistration type=\"LookupServiceRegistration\">ServiceRegistration"
         "</serviceRegistration></result>";
}

std::string LookupService::List(Members& arguments, Json::Value& record) const {
  if (!hasRegistration_) Refuse("There is no service registration.", "ManagedObjectNotFound");
  TakeSelf(arguments, {"LookupServiceRegistration", "ServiceRegistration"});
  const pugi::xml_node criteria = arguments.Optional("filterCriteria");
  const Filter filter = criteria ? ReadFilter(criteria, Space()) : Filter{};
  arguments.End();
  std::string xml;
  Json::UInt count = 0;
  for (const Registration& registration : registrations_) {
    const std::optional<Registration> passing = Passing(registration, filter);
    if (!passing) continue;
    xml += WriteRegistration(*passing);
    ++count;
  }
  record["objects"] = count;
  return xml;
}

}  // namespace Lab::Kelvane
