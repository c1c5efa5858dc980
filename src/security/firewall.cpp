#include "security/firewall.h"

#include <utility>

#include "core/logging.h"
#include "host/firewall_api.h"

namespace Halvard::Security {
namespace {

constexpr DWORD kComOfOneThread = COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE;

LONG PortNumber(std::uint32_t port) { return static_cast<LONG>(port); }

/// \param failure  The text of the error's line, with one place for the result.
bool Passed(LogScope& log, HRESULT result, const WideFormat<HRESULT>& failure) {
  if (!FAILED(result)) return true;
  log.Error(failure, result);
  return false;
}

bool SetName(LogScope& log, const std::wstring& name, INetFwOpenPort& opening) {
  const Host::UniqueText text(SysAllocString(name.c_str()));
  if (SysStringLen(text.Get()) == 0) {
    const HRESULT reason = text ? E_INVALIDARG : E_OUTOFMEMORY;
    return Passed(
        log, reason,
        L"TempFirewallException::AddFirewallPort: Failed to create exception name: 0x%08lx\n");
  }
  return Passed(
      log, opening.put_Name(text.Get()),
      L"TempFirewallException::AddFirewallPort: Failed to set friendly name on firewall open port: 0x%08lx\n");
}

/// Describes an opening, which opens nothing until the firewall has it.
bool DescribeOpening(LogScope& log, std::uint32_t port, const std::wstring& name,
                     Host::ComPtr<INetFwOpenPort>& opening) {
  return Passed(
             log,
             CoCreateInstance(__uuidof(NetFwOpenPort), nullptr, CLSCTX_INPROC_SERVER,
                              __uuidof(INetFwOpenPort), opening.PutAny()),
             L"TempFirewallException::AddFirewallPort: Failed to create a firewall open port instance: 0x%08lx\n") &&
         Passed(
             log, opening->put_Port(PortNumber(port)),
             L"TempFirewallException::AddFirewallPort: Failed to set port number on firewall open port: 0x%08lx\n") &&
         Passed(
             log, opening->put_Protocol(NET_FW_IP_PROTOCOL_TCP),
             L"TempFirewallException::AddFirewallPort: Failed to set protocol on firewall open port: 0x%08lx\n") &&
         SetName(log, name, *opening.Get());
}

}  // namespace

TempFirewallException::TempFirewallException(std::uint32_t port, std::wstring name)
    : port_(port), name_(std::move(name)) {
  LogScope log;
  comResult_ = CoInitializeEx(nullptr, kComOfOneThread);
  // A thread that has COM of the other kind can use these objects as well.
  if (FAILED(comResult_) && comResult_ != RPC_E_CHANGED_MODE) {
    log.Error(
        L"TempFirewallException::TempFirewallException: Failed to initialize COM to add firewall exception.");
    return;
  }
  if (!InitializeFirewallProfile()) {
    log.Error(
        L"TempFirewallException::TempFirewallException: Failed to initialize windows firewall profile.");
    return;
  }
  if (!IsFirewallTurnedOn()) {
    log.Info(L"TempFirewallException::TempFirewallException: Windows firewall is turned off.");
    return;
  }
  firewallOn_ = true;
  (void)AddFirewallPort();  // A run without the opening goes on, and the log has the reason.
}

TempFirewallException::~TempFirewallException() {
  if (firewallOn_ && portAdded_ && profile_) (void)RemoveFirewallPort();
  // The object goes before the COM that it lives in.
  profile_.Reset();
  // COM of the other kind is whoever's it was before.
  if (SUCCEEDED(comResult_)) CoUninitialize();
}

bool TempFirewallException::InitializeFirewallProfile() {
  LogScope log;
  Host::ComPtr<INetFwMgr> manager;
  Host::ComPtr<INetFwPolicy> policy;
  return Passed(
             log,
             CoCreateInstance(__uuidof(NetFwMgr), nullptr, CLSCTX_INPROC_SERVER,
                              __uuidof(INetFwMgr), manager.PutAny()),
             L"TempFirewallException::InitializeFirewallProfile: CoCreateInstance failed: 0x%08lx\n") &&
         Passed(
             log, manager->get_LocalPolicy(policy.Put()),
             L"TempFirewallException::InitializeFirewallProfile: get_LocalPolicy failed: 0x%08lx\n") &&
         Passed(
             log, policy->get_CurrentProfile(profile_.Put()),
             L"TempFirewallException::InitializeFirewallProfile: get_CurrentProfile failed: 0x%08lx\n");
}

bool TempFirewallException::IsFirewallTurnedOn() const {
  LogScope log;
  VARIANT_BOOL enabled = VARIANT_FALSE;
  if (!Passed(
          log, profile_->get_FirewallEnabled(&enabled),
          L"TempFirewallException::IsFirewallTurnedOn: Failed to get the Windows firewall state: 0x%08lx\n")) {
    return false;
  }
  if (enabled == VARIANT_FALSE) {
    log.Info(L"TempFirewallException::IsFirewallTurnedOn: Windows firewall is disabled.");
    return false;
  }
  log.Info(L"TempFirewallException::IsFirewallTurnedOn: Windows firewall is enabled.");
  return true;
}

bool TempFirewallException::IsFirewallPortEnabled() const {
  LogScope log;
  Host::ComPtr<INetFwOpenPorts> openPorts;
  if (!Passed(
          log, profile_->get_GloballyOpenPorts(openPorts.Put()),
          L"TempFirewallException::IsFirewallPortEnabled: Failed to retrieve a list of globally open firewall ports: 0x%08lx\n")) {
    return false;
  }
  Host::ComPtr<INetFwOpenPort> openPort;
  if (FAILED(openPorts->Item(PortNumber(port_), NET_FW_IP_PROTOCOL_TCP, openPort.Put()))) {
    log.Info(
        L"TempFirewallException::IsFirewallPortEnabled: Firewall exception does not exist for port %d.",
        port_);
    return false;
  }
  VARIANT_BOOL enabled = VARIANT_FALSE;
  // What can't be told counts as not enabled, and is logged as that too.
  (void)Passed(
      log, openPort->get_Enabled(&enabled),
      L"TempFirewallException::IsFirewallPortEnabled: Failed to retrieve if firewall exception is enabled for port: 0x%08lx\n");
  if (enabled == VARIANT_FALSE) {
    log.Info(
        L"TempFirewallException::IsFirewallPortEnabled: Firewall exception not enabled for port %d.",
        port_);
    return false;
  }
  log.Info(
      L"TempFirewallException::IsFirewallPortEnabled: Firewall exception already exists for port %d.",
      port_);
  return true;
}

bool TempFirewallException::AddFirewallPort() {
  // What somebody else has opened isn't this object's to close.
  if (IsFirewallPortEnabled()) return true;
  LogScope log;
  Host::ComPtr<INetFwOpenPort> opening;
  if (!DescribeOpening(log, port_, name_, opening)) return false;
  Host::ComPtr<INetFwOpenPorts> openPorts;
  if (!Passed(
          log, profile_->get_GloballyOpenPorts(openPorts.Put()),
          L"TempFirewallException::AddFirewallPort: Failed to retrieve a list of globally open firewall ports: 0x%08lx\n") ||
      !Passed(
          log, openPorts->Add(opening.Get()),
          L"TempFirewallException::AddFirewallPort: Failed to add firewall exception port: 0x%08lx\n")) {
    return false;
  }
  log.Info(
      L"TempFirewallException::AddFirewallPort: Successfully added firewall exception for port %d.",
      port_);
  portAdded_ = true;
  return true;
}

bool TempFirewallException::RemoveFirewallPort() {
  LogScope log;
  Host::ComPtr<INetFwOpenPorts> openPorts;
  HRESULT result = profile_->get_GloballyOpenPorts(openPorts.Put());
  if (SUCCEEDED(result)) result = openPorts->Remove(PortNumber(port_), NET_FW_IP_PROTOCOL_TCP);
  // The text tells of the list alone, though the removal may be what failed.
  if (!Passed(
          log, result,
          L"TempFirewallException::RemoveFirewallPort: Failed to retrieve a list of globally open firewall ports: 0x%08lx\n")) {
    return false;
  }
  log.Info(
      L"TempFirewallException::RemoveFirewallPort: Successfully removed temporary firewall exception.");
  return true;
}

}  // namespace Halvard::Security
