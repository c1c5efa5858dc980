#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../zelmo/soap_answers.h"
#include "lookup/service_instance.h"
#include "lookup/service_registration.h"

namespace Lookup {
namespace {

using Tunrak::Testing::ScriptedServer;
using Zelmo::Testing::ContentOf;
using Zelmo::Testing::FailureOf;
using Zelmo::Testing::RequestEnvelope;

std::string Response(const std::string& operation, const std::string& results) {
  return Zelmo::Testing::Response(operation, results, "urn:lookup");
}

template <typename Stub>
std::unique_ptr<Stub> MakeStub(const ScriptedServer& server, const std::string& id) {
  Zelmo::InitializeStaticTypes();
  auto stub = std::make_unique<Stub>(Zelmo::MoRef{Zelmo::GetType<Stub>().GetName(), id});
  stub->SetAdapter(Zelmo::Testing::MakeAdapter(
      server, "/lookupservice/sdk", Zelmo::FindVersionByVmodlName("lookup.version.version2")));
  return stub;
}

TEST(RetrieveServiceContent, RegistrationMayBeAbsent) {
  ScriptedServer server(
      {Response("RetrieveServiceContent",
                "<result><serviceRegistration type=\"LookupServiceRegistration\">sr"
                "</serviceRegistration></result>"),
       Response("RetrieveServiceContent", "<result/>")});
  const auto instance = MakeStub<ServiceInstance>(server, "ServiceInstance");
  EXPECT_EQ(instance->RetrieveServiceContent().GetServiceRegistration(),
            (Zelmo::MoRef{"LookupServiceRegistration", "sr"}));
  EXPECT_EQ(instance->RetrieveServiceContent().GetServiceRegistration(), std::nullopt);
  const std::string request = server.Requests().front();
  EXPECT_THAT(request, testing::StartsWith("POST /lookupservice/sdk HTTP/1.1\r\n"));
  EXPECT_THAT(request, testing::HasSubstr("\r\nSOAPAction: \"urn:lookup/version2\"\r\n"));
  EXPECT_EQ(ContentOf(request),
            RequestEnvelope("<RetrieveServiceContent xmlns=\"urn:lookup\">"
                            "<self type=\"LookupServiceInstance\">ServiceInstance</self>"
                            "</RetrieveServiceContent>"));
}

TEST(List, FilterIsWrittenAndRegistrationsAreRead) {
  ServiceRegistration::ServiceType service;
  service.SetProduct("p");
  service.SetType("t");
  ServiceRegistration::EndpointType endpoint;
  endpoint.SetProtocol("wsTrust");
  endpoint.SetType("e");
  ServiceRegistration::Filter filter;
  filter.SetServiceType(service);
  filter.SetEndpointType(endpoint);
  ScriptedServer server(
      {Response("List",
                "<result><serviceId>1</serviceId><serviceType><product>p</product><type>t</type>"
                "</serviceType><serviceEndpoints><url>https://a/</url><endpointType>"
                "<protocol>wsTrust</protocol><type>e</type></endpointType></serviceEndpoints>"
                "<serviceEndpoints><url>https://b/</url><endpointType/></serviceEndpoints></result>"
                "<result><serviceId>2</serviceId><serviceType><product/><type/></serviceType>"
                "</result>")});
  const auto infos = MakeStub<ServiceRegistration>(server, "sr")->List(filter);
  ASSERT_EQ(infos.size(), 2u);
  EXPECT_EQ(infos[0].GetServiceId(), "1");
  EXPECT_EQ(infos[0].GetServiceType().GetProduct(), "p");
  EXPECT_EQ(infos[0].GetServiceType().GetType(), "t");
  ASSERT_EQ(infos[0].GetServiceEndpoints().size(), 2u);
  EXPECT_EQ(infos[0].GetServiceEndpoints()[0].GetUrl(), "https://a/");
  EXPECT_EQ(infos[0].GetServiceEndpoints()[0].GetEndpointType().GetProtocol(), "wsTrust");
  EXPECT_EQ(infos[0].GetServiceEndpoints()[0].GetEndpointType().GetType(), "e");
  EXPECT_EQ(infos[0].GetServiceEndpoints()[1].GetEndpointType().GetType(), std::nullopt);
  EXPECT_TRUE(infos[1].GetServiceEndpoints().empty());
  EXPECT_EQ(ContentOf(server.Requests().front()),
            RequestEnvelope("<List xmlns=\"urn:lookup\"><self type=\"LookupServiceRegistration\">sr"
                            "</self><filterCriteria><serviceType><product>p</product><type>t</type>"
                            "</serviceType><endpointType><protocol>wsTrust</protocol><type>e</type>"
                            "</endpointType></filterCriteria></List>"));
}

TEST(List, PartsOfTheFilterMayBeLeftOut) {
  ServiceRegistration::EndpointType endpoint;
  endpoint.SetType("e");
  ServiceRegistration::Filter filter;
  filter.SetEndpointType(endpoint);
  ScriptedServer server({Response("List", "")});
  EXPECT_TRUE(MakeStub<ServiceRegistration>(server, "sr")->List(filter).empty());
  EXPECT_THAT(ContentOf(server.Requests().front()),
              testing::HasSubstr("<filterCriteria><endpointType><type>e</type></endpointType>"
                                 "</filterCriteria>"));
}

TEST(List, RegistrationsOfAnotherFormAreRefused) {
  for (const char* result :
       {"<result/>", "<result><serviceId>1</serviceId></result>",
        "<result><serviceId>1</serviceId><serviceType><product/><type/></serviceType>"
        "<serviceEndpoints/></result>"}) {
    ScriptedServer server({Response("List", result)});
    EXPECT_NE(FailureOf([&] { MakeStub<ServiceRegistration>(server, "sr")->List({}); }), "")
        << result;
  }
}

}  // namespace
}  // namespace Lookup
