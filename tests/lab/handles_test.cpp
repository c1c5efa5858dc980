#include "machine/handles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Lab {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Door : public Object {
 public:
  const char* TypeName() const override { return "Door"; }
};
class Window : public Object {
 public:
  const char* TypeName() const override { return "Window"; }
};

TEST(HandleTable, NumbersAreMultiplesOfFourAndNeverComeAgain) {
  HandleTable table;
  const HANDLE first = table.Add(std::make_shared<Door>());
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first), 4u);
  EXPECT_TRUE(table.Close(first));
  const HANDLE second = table.Add(std::make_shared<Door>());
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(second), 8u);
  EXPECT_EQ(table.Find(first), nullptr);
}

TEST(HandleTable, ObjectsAreFoundByTheirTypeOnly) {
  HandleTable table;
  const HANDLE door = table.Add(std::make_shared<Door>());
  EXPECT_NE(table.FindAs<Door>(door), nullptr);
  EXPECT_EQ(table.FindAs<Window>(door), nullptr);
  EXPECT_EQ(table.Find(nullptr), nullptr);
}

TEST(HandleTable, ClosingTwiceFails) {
  HandleTable table;
  const HANDLE door = table.Add(std::make_shared<Door>());
  EXPECT_TRUE(table.Close(door));
  EXPECT_FALSE(table.Close(door));
  EXPECT_FALSE(table.Close(nullptr));
}

TEST(HandleTable, CallThatUsesAnObjectKeepsIt) {
  HandleTable table;
  std::weak_ptr<Object> watched;
  const HANDLE door = table.Add(std::make_shared<Door>());
  {
    const std::shared_ptr<Object> used = table.Find(door);
    watched = used;
    table.Close(door);
    EXPECT_FALSE(watched.expired());
  }
  EXPECT_TRUE(watched.expired());
}

TEST(HandleTable, TellsWhatIsOpen) {
  HandleTable table;
  EXPECT_THAT(table.OpenTypes(), IsEmpty());
  table.Add(std::make_shared<Door>());
  table.Add(std::make_shared<Window>());
  EXPECT_THAT(table.OpenTypes(), ElementsAre("Door", "Window"));
}

TEST(Object, CantBeWaitedForUnlessItSaysSo) {
  Door door;
  EXPECT_EQ(door.WaitDescriptor(), -1);
  EXPECT_EQ(door.TryAcquire(), Object::Acquired::kNo);
}

}  // namespace
}  // namespace Lab
