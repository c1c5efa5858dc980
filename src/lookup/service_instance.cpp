#include "lookup/service_instance.h"

#include "zelmo/member_reader.h"
#include "zelmo/soap_stub_adapter.h"

namespace Lookup {
namespace {

const Zelmo::Type kType("LookupServiceInstance", Zelmo::NewStub<ServiceInstance>);
const Zelmo::Version kVersion("lookup", "version2", "lookup.version.version2", "urn:lookup",
                              "\"urn:lookup/version2\"");

}  // namespace

const Zelmo::Type& ServiceInstance::StaticType() { return kType; }

ServiceContent ServiceInstance::RetrieveServiceContent() const {
  const Zelmo::CallResults results = Adapter().Invoke(GetMoRef(), "RetrieveServiceContent");
  Zelmo::MemberReader reader(results.One());
  ServiceContent content(reader.OptionalReference("serviceRegistration"));
  reader.End();
  return content;
}

}  // namespace Lookup
