#include "krova/provider/local_provider.h"

#include <deque>
#include <stdexcept>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/make_values.h"
#include "krova/provider/method_filter.h"
#include "krova/provider/test_service.h"

namespace Krova::Provider {
namespace {

using namespace Krova::Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A service as they are written: an interface of its own, bound by filters.
class EchoService {
 public:
  void Echo(const std::string& text, const std::shared_ptr<Core::AsyncActivation>& activation,
            const Core::NativeCompletion& completion) {
    completion(text + "@" + activation->GetData("request_id"), nullptr, kFinished);
  }
  void Fail(const std::string&, const std::shared_ptr<Core::AsyncActivation>&,
            const Core::NativeCompletion& completion) {
    completion("ignored", Data::MakeErrorValue("surprise", {}), kFinished);
  }
  void Count(const std::string&, const std::shared_ptr<Core::AsyncActivation>&,
             const Core::NativeCompletion& completion) {
    completion(std::nullopt, nullptr, Progress{0, 2, 1});
    completion(std::nullopt, nullptr, Progress{0, 2, 2});
    completion("counted", nullptr, kFinished);
  }
  void Throw(const std::string&, const std::shared_ptr<Core::AsyncActivation>&,
             const Core::NativeCompletion&) {
    throw std::runtime_error("broken");
  }
  void Later(const std::string& text, const std::shared_ptr<Core::AsyncActivation>&,
             const Core::NativeCompletion& completion) {
    worker = std::thread([text, completion] { completion(text, nullptr, kFinished); });
  }

  std::thread worker;
};

struct EchoInput {
  std::string json;
};
struct EchoBinder {
  static constexpr char kField[] = "json";
  static std::string& Member(EchoInput& input) { return input.json; }
};
using Target =
    boost::function<void(const std::string&, const std::shared_ptr<Core::AsyncActivation>&,
                         const Core::NativeCompletion&)>;
using Filter = AsyncApiMethodFilter<Target, std::string, EchoInput, EchoBinder>;

template <typename Object, typename Method>
Delegate3<Method, Object> Bind(std::shared_ptr<Object> object, Method method) {
  return {method, std::move(object)};
}

std::shared_ptr<const AsyncApiMethod> MakeMethod(const char* name, Target target) {
  const auto method = std::make_shared<AsyncApiMethodSignal>(
      name, DefineStruct("operation-input", {{"json", DefineString()}}), DefineString());
  const auto filter = std::make_shared<const Filter>(std::move(target));
  method->Connect(Bind(filter, &Filter::Invoke));
  return method;
}

class LocalProviderTest : public ::testing::Test {
 protected:
  LocalProviderTest() {
    const auto container = std::make_shared<AsyncApiInterfaceConcurrentContainer<DummyMutex>>();
    MessageList errors;
    EXPECT_TRUE(container->Register(
        Interface("echo", {MakeMethod("echo", Bind(service_, &EchoService::Echo)),
                           MakeMethod("fail", Bind(service_, &EchoService::Fail)),
                           MakeMethod("count", Bind(service_, &EchoService::Count)),
                           MakeMethod("throw", Bind(service_, &EchoService::Throw)),
                           MakeMethod("later", Bind(service_, &EchoService::Later)),
                           MakeMethod("nothing", Target())}),
        errors));
    provider_ = std::make_shared<AsyncLocalProvider<DummyMutex>>(
        container, [this](const boost::function<void()>& work) { queue_.push_back(work); });
    activation_->SetData("request_id", "7");
  }

  void Post(const char* service, const char* operation) {
    provider_->Invoke(MethodId(service, operation),
                      Struct("operation-input", {{"json", String("text")}}), activation_,
                      answers_.Completion());
  }

  void Call(const char* service, const char* operation) {
    Post(service, operation);
    RunQueue();
  }

  void RunQueue() {
    while (!queue_.empty()) {
      const auto work = std::move(queue_.front());
      queue_.pop_front();
      work();
    }
  }

  void ExpectError(const char* name, const MessageList& messages) {
    ASSERT_NE(answers_.Only(), nullptr);
    ASSERT_NE(answers_.Only()->error, nullptr);
    EXPECT_EQ(answers_.Only()->error->GetName(), name);
    EXPECT_EQ(MessagesOf(answers_.Only()->error), messages);
    EXPECT_THAT(answers_.reported, ElementsAre(kFinished));
  }

  std::string OutputText() const {
    const auto result = answers_.results.empty() ? nullptr : answers_.results.back();
    if (result == nullptr) return "no result";
    const auto* text = Data::ValueCast<Data::StringValue>(result->output.get());
    return text == nullptr ? "no text" : text->GetValue();
  }

  const std::shared_ptr<EchoService> service_ = std::make_shared<EchoService>();
  std::deque<boost::function<void()>> queue_;
  std::shared_ptr<AsyncLocalProvider<DummyMutex>> provider_;
  const std::shared_ptr<Core::AsyncActivation> activation_ =
      std::make_shared<Core::AsyncActivation>(std::make_shared<Core::ExecutionContext>());
  Answers answers_;
};

TEST_F(LocalProviderTest, HasAName) { EXPECT_EQ(provider_->GetName(), "AsyncLocalProvider"); }

TEST_F(LocalProviderTest, ReturnsAtOnceAndWorksOnTheExecutor) {
  Post("echo", "echo");
  EXPECT_THAT(answers_.results, IsEmpty());
  EXPECT_EQ(queue_.size(), 1U);
  RunQueue();
  EXPECT_EQ(OutputText(), "text@7");
  EXPECT_THAT(answers_.reported, ElementsAre(kFinished));
}

TEST_F(LocalProviderTest, ACallOutlivesTheProvidersOwner) {
  Post("echo", "echo");
  provider_.reset();
  RunQueue();
  EXPECT_EQ(OutputText(), "text@7");
}

TEST_F(LocalProviderTest, AnUnknownServiceIsOperationNotFound) {
  Call("other", "echo");
  ExpectError(kOperationNotFoundError, {MakeMessage("krova.provider.interface.unknown", "other")});
}

TEST_F(LocalProviderTest, AnUnknownOperationIsOperationNotFound) {
  Call("echo", "other");
  ExpectError(kOperationNotFoundError,
              {MakeMessage("krova.async.api.interface.missing.method", "echo", "other")});
}

TEST_F(LocalProviderTest, AnyErrorOfAServiceIsUnexpected) {
  Call("echo", "fail");
  ExpectError(kInternalServerError,
              {MakeMessage("krova.bindings.method.impl.unexpected", "surprise")});
}

TEST_F(LocalProviderTest, ProgressComesBeforeTheResult) {
  Call("echo", "count");
  ASSERT_EQ(answers_.results.size(), 3U);
  EXPECT_EQ(answers_.results[0], nullptr);
  EXPECT_EQ(answers_.results[1], nullptr);
  EXPECT_EQ(OutputText(), "counted");
  EXPECT_THAT(answers_.reported, ElementsAre(Progress{0, 2, 1}, Progress{0, 2, 2}, kFinished));
}

TEST_F(LocalProviderTest, AServiceThatThrowsStillAnswers) {
  Call("echo", "throw");
  ExpectError(kInternalServerError,
              {MakeMessage("krova.bindings.method.impl.unexpected", kInternalServerError)});
}

TEST_F(LocalProviderTest, AServiceMayAnswerFromItsOwnThread) {
  Call("echo", "later");
  service_->worker.join();
  EXPECT_EQ(OutputText(), "text");
}

TEST_F(LocalProviderTest, AFilterWithoutATargetIsReportedThroughTheMethod) {
  Call("echo", "nothing");
  ExpectError(kInternalServerError,
              {MakeMessage("krova.bindings.method.impl.unexpected", kInternalServerError),
               MakeMessage("krova.filter.invoke.signal.not.connected")});
}

TEST_F(LocalProviderTest, AnEmptyCompletionThrows) {
  provider_->Invoke(MethodId("other", "echo"), nullptr, activation_, {});
  EXPECT_THROW(RunQueue(), boost::bad_function_call);
}

// The filter alone.

class FilterTest : public ::testing::Test {
 protected:
  void Invoke(const Filter& filter, const Data::ValuePointer& input) {
    filter.Invoke(
        input, nullptr,
        [this](const std::optional<Data::ValuePointer>& output,
               const std::shared_ptr<const Data::ErrorValue>& error, const Progress& progress) {
          outputs_.push_back(output);
          errors_.push_back(error);
          progress_.push_back(progress);
        });
  }

  std::vector<std::optional<Data::ValuePointer>> outputs_;
  std::vector<std::shared_ptr<const Data::ErrorValue>> errors_;
  std::vector<Progress> progress_;
};

TEST_F(FilterTest, WithoutATargetItFails) {
  Invoke(Filter(Target()), Struct("s", {{"json", String("")}}));
  ASSERT_EQ(errors_.size(), 1U);
  EXPECT_EQ(errors_[0]->GetName(), kInternalServerError);
  EXPECT_THAT(MessagesOf(errors_[0]),
              ElementsAre(MakeMessage("krova.filter.invoke.signal.not.connected")));
  EXPECT_THAT(outputs_, ElementsAre(std::nullopt));
  EXPECT_THAT(progress_, ElementsAre(kFinished));
}

TEST_F(FilterTest, AnInputThatCantBeReadIsAnInvalidArgument) {
  bool called = false;
  const Filter filter([&called](const auto&, const auto&, const auto&) { called = true; });
  Invoke(filter, Struct("s", {{"json", Integer(1)}}));
  EXPECT_FALSE(called);
  ASSERT_EQ(errors_.size(), 1U);
  EXPECT_EQ(errors_[0]->GetName(), kInvalidArgumentError);
  EXPECT_THAT(MessagesOf(errors_[0]),
              ElementsAre(MakeMessage("krova.data.bad.cast", "Long", "String")));
  EXPECT_THAT(outputs_, ElementsAre(std::nullopt));
  EXPECT_THAT(progress_, ElementsAre(kFinished));
}

TEST_F(FilterTest, TurnsEachCompletionShapeIntoTheNext) {
  const auto error = Data::MakeErrorValue("e", {});
  const Filter filter([&error](const auto& text, const auto&, const auto& completion) {
    completion(std::nullopt, nullptr, Progress{1, 2, 3});
    completion(text + "!", nullptr, kFinished);
    completion(text, error, kFinished);
  });
  Invoke(filter, Struct("s", {{"json", String("text")}}));
  ASSERT_EQ(outputs_.size(), 3U);
  EXPECT_EQ(outputs_[0], std::nullopt);
  ASSERT_NE(outputs_[1], std::nullopt);
  EXPECT_EQ((*outputs_[1])->ToString(), "text!");
  EXPECT_EQ(outputs_[2], std::nullopt);
  EXPECT_THAT(errors_, ElementsAre(nullptr, nullptr, error));
  EXPECT_THAT(progress_, ElementsAre(Progress{1, 2, 3}, kFinished, kFinished));
}

TEST(Delegate3, CallsTheMemberOfTheSharedObject) {
  struct Sum {
    void Add(int first, int second, const int& third) { total = first + second + third; }
    int total = 0;
  };
  const auto sum = std::make_shared<Sum>();
  Bind(sum, &Sum::Add)(1, 2, 3);
  EXPECT_EQ(sum->total, 6);
}

}  // namespace
}  // namespace Krova::Provider
