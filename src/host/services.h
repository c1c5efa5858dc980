// Windows services of the installed products: how one is configured, and starting them one by one.
// Each operation blocks its caller and logs its own failures. Without state; safe on any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/windows_api.h"

namespace Halvard::Host {

/// A service's configuration as the service manager tells it. Its texts lie in the same block, and
/// go with it. The account of a driver may be null.
class ServiceConfiguration {
 public:
  ServiceConfiguration() = default;
  explicit ServiceConfiguration(std::unique_ptr<std::byte[]> block) : block_(std::move(block)) {}

  explicit operator bool() const { return block_ != nullptr; }
  const QUERY_SERVICE_CONFIGW* operator->() const {
    return reinterpret_cast<const QUERY_SERVICE_CONFIGW*>(block_.get());
  }

 private:
  std::unique_ptr<std::byte[]> block_;
};

/// \param name  The key name, not the display name.
/// \param[out] configuration  Untouched on failure.
bool QueryServiceConfigW(const std::wstring& name, ServiceConfiguration& configuration);

/// Starts a service and waits until it runs. Blocks as long as the service makes progress; it is
/// given up 30,000 ms after its last new check point.
/// \param name  The key name, not the display name.
/// \return True when the service runs, also when it ran already.
bool StartServiceW(const std::wstring& name);

/// Starts services in the given order and stops at the first that doesn't come up.
/// \param names  Key names, not display names. Empty names are skipped.
/// \return The names that run now, in order. Shorter than \p names after a failure.
std::vector<std::wstring> StartServices(const std::vector<std::wstring>& names);

}  // namespace Halvard::Host
