#include "krova/provider/container.h"

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "krova/make_values.h"
#include "krova/provider/test_service.h"

namespace Krova::Provider {
namespace {

using namespace Krova::Testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Container = AsyncApiInterfaceConcurrentContainer<DummyMutex>;

std::shared_ptr<const AsyncApiMethod> Method(const char* name, Data::DefinitionPointer input,
                                             Data::DefinitionPointer output = DefineString(),
                                             ErrorDefinitionList errors = {}) {
  return std::make_shared<AsyncApiMethodSignal>(name, std::move(input), std::move(output),
                                                std::move(errors));
}

std::string FingerprintOf(const std::vector<std::shared_ptr<const AsyncApiInterface>>& interfaces) {
  Container container;
  MessageList errors;
  for (const auto& interface : interfaces) EXPECT_TRUE(container.Register(interface, errors));
  EXPECT_THAT(errors, IsEmpty());
  return container.GetFingerprint();
}

std::string FingerprintOf(const std::shared_ptr<const AsyncApiMethod>& method) {
  return FingerprintOf({Interface("i", {method})});
}

std::string FingerprintOf(Data::DefinitionPointer input) {
  return FingerprintOf(Method("m", std::move(input)));
}

TEST(Container, FindsWhatWasRegistered) {
  Container container;
  MessageList errors;
  const auto interface = Interface("a", {});
  EXPECT_TRUE(container.Register(interface, errors));

  std::shared_ptr<const AsyncApiInterface> found;
  EXPECT_TRUE(container.Find(InterfaceId("a"), found, errors));
  EXPECT_EQ(found, interface);
  EXPECT_THAT(errors, IsEmpty());
}

TEST(Container, AnUnknownIdentifierIsReported) {
  const Container container;
  MessageList errors;
  std::shared_ptr<const AsyncApiInterface> found;
  EXPECT_FALSE(container.Find(InterfaceId("a"), found, errors));
  EXPECT_EQ(found, nullptr);
  EXPECT_THAT(errors, ElementsAre(MakeMessage("krova.provider.interface.unknown", "a")));
}

TEST(Container, ATakenIdentifierIsReportedAndKept) {
  Container container;
  MessageList errors;
  const auto first = Interface("a", {});
  EXPECT_TRUE(container.Register(first, errors));
  const std::string fingerprint = container.GetFingerprint();

  EXPECT_FALSE(container.Register(Interface("a", {Method("m", DefineString())}), errors));

  EXPECT_THAT(errors, ElementsAre(MakeMessage("krova.provider.interface.already.registered", "a")));
  EXPECT_EQ(container.GetFingerprint(), fingerprint);
  std::shared_ptr<const AsyncApiInterface> found;
  EXPECT_TRUE(container.Find(InterfaceId("a"), found, errors));
  EXPECT_EQ(found, first);
}

TEST(Container, ForEachGoesInTheOrderOfIdentifiers) {
  Container container;
  MessageList errors;
  for (const char* name : {"b", "a", "c"}) container.Register(Interface(name, {}), errors);
  std::vector<std::string> names;
  container.ForEach([&names](const std::shared_ptr<const AsyncApiInterface>& interface) {
    names.push_back(interface->GetIdentifier()->GetName());
  });
  EXPECT_THAT(names, ElementsAre("a", "b", "c"));
}

TEST(Container, AReaderKeepsItsSnapshotWhileOthersRegister) {
  Container container;
  MessageList errors;
  container.Register(Interface("a", {}), errors);
  int seen = 0;
  container.ForEach([&](const auto&) {
    ++seen;
    container.Register(Interface("b", {}), errors);
  });
  EXPECT_EQ(seen, 1);
  std::shared_ptr<const AsyncApiInterface> found;
  EXPECT_TRUE(container.Find(InterfaceId("b"), found, errors));
}

TEST(Container, LosesNoInterfaceWhenThreadsRegisterAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kEach = 50;
  AsyncApiInterfaceConcurrentContainer<std::mutex> container;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&container, thread] {
      MessageList errors;
      for (int number = 0; number < kEach; ++number) {
        const std::string name = std::to_string(thread) + "." + std::to_string(number);
        EXPECT_TRUE(container.Register(Interface(name, {}), errors));
        std::shared_ptr<const AsyncApiInterface> found;
        EXPECT_TRUE(container.Find(InterfaceId(name), found, errors));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  int count = 0;
  container.ForEach([&count](const auto&) { ++count; });
  EXPECT_EQ(count, kThreads * kEach);
}

TEST(Fingerprint, IsEmptyBeforeTheFirstRegistration) {
  EXPECT_EQ(Container().GetFingerprint(), "");
}

/// 32 hexadecimal digits in lower case.
bool IsFingerprint(const std::string& text) {
  return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

TEST(Fingerprint, IsMadeOf32LowerCaseDigits) {
  const std::string fingerprint = FingerprintOf(DefineString());
  EXPECT_TRUE(IsFingerprint(fingerprint)) << fingerprint;
}

// The right sides are what md5sum says of the text in the comment: two ends of different builds
// compare these.
TEST(Fingerprint, IsTheSameInEachRunAndBuild) {
  // halvard.test
  EXPECT_EQ(FingerprintOf({Interface("halvard.test", {})}), "9edba97d91b524d56834653b88556cf5");
  // im9(1:s1:f7(1()))-;6(1:e)
  const auto input = DefineStruct("s", {{"f", DefineOptional(DefineInteger())}});
  const auto error = std::static_pointer_cast<const Data::ErrorDefinition>(DefineError("e", {}));
  EXPECT_EQ(FingerprintOf(Method("m", input, nullptr, {error})),
            "582f1dbde2210347f53cc7ab2cd28f67");
}

TEST(Fingerprint, DoesntDependOnTheOrderOfRegistration) {
  const auto a = Interface("a", {Method("x", DefineString()), Method("y", DefineInteger())});
  const auto b = Interface("b", {Method("z", DefineString())});
  const auto reordered =
      Interface("a", {Method("y", DefineInteger()), Method("x", DefineString())});
  EXPECT_EQ(FingerprintOf({a, b}), FingerprintOf({b, reordered}));
}

TEST(Fingerprint, ChangesWithEveryPartOfADefinition) {
  using namespace Krova::Data;
  const auto holder = std::make_shared<StructHolder>();
  const auto oneOf = [](IsOneOfDefinition::Values values) {
    return Define<IsOneOfDefinition>(std::move(values));
  };
  const std::vector<DefinitionPointer> unlike = {
      nullptr,
      Define<VoidDefinition>(),
      Define<OpaqueDefinition>(),
      DefineInteger(),
      Define<DoubleDefinition>(),
      Define<BooleanDefinition>(),
      Define<BlobDefinition>(),
      DefineString(),
      Define<SecretDefinition>(),
      oneOf({}),
      oneOf({"a"}),
      oneOf({"a", "b"}),
      oneOf({"ab"}),
      Define<UnionCaseDefinition>("t", UnionCaseDefinition::Cases{}),
      Define<UnionCaseDefinition>("t", UnionCaseDefinition::Cases{{"a", {"f"}}}),
      Define<UnionCaseDefinition>("t", UnionCaseDefinition::Cases{{"a", {}}, {"f", {}}}),
      DefineOptional(DefineString()),
      DefineOptional(DefineInteger()),
      DefineOptional(nullptr),
      DefineList(DefineString()),
      DefineList(DefineList(DefineString())),
      Define<StructDefinition>(),
      DefineStruct("s", {}),
      DefineStruct("t", {}),
      DefineStruct("s", {{"f", DefineString()}}),
      DefineStruct("s", {{"g", DefineString()}}),
      DefineStruct("s", {{"f", DefineInteger()}}),
      DefineStruct("s", {{"f", DefineString()}, {"g", DefineString()}}),
      DefineStruct("s", {{"f", DefineStruct("u", {{"g", DefineString()}})}}),
      DefineStruct("s", {{"f", DefineStruct("u", {})}, {"g", DefineString()}}),
      DefineError("s", {{"f", DefineString()}}),
      Define<DynamicStructureDefinition>(),
      Define<DynamicErrorDefinition>(),
      Define<DynamicStructureDefinition>(DefinitionMap{{"f", DefineString()}}),
      Define<StructRefDefinition>("s", holder),
      Define<StructRefDefinition>("t", holder),
  };
  std::set<std::string> fingerprints;
  for (const DefinitionPointer& definition : unlike) {
    EXPECT_TRUE(fingerprints.insert(FingerprintOf(definition)).second)
        << (definition == nullptr ? "null" : definition->ToString());
  }
}

TEST(Fingerprint, CoversNamesOutputsAndErrors) {
  const auto error = [](const char* name) {
    return std::static_pointer_cast<const Data::ErrorDefinition>(DefineError(name, {}));
  };
  const std::set<std::string> fingerprints = {
      FingerprintOf({Interface("a", {})}),
      FingerprintOf({Interface("b", {})}),
      FingerprintOf({Interface("a", {}), Interface("b", {})}),
      FingerprintOf(Method("m", DefineString())),
      FingerprintOf(Method("n", DefineString())),
      FingerprintOf(Method("m", DefineString(), DefineInteger())),
      FingerprintOf(Method("m", DefineInteger(), DefineString())),
      FingerprintOf(Method("m", DefineString(), DefineString(), {error("e")})),
      FingerprintOf(Method("m", DefineString(), DefineString(), {error("f")})),
      FingerprintOf(Method("m", DefineString(), DefineString(), {error("e"), error("f")})),
      FingerprintOf(Method("m", DefineString(), DefineString(), {error("f"), error("e")}))};
  EXPECT_EQ(fingerprints.size(), 11U);
}

TEST(Fingerprint, EndsAtReferencesOfARecursiveType) {
  const auto holder = std::make_shared<Data::StructHolder>();
  const auto node = std::make_shared<const Data::StructDefinition>(
      "node", Data::DefinitionMap{
                  {"next", DefineOptional(Define<Data::StructRefDefinition>("node", holder))}});
  holder->Set(node);
  EXPECT_TRUE(IsFingerprint(FingerprintOf(node)));
}

TEST(LockFreeAsyncApiInterface, KnowsItsMethods) {
  const auto method = Method("m", DefineString());
  const auto interface = Interface("i", {method, Method("a", DefineInteger())});
  MessageList errors;
  std::shared_ptr<const AsyncApiMethod> found;

  EXPECT_TRUE(interface->GetMethod("m", found, errors));
  EXPECT_EQ(found, method);
  EXPECT_EQ(interface->GetIdentifier()->GetName(), "i");
  EXPECT_EQ(interface->GetMethods().size(), 2U);
  std::vector<std::string> names;
  for (const auto& identifier : interface->GetDefinition().methods) {
    names.push_back(identifier->GetInterface()->GetName() + "/" + identifier->GetName());
  }
  EXPECT_THAT(names, ElementsAre("i/a", "i/m"));
  EXPECT_EQ(interface->GetDefinition().identifier->GetName(), "i");
}

TEST(LockFreeAsyncApiInterface, AMissingMethodIsReportedWithBothNames) {
  MessageList errors;
  std::shared_ptr<const AsyncApiMethod> found;
  EXPECT_FALSE(Interface("i", {})->GetMethod("m", found, errors));
  EXPECT_EQ(found, nullptr);
  EXPECT_THAT(errors,
              ElementsAre(MakeMessage("krova.async.api.interface.missing.method", "i", "m")));
}

}  // namespace
}  // namespace Krova::Provider
