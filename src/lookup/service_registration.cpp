#include "lookup/service_registration.h"

#include "zelmo/member_reader.h"
#include "zelmo/soap_stub_adapter.h"

namespace Lookup {
namespace {

using Zelmo::MemberReader;
using Zelmo::MemberWriter;

const Zelmo::Type kType("LookupServiceRegistration", Zelmo::NewStub<ServiceRegistration>);

void WriteServiceType(MemberWriter writer, const ServiceRegistration::ServiceType& type) {
  writer.Text("product", type.GetProduct());
  writer.Text("type", type.GetType());
}

void WriteEndpointType(MemberWriter writer, const ServiceRegistration::EndpointType& type) {
  if (type.GetProtocol()) writer.Text("protocol", *type.GetProtocol());
  if (type.GetType()) writer.Text("type", *type.GetType());
}

void WriteFilter(MemberWriter writer, const ServiceRegistration::Filter& filter) {
  if (filter.GetServiceType()) {
    WriteServiceType(writer.Structure("serviceType"), *filter.GetServiceType());
  }
  if (filter.GetEndpointType()) {
    WriteEndpointType(writer.Structure("endpointType"), *filter.GetEndpointType());
  }
}

ServiceRegistration::ServiceType ReadServiceType(pugi::xml_node node) {
  MemberReader reader(node);
  ServiceRegistration::ServiceType type;
  type.SetProduct(reader.Text("product"));
  type.SetType(reader.Text("type"));
  reader.End();
  return type;
}

ServiceRegistration::EndpointType ReadEndpointType(pugi::xml_node node) {
  MemberReader reader(node);
  ServiceRegistration::EndpointType type;
  if (const auto protocol = reader.OptionalText("protocol")) type.SetProtocol(*protocol);
  if (const auto name = reader.OptionalText("type")) type.SetType(*name);
  reader.End();
  return type;
}

ServiceRegistration::Endpoint ReadEndpoint(pugi::xml_node node) {
  MemberReader reader(node);
  std::string url = reader.Text("url");
  ServiceRegistration::EndpointType type = ReadEndpointType(reader.Structure("endpointType"));
  reader.End();
  return {std::move(url), std::move(type)};
}

ServiceRegistration::Info ReadInfo(pugi::xml_node node) {
  MemberReader reader(node);
  std::string id = reader.Text("serviceId");
  ServiceRegistration::Info info(std::move(id), ReadServiceType(reader.Structure("serviceType")));
  for (const pugi::xml_node endpoint : reader.Structures("serviceEndpoints")) {
    info.AddServiceEndpoint(ReadEndpoint(endpoint));
  }
  reader.End();
  return info;
}

}  // namespace

const Zelmo::Type& ServiceRegistration::StaticType() { return kType; }

std::vector<ServiceRegistration::Info> ServiceRegistration::List(const Filter& filter) const {
  const Zelmo::CallResults results = Adapter().Invoke(GetMoRef(), "List", [&](MemberWriter& call) {
    WriteFilter(call.Structure("filterCriteria"), filter);
  });
  std::vector<Info> infos;
  for (const pugi::xml_node result : results.All()) infos.push_back(ReadInfo(result));
  return infos;
}

}  // namespace Lookup
