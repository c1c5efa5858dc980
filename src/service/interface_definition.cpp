#include "service/interface_definition.h"

#include <vector>

#include <boost/function.hpp>

#include "krova/data/definition_builder.h"
#include "krova/provider/lock_free_interface.h"
#include "krova/provider/method_filter.h"
#include "krova/provider/method_signal.h"

namespace Halvard::MigratorSvc {
namespace Skeleton {

/// What goes in and out, the same for all operations.
struct Definitions {
  Krova::Data::DefinitionPointer input;
  Krova::Data::DefinitionPointer output;
};

using ServiceFunction =
    boost::function<void(const std::string& operationInput, const ActivationPointer& activation,
                         const NativeCompletion& completion)>;
using MethodPointer = std::shared_ptr<const Krova::Provider::AsyncApiMethod>;

/// Ties an operation's slot to the framework: the signal checks values against the definitions, the
/// filter draws the text out of the input and makes a value of the result.
template <typename Method>
class OperationBinder {
 public:
  using Input = typename Method::Input;

  static constexpr char kField[] = "json";
  static std::string& Member(Input& input) { return input.json; }

  static MethodPointer Bind(const std::shared_ptr<AsyncServiceInterface>& service,
                            const Definitions& definitions) {
    using Filter =
        Krova::Provider::AsyncApiMethodFilter<ServiceFunction, std::string, Input, OperationBinder>;
    const auto filter = std::make_shared<const Filter>(
        ServiceFunction(Krova::Provider::Delegate3(Method::kSlot, service)));
    auto method = std::make_shared<Krova::Provider::AsyncApiMethodSignal>(
        Method::kOperationId, definitions.input, definitions.output);
    method->Connect(Krova::Provider::Delegate3(&Filter::Invoke, filter));
    return method;
  }
};

class GetSourceDeploymentTypeBinder : public OperationBinder<GetSourceDeploymentTypeMethod> {};
class InvokePreUpgradeBinder : public OperationBinder<InvokePreUpgradeMethod> {};
class GetCachedPreUpgradeResultBinder : public OperationBinder<GetCachedPreUpgradeResultMethod> {};
class CollectActiveDirectoryConfigBinder
    : public OperationBinder<CollectActiveDirectoryConfigMethod> {};
class CollectNetworkConfigBinder : public OperationBinder<CollectNetworkConfigMethod> {};
class InvokeExportBinder : public OperationBinder<InvokeExportMethod> {};
class PollExportStatusBinder : public OperationBinder<PollExportStatusMethod> {};
class CreateAnswerFileBinder : public OperationBinder<CreateAnswerFileMethod> {};
class CopyExportDataBinder : public OperationBinder<CopyExportDataMethod> {};
class CopyLogsDirectoryBinder : public OperationBinder<CopyLogsDirectoryMethod> {};
class ShutdownMachineBinder : public OperationBinder<ShutdownMachineMethod> {};
class ShutdownHvBinder : public OperationBinder<ShutdownHvMethod> {};
class ValidateActiveDirectoryCredentialsBinder
    : public OperationBinder<ValidateActiveDirectoryCredentialsMethod> {};

template <typename... Binders>
std::vector<MethodPointer> BindAll(const std::shared_ptr<AsyncServiceInterface>& service,
                                   const Definitions& definitions) {
  return {Binders::Bind(service, definitions)...};
}

}  // namespace Skeleton

namespace {

Skeleton::Definitions DefineOperations() {
  using Krova::Data::DataType;
  const Krova::Data::NativeType text{DataType::kString};
  const Krova::Data::NativeType input{
      DataType::kStruct, nullptr, "operation-input", {{"json", &text}}};
  return {Krova::Data::BuildDefinition(input), Krova::Data::BuildDefinition(text)};
}

}  // namespace

std::shared_ptr<const Krova::Provider::AsyncApiInterface> MakeMigratorInterface(
    const std::shared_ptr<AsyncServiceInterface>& service) {
  using namespace Skeleton;
  const auto methods =
      BindAll<GetSourceDeploymentTypeBinder, InvokePreUpgradeBinder,
              GetCachedPreUpgradeResultBinder, CollectActiveDirectoryConfigBinder,
              CollectNetworkConfigBinder, InvokeExportBinder, PollExportStatusBinder,
              CreateAnswerFileBinder, CopyExportDataBinder, CopyLogsDirectoryBinder,
              ShutdownMachineBinder, ShutdownHvBinder, ValidateActiveDirectoryCredentialsBinder>(
          service, DefineOperations());
  return std::make_shared<Krova::Provider::LockFreeAsyncApiInterface>(
      std::make_shared<Krova::Core::InterfaceIdentifier>(kServiceId), methods);
}

}  // namespace Halvard::MigratorSvc
