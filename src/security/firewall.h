// The agent's port in the machine's firewall.
#pragma once

#include <cstdint>
#include <string>

#include "host/com.h"

struct INetFwProfile;

namespace Halvard::Security {

/// Opens a TCP port in the firewall's current profile for as long as it lives. Nothing is opened,
/// and nothing closed at the end, where the firewall is off or somebody else has opened the port.
/// Without the opening a run goes on all the same: what kept it from being made is logged here, and
/// shows nowhere else.
///
/// To be made and destroyed on the same thread, which has COM in between. An agent that is killed
/// leaves the opening behind, under its name.
class TempFirewallException {
 public:
  /// \param name  What an administrator sees in the list of openings. Not empty.
  TempFirewallException(std::uint32_t port, std::wstring name);
  TempFirewallException(const TempFirewallException&) = delete;
  TempFirewallException& operator=(const TempFirewallException&) = delete;
  ~TempFirewallException();

 private:
  bool InitializeFirewallProfile();
  bool IsFirewallTurnedOn() const;
  bool IsFirewallPortEnabled() const;
  bool AddFirewallPort();
  bool RemoveFirewallPort();

  HRESULT comResult_ = E_FAIL;
  Host::ComPtr<INetFwProfile> profile_;
  bool firewallOn_ = false;
  bool portAdded_ = false;
  const std::uint32_t port_;
  const std::wstring name_;
};

}  // namespace Halvard::Security
