// The migrator's service as the API framework calls it.
#pragma once

#include <memory>
#include <string>

#include "krova/core/contract.h"

namespace Halvard::MigratorSvc {

using ActivationPointer = std::shared_ptr<Krova::Core::AsyncActivation>;
using Krova::Core::NativeCompletion;

/// Thirteen operations of one shape.
///
/// Each takes a JSON document as text and calls \p completion exactly once before it returns: with
/// a JSON document as text, no error, and the progress of a finished call. What went wrong stands
/// in that document (`result` "fail", `error` a text for a person) and nowhere else. Each blocks
/// until its work is done. \p activation isn't looked at.
class AsyncServiceInterface {
 public:
  // What is migrated, and whether it can be.
  virtual void GetSourceDeploymentType(const std::string& operationInput,
                                       const ActivationPointer& activation,
                                       const NativeCompletion& completion) = 0;
  virtual void InvokePreUpgrade(const std::string& operationInput,
                                const ActivationPointer& activation,
                                const NativeCompletion& completion) = 0;
  virtual void GetCachedPreUpgradeResult(const std::string& operationInput,
                                         const ActivationPointer& activation,
                                         const NativeCompletion& completion) = 0;

  // What the appliance has to know, and the export.
  virtual void CollectActiveDirectoryConfig(const std::string& operationInput,
                                            const ActivationPointer& activation,
                                            const NativeCompletion& completion) = 0;
  virtual void CollectNetworkConfig(const std::string& operationInput,
                                    const ActivationPointer& activation,
                                    const NativeCompletion& completion) = 0;
  virtual void InvokeExport(const std::string& operationInput, const ActivationPointer& activation,
                            const NativeCompletion& completion) = 0;
  virtual void PollExportStatus(const std::string& operationInput,
                                const ActivationPointer& activation,
                                const NativeCompletion& completion) = 0;
  virtual void CreateAnswerFile(const std::string& operationInput,
                                const ActivationPointer& activation,
                                const NativeCompletion& completion) = 0;

  // What is copied, and the end.
  virtual void CopyExportData(const std::string& operationInput,
                              const ActivationPointer& activation,
                              const NativeCompletion& completion) = 0;
  virtual void CopyLogsDirectory(const std::string& operationInput,
                                 const ActivationPointer& activation,
                                 const NativeCompletion& completion) = 0;
  virtual void ShutdownMachine(const std::string& operationInput,
                               const ActivationPointer& activation,
                               const NativeCompletion& completion) = 0;
  virtual void ShutdownHv(const std::string& operationInput, const ActivationPointer& activation,
                          const NativeCompletion& completion) = 0;
  virtual void ValidateActiveDirectoryCredentials(const std::string& operationInput,
                                                  const ActivationPointer& activation,
                                                  const NativeCompletion& completion) = 0;

  virtual ~AsyncServiceInterface() = default;
};

}  // namespace Halvard::MigratorSvc
