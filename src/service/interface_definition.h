// The service as the API framework knows it: its id, and for each operation an id, an input and the
// slot that is called.
#pragma once

#include <memory>
#include <string>

#include "krova/provider/interfaces.h"
#include "service/async_service_interface.h"

namespace Halvard::MigratorSvc {

/// Names the service on the wire.
inline constexpr char kServiceId[] = "halvard.migrator";

/// A member of the service's interface.
using Slot = void (AsyncServiceInterface::*)(const std::string& operationInput,
                                             const ActivationPointer& activation,
                                             const NativeCompletion& completion);

/// What the classes below have in common: an operation's input, and the member that is called.
template <Slot slot>
class ServiceMethod {
 public:
  /// The input's one member, a JSON document.
  struct Input {
    std::string json;
  };
  static constexpr Slot kSlot = slot;
};

class GetSourceDeploymentTypeMethod
    : public ServiceMethod<&AsyncServiceInterface::GetSourceDeploymentType> {
 public:
  static constexpr char kOperationId[] = "get_source_deployment_type";
};

class InvokePreUpgradeMethod : public ServiceMethod<&AsyncServiceInterface::InvokePreUpgrade> {
 public:
  static constexpr char kOperationId[] = "invoke_pre_upgrade";
};

class GetCachedPreUpgradeResultMethod
    : public ServiceMethod<&AsyncServiceInterface::GetCachedPreUpgradeResult> {
 public:
  static constexpr char kOperationId[] = "get_cached_pre_upgrade_result";
};

class CollectActiveDirectoryConfigMethod
    : public ServiceMethod<&AsyncServiceInterface::CollectActiveDirectoryConfig> {
 public:
  static constexpr char kOperationId[] = "collect_active_directory_config";
};

class CollectNetworkConfigMethod
    : public ServiceMethod<&AsyncServiceInterface::CollectNetworkConfig> {
 public:
  static constexpr char kOperationId[] = "collect_network_config";
};

class InvokeExportMethod : public ServiceMethod<&AsyncServiceInterface::InvokeExport> {
 public:
  static constexpr char kOperationId[] = "invoke_export";
};

class PollExportStatusMethod : public ServiceMethod<&AsyncServiceInterface::PollExportStatus> {
 public:
  static constexpr char kOperationId[] = "poll_export_status";
};

class CreateAnswerFileMethod : public ServiceMethod<&AsyncServiceInterface::CreateAnswerFile> {
 public:
  static constexpr char kOperationId[] = "create_answer_file";
};

class CopyExportDataMethod : public ServiceMethod<&AsyncServiceInterface::CopyExportData> {
 public:
  static constexpr char kOperationId[] = "copy_export_data";
};

class CopyLogsDirectoryMethod : public ServiceMethod<&AsyncServiceInterface::CopyLogsDirectory> {
 public:
  static constexpr char kOperationId[] = "copy_logs_directory";
};

class ShutdownMachineMethod : public ServiceMethod<&AsyncServiceInterface::ShutdownMachine> {
 public:
  static constexpr char kOperationId[] = "shutdown_machine";
};

class ShutdownHvMethod : public ServiceMethod<&AsyncServiceInterface::ShutdownHv> {
 public:
  static constexpr char kOperationId[] = "shutdown_hv";
};

class ValidateActiveDirectoryCredentialsMethod
    : public ServiceMethod<&AsyncServiceInterface::ValidateActiveDirectoryCredentials> {
 public:
  static constexpr char kOperationId[] = "validate_active_directory_credentials";
};

/// Describes the service for a provider: thirteen methods, each of which takes a structure
/// "operation-input" with the string `json`, gives a string, and declares no error.
/// \param service  Called by the methods, on the threads of whoever calls them. Not null.
std::shared_ptr<const Krova::Provider::AsyncApiInterface> MakeMigratorInterface(
    const std::shared_ptr<AsyncServiceInterface>& service);

}  // namespace Halvard::MigratorSvc
