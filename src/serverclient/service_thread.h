// The client's operations for callers on threads of the API service. The libraries don't know those
// threads, so each call enters them and leaves again, also when an exception goes through. On the
// start-up thread the operations are called directly.
#pragma once

#include <cstdint>
#include <string>

#include "tunrak/thread_facility.h"

namespace Halvard::ServerClient {

/// The calling thread's stay inside the libraries, from construction to end.
class ServiceThread {
 public:
  /// \throws Tunrak::Exception  before InitTunrakCore.
  ServiceThread();
  explicit ServiceThread(Tunrak::Service::ThreadFacility& facility);
  ServiceThread(const ServiceThread&) = delete;
  ServiceThread& operator=(const ServiceThread&) = delete;
  ~ServiceThread();

 private:
  Tunrak::Service::ThreadFacility& facility_;
};

/// As the operations without "OnServiceThread".
bool ValidateKvAdminCredentialsOnServiceThread(const std::string& host, std::int32_t port,
                                               const std::string& tunnelPath,
                                               const std::string& thumbprint,
                                               const std::string& user,
                                               const std::string& password);
bool GetInventorySizeOnServiceThread(const std::string& host, std::int32_t port,
                                     const std::string& tunnelPath, const std::string& thumbprint,
                                     const std::string& user, const std::string& password,
                                     std::int32_t& hosts, std::int32_t& machines);
bool RetrieveReverseProxyPortThroughLegacySTSPortOnServiceThread(const std::string& host,
                                                                 std::int32_t legacyStsPort,
                                                                 std::int32_t& port);

}  // namespace Halvard::ServerClient
