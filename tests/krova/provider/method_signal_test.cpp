#include "krova/provider/method_signal.h"

#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/data/definition_builder.h"
#include "krova/make_values.h"
#include "krova/provider/test_service.h"
#include "krova/standard_errors.h"

namespace Krova::Provider {
namespace {

using namespace Krova::Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Progress kHalf{0, 10, 5};

Data::DefinitionPointer InputDefinition() {
  return DefineStruct("operation-input", {{"json", DefineString()}});
}

std::shared_ptr<const Data::ErrorDefinition> DeclaredError() {
  return std::static_pointer_cast<const Data::ErrorDefinition>(
      DefineError("declared", {{"code", DefineInteger()}}));
}

std::shared_ptr<const Data::ErrorValue> AsError(const Data::ValuePointer& value) {
  return Data::ValueCast<Data::ErrorValue>(value);
}

// A method "op" whose function each test gives.
class MethodSignalTest : public ::testing::Test {
 protected:
  void Connect(AsyncApiMethodSignal::Signal signal) { method_->Connect(std::move(signal)); }

  // The function ends the call at once in this way.
  void EndWith(std::optional<Data::ValuePointer> output,
               std::shared_ptr<const Data::ErrorValue> error) {
    Connect([output, error](const auto&, const auto&, const Core::MethodCompletion& completion) {
      completion(output, error, kFinished);
    });
  }

  void Invoke(const Data::ValuePointer& input = Struct("operation-input",
                                                       {{"json", String("{}")}})) {
    method_->Invoke(input, activation_, answers_.Completion());
  }

  void ExpectError(const char* name, const MessageList& messages) {
    ASSERT_NE(answers_.Only(), nullptr);
    EXPECT_EQ(answers_.Only()->output, nullptr);
    ASSERT_NE(answers_.Only()->error, nullptr);
    EXPECT_EQ(answers_.Only()->error->GetName(), name);
    EXPECT_EQ(MessagesOf(answers_.Only()->error), messages);
    EXPECT_THAT(answers_.reported, ElementsAre(kFinished));
  }

  const std::shared_ptr<AsyncApiMethodSignal> method_ = std::make_shared<AsyncApiMethodSignal>(
      "op", InputDefinition(), DefineString(), ErrorDefinitionList{DeclaredError()});
  const std::shared_ptr<Core::AsyncActivation> activation_ =
      std::make_shared<Core::AsyncActivation>(std::make_shared<Core::ExecutionContext>());
  Answers answers_;
};

TEST_F(MethodSignalTest, TellsWhatItTakesAndGives) {
  EXPECT_EQ(method_->GetName(), "op");
  EXPECT_EQ(method_->GetInputDefinition()->ToString(), InputDefinition()->ToString());
  EXPECT_EQ(method_->GetOutputDefinition()->ToString(), "STRING");
  ASSERT_EQ(method_->GetErrorDefinitions().size(), 1U);
  EXPECT_EQ(method_->CopyErrorDefinitions(), method_->GetErrorDefinitions());
  const auto definition = method_->GetDefinition(InterfaceId("service"));
  EXPECT_EQ(definition->identifier->GetInterface()->GetName(), "service");
  EXPECT_EQ(definition->identifier->GetName(), "op");
  EXPECT_EQ(definition->input, method_->GetInputDefinition());
  EXPECT_EQ(definition->output, method_->GetOutputDefinition());
}

TEST_F(MethodSignalTest, AMethodThatIsntConnectedIsAnInternalServerError) {
  Invoke();
  ExpectError(kInternalServerError, {MakeMessage("krova.provider.method.signal.not.connected")});
}

TEST_F(MethodSignalTest, HandsInputAndActivationOn) {
  Data::ValuePointer seenInput;
  std::shared_ptr<Core::AsyncActivation> seenActivation;
  Connect([&](const Data::ValuePointer& input, const auto& activation, const auto&) {
    seenInput = input;
    seenActivation = activation;
  });
  const Data::ValuePointer input = Struct("operation-input", {{"json", String("{}")}});
  Invoke(input);
  EXPECT_EQ(seenInput, input);
  EXPECT_EQ(seenActivation, activation_);
  EXPECT_THAT(answers_.results, IsEmpty());
}

TEST_F(MethodSignalTest, AnOutputThatFitsIsTheResult) {
  const Data::ValuePointer output = String("done");
  EndWith(output, nullptr);
  Invoke();
  ASSERT_NE(answers_.Only(), nullptr);
  EXPECT_EQ(answers_.Only()->output, output);
  EXPECT_EQ(answers_.Only()->error, nullptr);
  EXPECT_THAT(answers_.reported, ElementsAre(kFinished));
}

// Inputs.

TEST_F(MethodSignalTest, AnExtraFieldIsAnUnexpectedInput) {
  EndWith(String("never"), nullptr);
  const auto input = Struct("operation-input", {{"json", String("{}")}, {"more", Integer(1)}});
  Invoke(input);
  ExpectError(kUnexpectedInputError,
              {MakeMessage("krova.invoke.invalid.input", "op"),
               MakeMessage("krova.data.compound.field.extra", "more", InputDefinition()->ToString(),
                           input->ToString())});
}

TEST_F(MethodSignalTest, AMissingFieldIsAnUnexpectedInput) {
  EndWith(String("never"), nullptr);
  Invoke(Struct("operation-input"));
  ExpectError(kUnexpectedInputError,
              {MakeMessage("krova.invoke.invalid.input", "op"),
               MakeMessage("krova.data.compound.field.missing", "json",
                           InputDefinition()->ToString(), "{{ operation-input : { } }} ")});
}

TEST_F(MethodSignalTest, AStringInPlaceOfTheStructureIsAnInvalidArgument) {
  EndWith(String("never"), nullptr);
  Invoke(String("{}"));
  ExpectError(kInvalidArgumentError,
              {MakeMessage("krova.invoke.invalid.input", "op"),
               MakeMessage("krova.data.type.mismatch", InputDefinition()->ToString(), "{}")});
}

TEST_F(MethodSignalTest, AnUnsetFieldIsAnInvalidArgumentWithoutADetail) {
  EndWith(String("never"), nullptr);
  Invoke(Struct("operation-input", {{"json", nullptr}}));
  ExpectError(kInvalidArgumentError, {MakeMessage("krova.invoke.invalid.input", "op")});
}

TEST_F(MethodSignalTest, AnUnsetInputIsAnInvalidArgumentWithoutADetail) {
  EndWith(String("never"), nullptr);
  Invoke(nullptr);
  ExpectError(kInvalidArgumentError, {MakeMessage("krova.invoke.invalid.input", "op")});
}

TEST_F(MethodSignalTest, ASecretIsHiddenInTheMessage) {
  EndWith(String("never"), nullptr);
  Invoke(Struct("operation-input", {{"json", Secret("hunter2")}}));
  ExpectError(kInvalidArgumentError,
              {MakeMessage("krova.invoke.invalid.input", "op"),
               MakeMessage("krova.data.type.mismatch", "STRING", "<secret>")});
}

TEST(MethodSignal, WithoutAnInputDefinitionTakesNoInput) {
  const auto method = std::make_shared<AsyncApiMethodSignal>("op", nullptr, DefineString());
  method->Connect([](const auto&, const auto&, const Core::MethodCompletion& completion) {
    completion(String("done"), nullptr, kFinished);
  });
  Answers answers;
  method->Invoke(nullptr, nullptr, answers.Completion());
  method->Invoke(String("x"), nullptr, answers.Completion());
  ASSERT_EQ(answers.results.size(), 2U);
  EXPECT_NE(answers.results[0]->output, nullptr);
  EXPECT_EQ(answers.results[1]->error->GetName(), kInvalidArgumentError);
}

// Outputs and errors.

TEST_F(MethodSignalTest, AnOutputThatDoesntFitIsAnInternalServerError) {
  EndWith(Integer(1), nullptr);
  Invoke();
  ExpectError(kInternalServerError, {MakeMessage("krova.invoke.invalid.output", "op"),
                                     MakeMessage("krova.data.type.mismatch", "STRING", "1")});
}

TEST_F(MethodSignalTest, ANullOutputIsAnInternalServerErrorWithoutADetail) {
  EndWith(Data::ValuePointer(), nullptr);
  Invoke();
  ExpectError(kInternalServerError, {MakeMessage("krova.invoke.invalid.output", "op")});
}

TEST_F(MethodSignalTest, ADeclaredErrorPassesAsItIs) {
  const auto error = AsError(Error("declared", {{"code", Integer(5)}, {"more", String("x")}}));
  EndWith(std::nullopt, error);
  Invoke();
  ASSERT_NE(answers_.Only(), nullptr);
  EXPECT_EQ(answers_.Only()->error, error);
}

TEST_F(MethodSignalTest, AnErrorWinsOverAnOutput) {
  const auto error = AsError(Error("declared", {{"code", Integer(5)}}));
  EndWith(String("done"), error);
  Invoke();
  ASSERT_NE(answers_.Only(), nullptr);
  EXPECT_EQ(answers_.Only()->error, error);
  EXPECT_EQ(answers_.Only()->output, nullptr);
}

TEST_F(MethodSignalTest, ADeclaredErrorThatDoesntFitIsAnInternalServerError) {
  const BaseMessage reported = MakeMessage("krova.data.invalid.type");
  const auto list = List({Data::MessageToValue(reported)});
  const auto error = AsError(Error("declared", {{"code", String("5")}, {"messages", list}}));
  EndWith(std::nullopt, error);
  Invoke();
  ExpectError(kInternalServerError,
              {MakeMessage("krova.invoke.invalid.error", "declared"),
               MakeMessage("krova.data.type.mismatch", "INTEGER", "5"), reported});
}

TEST_F(MethodSignalTest, AnUndeclaredErrorIsAnInternalServerError) {
  const BaseMessage reported = MakeMessage("krova.data.invalid.type");
  EndWith(std::nullopt, Data::MakeErrorValue("surprise", {reported}));
  Invoke();
  ExpectError(kInternalServerError,
              {MakeMessage("krova.bindings.method.impl.unexpected", "surprise"), reported});
  EXPECT_EQ(MessagesOf(answers_.Only()->error)[0].default_message,
            "Unexpected error for method: %1% -> %2%");
}

TEST_F(MethodSignalTest, AnUndeclaredErrorWithoutMessagesKeepsOurs) {
  const MessageList ours = {MakeMessage("krova.bindings.method.impl.unexpected", "surprise")};
  EndWith(std::nullopt, AsError(Error("surprise")));
  Invoke();
  ExpectError(kInternalServerError, ours);
  answers_ = {};
  EndWith(std::nullopt, AsError(Error("surprise", {{"messages", String("no list")}})));
  Invoke();
  ExpectError(kInternalServerError, ours);
}

// Progress, threads, exceptions.

TEST_F(MethodSignalTest, ProgressReportsHaveNoResult) {
  Connect([](const auto&, const auto&, const Core::MethodCompletion& completion) {
    completion(std::nullopt, nullptr, kHalf);
    completion(std::nullopt, nullptr, Progress{0, 10, 9});
    completion(String("done"), nullptr, kFinished);
  });
  Invoke();
  ASSERT_EQ(answers_.results.size(), 3U);
  EXPECT_EQ(answers_.results[0], nullptr);
  EXPECT_EQ(answers_.results[1], nullptr);
  EXPECT_NE(answers_.results[2], nullptr);
  EXPECT_THAT(answers_.reported, ElementsAre(kHalf, Progress{0, 10, 9}, kFinished));
}

TEST_F(MethodSignalTest, AnotherThreadMayEndTheCallLater) {
  Core::MethodCompletion kept;
  Connect([&kept](const auto&, const auto&, const Core::MethodCompletion& completion) {
    kept = completion;
  });
  Invoke();
  EXPECT_THAT(answers_.results, IsEmpty());
  std::thread other([&kept] { kept(String("done"), nullptr, kFinished); });
  other.join();
  ASSERT_NE(answers_.Only(), nullptr);
  EXPECT_NE(answers_.Only()->output, nullptr);
}

TEST_F(MethodSignalTest, AKeptCompletionKeepsTheMethod) {
  Core::MethodCompletion kept;
  Answers answers;
  {
    const auto method = std::make_shared<AsyncApiMethodSignal>("m", nullptr, DefineString());
    method->Connect([&kept](const auto&, const auto&, const Core::MethodCompletion& completion) {
      kept = completion;
    });
    method->Invoke(nullptr, nullptr, answers.Completion());
  }
  kept(Integer(1), nullptr, kFinished);
  ASSERT_NE(answers.Only(), nullptr);
  EXPECT_EQ(MessagesOf(answers.Only()->error)[0], MakeMessage("krova.invoke.invalid.output", "m"));
}

TEST_F(MethodSignalTest, AnExceptionIsAnInternalServerError) {
  const MessageList messages = {
      MakeMessage("krova.bindings.method.impl.unexpected", kInternalServerError)};
  Connect([](const auto&, const auto&, const auto&) { throw std::runtime_error("broken"); });
  Invoke();
  ExpectError(kInternalServerError, messages);
  answers_ = {};
  Connect([](const auto&, const auto&, const auto&) { throw 5; });
  Invoke();
  ExpectError(kInternalServerError, messages);
}

TEST_F(MethodSignalTest, AnExceptionAfterProgressStillEndsTheCall) {
  Connect([](const auto&, const auto&, const Core::MethodCompletion& completion) {
    completion(std::nullopt, nullptr, kHalf);
    throw std::runtime_error("broken");
  });
  Invoke();
  ASSERT_EQ(answers_.results.size(), 2U);
  EXPECT_EQ(answers_.results[0], nullptr);
  EXPECT_EQ(answers_.results[1]->error->GetName(), kInternalServerError);
}

TEST_F(MethodSignalTest, AnExceptionAfterTheEndIsNoSecondAnswer) {
  Connect([](const auto&, const auto&, const Core::MethodCompletion& completion) {
    completion(String("done"), nullptr, kFinished);
    throw std::runtime_error("broken");
  });
  Invoke();
  ASSERT_NE(answers_.Only(), nullptr);
  EXPECT_NE(answers_.Only()->output, nullptr);
}

TEST_F(MethodSignalTest, NothingIsReportedAfterTheEnd) {
  Connect([](const auto&, const auto&, const Core::MethodCompletion& completion) {
    completion(String("done"), nullptr, kFinished);
    completion(std::nullopt, nullptr, kHalf);
    completion(String("again"), nullptr, kFinished);
  });
  Invoke();
  EXPECT_EQ(answers_.results.size(), 1U);
}

TEST_F(MethodSignalTest, AnEmptyCompletionThrowsOnEveryPath) {
  const Core::ProviderCompletion none;
  EXPECT_THROW(method_->Invoke(nullptr, activation_, none), boost::bad_function_call);
  EndWith(String("done"), nullptr);
  EXPECT_THROW(method_->Invoke(nullptr, activation_, none), boost::bad_function_call);
  EXPECT_THROW(
      method_->Invoke(Struct("operation-input", {{"json", String("{}")}}), activation_, none),
      boost::bad_function_call);
}

// Rich definitions: a union, optional and recursive types.

TEST(MethodSignal, ServesRecursiveAndOptionalTypes) {
  Data::NativeType node{Data::DataType::kStruct, nullptr, "node"};
  const Data::NativeType next{Data::DataType::kOptional, &node};
  const Data::NativeType number{Data::DataType::kInteger};
  node.fields = {{"next", &next}, {"number", &number}};
  const auto definition = Data::BuildDefinition(node);
  const auto method = std::make_shared<AsyncApiMethodSignal>("echo", definition, definition);
  method->Connect([](const auto& input, const auto&, const Core::MethodCompletion& completion) {
    completion(input, nullptr, kFinished);
  });
  Answers answers;
  const auto inner = Struct("node", {{"number", Integer(2)}});
  const auto good = Struct("node", {{"next", Set(inner)}, {"number", Integer(1)}});
  const auto bad = Struct("node", {{"next", Set(Struct("node"))}, {"number", Integer(1)}});

  method->Invoke(good, nullptr, answers.Completion());
  method->Invoke(bad, nullptr, answers.Completion());

  ASSERT_EQ(answers.results.size(), 2U);
  EXPECT_EQ(answers.results[0]->output, good);
  EXPECT_EQ(answers.results[1]->error->GetName(), kUnexpectedInputError);
}

TEST(MethodSignal, ServesUnions) {
  const auto shape = Define<Data::UnionCaseDefinition>(
      "kind",
      Data::UnionCaseDefinition::Cases{{"circle", {"radius"}}, {"box", {"height", "width"}}});
  const auto method = std::make_shared<AsyncApiMethodSignal>("draw", shape, DefineString());
  method->Connect([](const auto&, const auto&, const Core::MethodCompletion& completion) {
    completion(String("drawn"), nullptr, kFinished);
  });
  Answers answers;
  const auto circle = Struct("shape", {{"kind", String("circle")}, {"radius", Integer(1)}});
  const auto bent = Struct("shape", {{"kind", String("box")}, {"radius", Integer(1)}});

  method->Invoke(Set(circle), nullptr, answers.Completion());
  method->Invoke(Set(bent), nullptr, answers.Completion());

  ASSERT_EQ(answers.results.size(), 2U);
  EXPECT_NE(answers.results[0]->output, nullptr);
  EXPECT_EQ(answers.results[1]->error->GetName(), kInvalidArgumentError);
  EXPECT_EQ(MessagesOf(answers.results[1]->error)[1].id, "krova.data.union.invalid.case.state");
}

}  // namespace
}  // namespace Krova::Provider
