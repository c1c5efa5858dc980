#include "serverclient/service_thread.h"

#include "serverclient/credentials.h"
#include "serverclient/inventory_size.h"
#include "serverclient/proxy_port.h"
#include "tunrak/application.h"

namespace Halvard::ServerClient {

ServiceThread::ServiceThread() : ServiceThread(Tunrak::Service::GetApp().GetThreadFacility()) {}

ServiceThread::ServiceThread(Tunrak::Service::ThreadFacility& facility) : facility_(facility) {
  facility_.EnterThread();
}

ServiceThread::~ServiceThread() {
  facility_.LeaveThread();
  facility_.ReleaseThread();
}

bool ValidateKvAdminCredentialsOnServiceThread(const std::string& host, std::int32_t port,
                                               const std::string& tunnelPath,
                                               const std::string& thumbprint,
                                               const std::string& user,
                                               const std::string& password) {
  const ServiceThread thread;
  return ValidateKvAdminCredentials(host, port, tunnelPath, thumbprint, user, password);
}

bool GetInventorySizeOnServiceThread(const std::string& host, std::int32_t port,
                                     const std::string& tunnelPath, const std::string& thumbprint,
                                     const std::string& user, const std::string& password,
                                     std::int32_t& hosts, std::int32_t& machines) {
  const ServiceThread thread;
  return GetInventorySize(host, port, tunnelPath, thumbprint, user, password, hosts, machines);
}

bool RetrieveReverseProxyPortThroughLegacySTSPortOnServiceThread(const std::string& host,
                                                                 std::int32_t legacyStsPort,
                                                                 std::int32_t& port) {
  const ServiceThread thread;
  return RetrieveReverseProxyPortThroughLegacySTSPort(host, legacyStsPort, port);
}

}  // namespace Halvard::ServerClient
