#include "zelmo/types.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "soap_answers.h"
#include "zelmo/managed_object.h"

namespace Zelmo {
namespace {

class Widget : public ManagedObject {
 public:
  using ManagedObject::ManagedObject;
  static const Type& StaticType();
  void Call() { Adapter(); }
};

const Type kWidget("Widget", NewStub<Widget>);
const Version kWidgets("widgets", "2", "widgets.version2", "urn:widgets", "\"urn:widgets/2\"");

const Type& Widget::StaticType() { return kWidget; }

TEST(TypesDeathTest, NothingIsKnownBeforeTheTypesAreInitialised) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(FindType("Widget") == nullptr &&
                                !Testing::FailureOf([] { FindVersion("widgets", "2"); }).empty()
                            ? 0
                            : 1),
              testing::ExitedWithCode(0), "");
}

TEST(FindType, TypesAreKnownByTheirNames) {
  InitializeStaticTypes();
  EXPECT_EQ(FindType("Widget"), &GetType<Widget>());
  EXPECT_EQ(FindType("widget"), nullptr);
  EXPECT_EQ(FindType(""), nullptr);
  const auto stub = FindType("Widget")->NewStub({"Widget", "w-1"});
  EXPECT_NE(dynamic_cast<Widget*>(stub.get()), nullptr);
  EXPECT_EQ(stub->GetMoRef().id, "w-1");
}

TEST(FindVersion, VersionsAreKnownByNameAndIdOrByTheirOneName) {
  InitializeStaticTypes();
  InitializeStaticTypes();
  EXPECT_EQ(FindVersion("widgets", "2"), &kWidgets);
  EXPECT_EQ(FindVersionByVmodlName("widgets.version2"), &kWidgets);
  EXPECT_EQ(Testing::FailureOf([] { FindVersion("widgets", "3"); }),
            "Unknown version \"widgets\", \"3\".");
  EXPECT_EQ(Testing::FailureOf([] { FindVersionByVmodlName("widgets.version3"); }),
            "Unknown version \"widgets.version3\".");
}

TEST(ManagedObject, CallWithoutAnAdapterIsRefused) {
  EXPECT_EQ(Testing::FailureOf([] {
              Widget({"Widget", "w-1"}).Call();
            }),
            "A stub without an adapter was called.");
}

}  // namespace
}  // namespace Zelmo
