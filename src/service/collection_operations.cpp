// What a client is told of the machine's domain and network, and of an account of that domain.
#include "core/messages.h"
#include "core/property_store.h"
#include "core/text.h"
#include "network/network_configuration.h"
#include "service/active_directory_credentials.h"
#include "service/async_service.h"
#include "service/documents.h"
#include "service/domain_members.h"
#include "service/operation_call.h"

namespace Halvard::MigratorSvc {
namespace {

// The operations' full names, with which their log lines begin.
constexpr wchar_t kCollectActiveDirectoryConfig[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::CollectActiveDirectoryConfig";
constexpr wchar_t kCollectNetworkConfig[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::CollectNetworkConfig";
constexpr wchar_t kValidateActiveDirectoryCredentials[] =
    L"Halvard::MigratorSvc::AsyncServiceImpl::ValidateActiveDirectoryCredentials";

void CollectDomain(OperationCall& call) {
  Json::Value& reply = call.Reply();
  Network::ActiveDirectoryConfig config;
  if (!Network::GetActiveDirectoryConfig(config)) {
    reply["ad_domain_name"] = "";
    return call.Fail(1061);
  }
  reply["ad_domain_name"] = WideToUtf8(config.domainName);
  SetDomainController(reply, config);
  call.Succeed(1062);
}

void AnnounceAndLog(OperationCall& call, unsigned int message) {
  call.Announce(message);
  call.Log().Info(L"Halvard::MigratorSvc::AsyncServiceImpl::ValidateActiveDirectoryCredentials: %s",
                  GetLocalizedStringIn(message, "en").c_str());
}

void ValidateAccount(OperationCall& call) {
  AnnounceAndLog(call, 1201);
  if (!ValidateADCredentials(call.Request(), call.Reply())) {
    call.Reply()["result"] = "fail";
    return;
  }
  SetSuccess(call.Reply());
  AnnounceAndLog(call, 1202);
}

}  // namespace

void AsyncServiceImpl::CollectActiveDirectoryConfig(const std::string& operationInput,
                                                    const ActivationPointer& /*activation*/,
                                                    const NativeCompletion& completion) {
  RunOperation(kCollectActiveDirectoryConfig, operationInput, completion, [](OperationCall& call) {
    call.Announce(1193);
    if (!call.PassesGuards()) return;
    CollectDomain(call);
  });
}

void AsyncServiceImpl::CollectNetworkConfig(const std::string& operationInput,
                                            const ActivationPointer& /*activation*/,
                                            const NativeCompletion& completion) {
  RunOperation(kCollectNetworkConfig, operationInput, completion, [](OperationCall& call) {
    call.Announce(1194);
    if (!call.PassesGuards()) return;
    const bool collected =
        Network::CollectNetworkIdentity(gProperties[L"APP_NET_PNID"], call.Reply());
    call.Announce(collected ? 1063 : 1064);
  });
}

void AsyncServiceImpl::ValidateActiveDirectoryCredentials(const std::string& operationInput,
                                                          const ActivationPointer& /*activation*/,
                                                          const NativeCompletion& completion) {
  RunOperation(kValidateActiveDirectoryCredentials, operationInput, completion,
               [](OperationCall& call) {
                 if (!call.PassesGuards()) return;
                 ValidateAccount(call);
               });
}

}  // namespace Halvard::MigratorSvc
