#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/core/contract.h"
#include "krova/core/protocol.h"

namespace Krova::Core {
namespace {

std::shared_ptr<const MethodIdentifier> Method(const char* service, const char* operation) {
  return std::make_shared<MethodIdentifier>(std::make_shared<InterfaceIdentifier>(service),
                                            operation);
}

TEST(InterfaceIdentifier, IsOrderedByItsText) {
  EXPECT_LT(InterfaceIdentifier("a.b"), InterfaceIdentifier("a.c"));
  EXPECT_FALSE(InterfaceIdentifier("a.b") < InterfaceIdentifier("a.b"));
  EXPECT_EQ(InterfaceIdentifier("a.b"), InterfaceIdentifier("a.b"));
}

TEST(MethodIdentifier, IsOrderedByServiceThenByOperation) {
  const std::set<std::shared_ptr<const MethodIdentifier>, PointedToLess> methods = {
      Method("b", "x"), Method("a", "y"), Method("a", "x"), Method("b", "x")};
  std::vector<std::string> names;
  for (const auto& method : methods) {
    names.push_back(method->GetInterface()->GetName() + "." + method->GetName());
  }
  EXPECT_THAT(names, ::testing::ElementsAre("a.x", "a.y", "b.x"));
}

TEST(AsyncActivation, KeepsContextAndData) {
  const auto context = std::make_shared<ExecutionContext>();
  context->applicationContext["opId"] = "1";
  AsyncActivation activation(context);
  activation.SetData(kRequestIdKey, "first");
  activation.SetData("request_id", "second");

  EXPECT_EQ(activation.GetContext(), context);
  EXPECT_EQ(activation.GetData("request_id"), "second");
  EXPECT_EQ(activation.GetData("other"), "");
}

TEST(MethodResult, HoldsOneOfTheTwo) {
  const MethodResult output(
      std::shared_ptr<const Data::DataValue>(std::make_shared<Data::StringValue>("text")));
  EXPECT_NE(output.output, nullptr);
  EXPECT_EQ(output.error, nullptr);
  const MethodResult error(
      std::shared_ptr<const Data::ErrorValue>(std::make_shared<Data::ErrorValue>("e")));
  EXPECT_EQ(error.output, nullptr);
  EXPECT_NE(error.error, nullptr);
}

TEST(Progress, OfAFinishedCallIs011) {
  EXPECT_EQ(kFinished.min, 0);
  EXPECT_EQ(kFinished.max, 1);
  EXPECT_EQ(kFinished.current, 1);
}

TEST(Completions, ThrowWhenTheyAreEmpty) {
  EXPECT_THROW(MethodCompletion()(std::nullopt, nullptr, kFinished), boost::bad_function_call);
  EXPECT_THROW(NativeCompletion()("", nullptr, kFinished), boost::bad_function_call);
  EXPECT_THROW(ProviderCompletion()(nullptr, kFinished), boost::bad_function_call);
}

}  // namespace
}  // namespace Krova::Core
