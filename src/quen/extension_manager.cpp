#include "quen/extension_manager.h"

#include "quen/extension_wire.h"
#include "zelmo/soap_stub_adapter.h"

namespace Quen {
namespace {

const Zelmo::Type kType("ExtensionManager", Zelmo::NewStub<ExtensionManager>);

}  // namespace

const Zelmo::Type& ExtensionManager::StaticType() { return kType; }

std::unique_ptr<Extension> ExtensionManager::FindExtension(const std::string& extensionKey) const {
  const Zelmo::CallResults results =
      Adapter().Invoke(GetMoRef(), "FindExtension",
                       [&](Zelmo::MemberWriter& call) { call.Text("extensionKey", extensionKey); });
  const pugi::xml_node found = results.OneOrNone();
  return found ? std::make_unique<Extension>(ReadExtension(found)) : nullptr;
}

void ExtensionManager::RegisterExtension(const Extension& extension) const {
  Adapter()
      .Invoke(GetMoRef(), "RegisterExtension",
              [&](Zelmo::MemberWriter& call) {
                WriteExtension(call.Structure("extension"), extension);
              })
      .None();
}

void ExtensionManager::UpdateExtension(const Extension& extension) const {
  Adapter()
      .Invoke(GetMoRef(), "UpdateExtension",
              [&](Zelmo::MemberWriter& call) {
                WriteExtension(call.Structure("extension"), extension);
              })
      .None();
}

void ExtensionManager::UnregisterExtension(const std::string& extensionKey) const {
  Adapter()
      .Invoke(GetMoRef(), "UnregisterExtension",
              [&](Zelmo::MemberWriter& call) { call.Text("extensionKey", extensionKey); })
      .None();
}

}  // namespace Quen
