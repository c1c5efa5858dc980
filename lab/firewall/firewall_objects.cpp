#include "firewall/firewall_objects.h"

#include <optional>
#include <string>
#include <utility>

#include "com/com_object.h"
#include "machine/machine.h"
#include "windows.h"

#include "netfw.h"

namespace Lab {
namespace {

/// What the firewall's objects answer while its service is stopped.
constexpr auto kNoEndPoints = static_cast<HRESULT>(0x800706D9);
constexpr auto kNoSuchOpening = static_cast<HRESULT>(0x80070002);

constexpr LONG kHighestPort = 65'535;

bool IsPort(LONG number) { return number >= 1 && number <= kHighestPort; }

std::optional<IpProtocol> ProtocolOf(NET_FW_IP_PROTOCOL protocol) {
  if (protocol == NET_FW_IP_PROTOCOL_TCP) return IpProtocol::kTcp;
  if (protocol == NET_FW_IP_PROTOCOL_UDP) return IpProtocol::kUdp;
  return std::nullopt;
}

/// \return S_OK when the user may change the openings and they are his to change.
HRESULT RightToChange() {
  return TheMachine().Describe().UserIsAdministrator() ? S_OK : E_ACCESSDENIED;
}

/// An opening: a copy of one that the firewall has, or one to be added.
class OpenPort final : public ComObject<INetFwOpenPort> {
 public:
  explicit OpenPort(Opening opening)
      : ComObject("INetFwOpenPort", IID_INetFwOpenPort), opening_(std::move(opening)) {}

  HRESULT put_Name(BSTR name) override;
  HRESULT put_Protocol(NET_FW_IP_PROTOCOL ipProtocol) override;
  HRESULT put_Port(LONG portNumber) override;
  HRESULT get_Enabled(VARIANT_BOOL* enabled) override;

  const Opening& Values() const { return opening_; }

 private:
  Opening opening_;
};

class OpenPorts final : public ComObject<INetFwOpenPorts> {
 public:
  OpenPorts() : ComObject("INetFwOpenPorts", IID_INetFwOpenPorts) {}

  HRESULT Add(INetFwOpenPort* port) override;
  HRESULT Remove(LONG portNumber, NET_FW_IP_PROTOCOL ipProtocol) override;
  HRESULT Item(LONG portNumber, NET_FW_IP_PROTOCOL ipProtocol, INetFwOpenPort** openPort) override;
};

class Profile final : public ComObject<INetFwProfile> {
 public:
  Profile() : ComObject("INetFwProfile", IID_INetFwProfile) {}

  HRESULT get_FirewallEnabled(VARIANT_BOOL* enabled) override;
  HRESULT get_GloballyOpenPorts(INetFwOpenPorts** openPorts) override;
};

class Policy final : public ComObject<INetFwPolicy> {
 public:
  Policy() : ComObject("INetFwPolicy", IID_INetFwPolicy) {}

  HRESULT get_CurrentProfile(INetFwProfile** profile) override;
};

class Manager final : public ComObject<INetFwMgr> {
 public:
  Manager() : ComObject("INetFwMgr", IID_INetFwMgr) {}

  HRESULT get_LocalPolicy(INetFwPolicy** localPolicy) override;
};

HRESULT OpenPort::put_Name(BSTR name) {
  const std::wstring text = name == nullptr ? L"" : name;
  const Call call("INetFwOpenPort_put_Name", text);
  if (const auto planned = PlannedResult(call)) return *planned;
  if (text.empty()) return E_INVALIDARG;
  opening_.name = text;
  return S_OK;
}

HRESULT OpenPort::put_Protocol(NET_FW_IP_PROTOCOL ipProtocol) {
  const Call call("INetFwOpenPort_put_Protocol");
  if (const auto planned = PlannedResult(call)) return *planned;
  const auto protocol = ProtocolOf(ipProtocol);
  if (!protocol) return E_INVALIDARG;
  opening_.protocol = *protocol;
  return S_OK;
}

HRESULT OpenPort::put_Port(LONG portNumber) {
  const Call call("INetFwOpenPort_put_Port", std::to_wstring(portNumber));
  if (const auto planned = PlannedResult(call)) return *planned;
  if (!IsPort(portNumber)) return E_INVALIDARG;
  opening_.port = static_cast<std::uint16_t>(portNumber);
  return S_OK;
}

HRESULT OpenPort::get_Enabled(VARIANT_BOOL* enabled) {
  LAB_SUPPORTS(enabled != nullptr);
  const Call call("INetFwOpenPort_get_Enabled");
  if (const auto planned = PlannedResult(call)) return *planned;
  *enabled = opening_.enabled ? VARIANT_TRUE : VARIANT_FALSE;
  return S_OK;
}

HRESULT OpenPorts::Add(INetFwOpenPort* port) {
  const auto* const opened = dynamic_cast<const OpenPort*>(port);
  LAB_SUPPORTS(opened != nullptr);
  const Opening& opening = opened->Values();
  const Call call("INetFwOpenPorts_Add", opening.name);
  if (const auto planned = PlannedResult(call)) return *planned;
  LAB_SUPPORTS(opening.port != 0 && !opening.name.empty());
  if (const HRESULT right = RightToChange(); right != S_OK) return right;
  // Where somebody else manages the firewall, what the machine itself would add is refused.
  if (TheMachine().Describe().firewall.isManaged) return E_ACCESSDENIED;
  TheMachine().FirewallOpenings().Add(opening);
  return S_OK;
}

HRESULT OpenPorts::Remove(LONG portNumber, NET_FW_IP_PROTOCOL ipProtocol) {
  const Call call("INetFwOpenPorts_Remove", std::to_wstring(portNumber));
  if (const auto planned = PlannedResult(call)) return *planned;
  const auto protocol = ProtocolOf(ipProtocol);
  if (!IsPort(portNumber) || !protocol) return E_INVALIDARG;
  if (const HRESULT right = RightToChange(); right != S_OK) return right;
  TheMachine().FirewallOpenings().Remove(static_cast<std::uint16_t>(portNumber), *protocol);
  return S_OK;
}

HRESULT OpenPorts::Item(LONG portNumber, NET_FW_IP_PROTOCOL ipProtocol, INetFwOpenPort** openPort) {
  LAB_SUPPORTS(openPort != nullptr);
  *openPort = nullptr;
  const Call call("INetFwOpenPorts_Item", std::to_wstring(portNumber));
  if (const auto planned = PlannedResult(call)) return *planned;
  const auto protocol = ProtocolOf(ipProtocol);
  if (!IsPort(portNumber) || !protocol) return E_INVALIDARG;
  const auto opening =
      TheMachine().FirewallOpenings().Find(static_cast<std::uint16_t>(portNumber), *protocol);
  if (!opening) return kNoSuchOpening;
  *openPort = new OpenPort(*opening);
  return S_OK;
}

HRESULT Profile::get_FirewallEnabled(VARIANT_BOOL* enabled) {
  LAB_SUPPORTS(enabled != nullptr);
  const Call call("INetFwProfile_get_FirewallEnabled");
  if (const auto planned = PlannedResult(call)) return *planned;
  *enabled = TheMachine().Describe().firewall.isOn ? VARIANT_TRUE : VARIANT_FALSE;
  return S_OK;
}

HRESULT Profile::get_GloballyOpenPorts(INetFwOpenPorts** openPorts) {
  LAB_SUPPORTS(openPorts != nullptr);
  *openPorts = nullptr;
  const Call call("INetFwProfile_get_GloballyOpenPorts");
  if (const auto planned = PlannedResult(call)) return *planned;
  *openPorts = new OpenPorts;
  return S_OK;
}

HRESULT Policy::get_CurrentProfile(INetFwProfile** profile) {
  LAB_SUPPORTS(profile != nullptr);
  *profile = nullptr;
  const Call call("INetFwPolicy_get_CurrentProfile");
  if (const auto planned = PlannedResult(call)) return *planned;
  if (!TheMachine().Describe().firewall.serviceRuns) return kNoEndPoints;
  *profile = new Profile;
  return S_OK;
}

HRESULT Manager::get_LocalPolicy(INetFwPolicy** localPolicy) {
  LAB_SUPPORTS(localPolicy != nullptr);
  *localPolicy = nullptr;
  const Call call("INetFwMgr_get_LocalPolicy");
  if (const auto planned = PlannedResult(call)) return *planned;
  *localPolicy = new Policy;
  return S_OK;
}

}  // namespace

IUnknown* MakeFirewallManager() { return new Manager; }

IUnknown* MakeOpenPort() { return new OpenPort(Opening{}); }

}  // namespace Lab
