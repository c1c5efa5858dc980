#include "service/interface_definition.h"

#include "krova/data/definition.h"
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using Krova::Core::AsyncActivation;
using Krova::Data::DataType;

/// Notes which operation was called with what, and answers with the operation's number.
class RecordingService final : public AsyncServiceInterface {
 public:
  void GetSourceDeploymentType(const std::string& input, const ActivationPointer& activation,
                               const NativeCompletion& completion) override {
    Note(0, input, activation, completion);
  }
  void InvokePreUpgrade(const std::string& input, const ActivationPointer& activation,
                        const NativeCompletion& completion) override {
    Note(1, input, activation, completion);
  }
  void GetCachedPreUpgradeResult(const std::string& input, const ActivationPointer& activation,
                                 const NativeCompletion& completion) override {
    Note(2, input, activation, completion);
  }
  void CollectActiveDirectoryConfig(const std::string& input, const ActivationPointer& activation,
                                    const NativeCompletion& completion) override {
    Note(3, input, activation, completion);
  }
  void CollectNetworkConfig(const std::string& input, const ActivationPointer& activation,
                            const NativeCompletion& completion) override {
    Note(4, input, activation, completion);
  }
  void InvokeExport(const std::string& input, const ActivationPointer& activation,
                    const NativeCompletion& completion) override {
    Note(5, input, activation, completion);
  }
  void PollExportStatus(const std::string& input, const ActivationPointer& activation,
                        const NativeCompletion& completion) override {
    Note(6, input, activation, completion);
  }
  void CreateAnswerFile(const std::string& input, const ActivationPointer& activation,
                        const NativeCompletion& completion) override {
    Note(7, input, activation, completion);
  }
  void CopyExportData(const std::string& input, const ActivationPointer& activation,
                      const NativeCompletion& completion) override {
    Note(8, input, activation, completion);
  }
  void CopyLogsDirectory(const std::string& input, const ActivationPointer& activation,
                         const NativeCompletion& completion) override {
    Note(9, input, activation, completion);
  }
  void ShutdownMachine(const std::string& input, const ActivationPointer& activation,
                       const NativeCompletion& completion) override {
    Note(10, input, activation, completion);
  }
  void ShutdownHv(const std::string& input, const ActivationPointer& activation,
                  const NativeCompletion& completion) override {
    Note(11, input, activation, completion);
  }
  void ValidateActiveDirectoryCredentials(const std::string& input,
                                          const ActivationPointer& activation,
                                          const NativeCompletion& completion) override {
    Note(12, input, activation, completion);
  }

  std::vector<std::size_t> operations;
  std::vector<std::string> inputs;
  std::vector<ActivationPointer> activations;

 private:
  void Note(std::size_t operation, const std::string& input, const ActivationPointer& activation,
            const NativeCompletion& completion) {
    operations.push_back(operation);
    inputs.push_back(input);
    activations.push_back(activation);
    completion(std::to_string(operation), nullptr, Krova::kFinished);
  }
};

class InterfaceDefinition : public testing::Test {
 protected:
  static Krova::Data::ValuePointer InputWith(const std::string& text) {
    auto input = std::make_shared<Krova::Data::StructValue>("operation-input");
    input->SetField("json", std::make_shared<Krova::Data::StringValue>(text));
    return input;
  }

  const std::shared_ptr<RecordingService> service_ = std::make_shared<RecordingService>();
  const std::shared_ptr<const Krova::Provider::AsyncApiInterface> api_ =
      MakeMigratorInterface(service_);
};

TEST_F(InterfaceDefinition, NamesTheServiceAndItsThirteenOperations) {
  EXPECT_EQ(api_->GetIdentifier()->GetName(), "halvard.migrator");
  EXPECT_EQ(api_->GetMethods().size(), 13u);
  for (const KnownOperation& operation : kOperations) {
    EXPECT_TRUE(api_->GetMethods().contains(operation.id)) << operation.id;
  }
}

TEST_F(InterfaceDefinition, EachOperationTakesOneTextGivesATextAndDeclaresNoError) {
  for (const auto& [id, method] : api_->GetMethods()) {
    const auto input = std::dynamic_pointer_cast<const Krova::Data::StructDefinition>(
        method->GetInputDefinition());
    ASSERT_NE(input, nullptr) << id;
    EXPECT_EQ(input->GetName(), "operation-input") << id;
    ASSERT_EQ(input->GetFields().size(), 1u) << id;
    EXPECT_EQ(input->GetFields().begin()->first, "json") << id;
    EXPECT_EQ(input->GetFields().begin()->second->GetType(), DataType::kString) << id;
    EXPECT_EQ(method->GetOutputDefinition()->GetType(), DataType::kString) << id;
    EXPECT_TRUE(method->GetErrorDefinitions().empty()) << id;
  }
}

TEST_F(InterfaceDefinition, EachOperationReachesItsSlotWithTheTextAndTheActivation) {
  const auto activation = std::make_shared<AsyncActivation>(nullptr);
  for (std::size_t i = 0; i < std::size(kOperations); ++i) {
    std::shared_ptr<Krova::Core::MethodResult> ended;
    api_->GetMethods()
        .at(kOperations[i].id)
        ->Invoke(InputWith("text for " + std::to_string(i)), activation,
                 [&](const std::shared_ptr<Krova::Core::MethodResult>& result,
                     const Krova::Progress& progress) {
                   ended = result;
                   EXPECT_EQ(progress, Krova::kFinished);
                 });
    ASSERT_NE(ended, nullptr);
    EXPECT_EQ(ended->error, nullptr);
    const auto* output = Krova::Data::ValueCast<Krova::Data::StringValue>(ended->output.get());
    ASSERT_NE(output, nullptr);
    EXPECT_EQ(output->GetValue(), std::to_string(i));
    EXPECT_EQ(service_->operations.back(), i);
    EXPECT_EQ(service_->inputs.back(), "text for " + std::to_string(i));
    EXPECT_EQ(service_->activations.back(), activation);
  }
}

}  // namespace
}  // namespace Halvard::MigratorSvc
