#include "quen/service_instance.h"

#include "zelmo/member_reader.h"
#include "zelmo/soap_stub_adapter.h"

namespace Quen {
namespace {

const Zelmo::Type kType("ServiceInstance", Zelmo::NewStub<ServiceInstance>);
const Zelmo::Version kVersion("quen25", "5.5", "quen.version.version9", "urn:quen25",
                              "\"urn:quen25/5.5\"");

}  // namespace

const Zelmo::Type& ServiceInstance::StaticType() { return kType; }

ServiceInstanceContent ServiceInstance::RetrieveContent() const {
  const Zelmo::CallResults results = Adapter().Invoke(GetMoRef(), "RetrieveContent");
  Zelmo::MemberReader reader(results.One());
  ServiceInstanceContent content;
  content.rootFolder = reader.Reference("rootFolder");
  content.propertyCollector = reader.Reference("propertyCollector");
  content.sessionManager = reader.OptionalReference("sessionManager");
  content.extensionManager = reader.OptionalReference("extensionManager");
  reader.End();
  return content;
}

}  // namespace Quen
