// The migrator's service.
#pragma once

#include <string>

#include "service/async_service_interface.h"

namespace Halvard::MigratorSvc {

/// Has no state of its own: what it knows of the run lies in the session's properties.
///
/// Every operation takes the client's locale, asks its guards in its own order (service/guards.h)
/// and only then does its work.
class AsyncServiceImpl final : public AsyncServiceInterface {
 public:
  // precheck_operations.cpp
  void GetSourceDeploymentType(const std::string& operationInput,
                               const ActivationPointer& activation,
                               const NativeCompletion& completion) override;
  void InvokePreUpgrade(const std::string& operationInput, const ActivationPointer& activation,
                        const NativeCompletion& completion) override;
  void GetCachedPreUpgradeResult(const std::string& operationInput,
                                 const ActivationPointer& activation,
                                 const NativeCompletion& completion) override;

  // collection_operations.cpp
  void CollectActiveDirectoryConfig(const std::string& operationInput,
                                    const ActivationPointer& activation,
                                    const NativeCompletion& completion) override;
  void CollectNetworkConfig(const std::string& operationInput, const ActivationPointer& activation,
                            const NativeCompletion& completion) override;

  // export_operations.cpp
  void InvokeExport(const std::string& operationInput, const ActivationPointer& activation,
                    const NativeCompletion& completion) override;
  void PollExportStatus(const std::string& operationInput, const ActivationPointer& activation,
                        const NativeCompletion& completion) override;
  void CreateAnswerFile(const std::string& operationInput, const ActivationPointer& activation,
                        const NativeCompletion& completion) override;

  // copy_operations.cpp
  void CopyExportData(const std::string& operationInput, const ActivationPointer& activation,
                      const NativeCompletion& completion) override;
  void CopyLogsDirectory(const std::string& operationInput, const ActivationPointer& activation,
                         const NativeCompletion& completion) override;

  // shutdown_operations.cpp
  void ShutdownMachine(const std::string& operationInput, const ActivationPointer& activation,
                       const NativeCompletion& completion) override;
  void ShutdownHv(const std::string& operationInput, const ActivationPointer& activation,
                  const NativeCompletion& completion) override;

  // collection_operations.cpp
  void ValidateActiveDirectoryCredentials(const std::string& operationInput,
                                          const ActivationPointer& activation,
                                          const NativeCompletion& completion) override;
};

}  // namespace Halvard::MigratorSvc
