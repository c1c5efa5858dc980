// The walk of a filter over inventories made by hand.
#include "walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "inventory_generator.h"

namespace Lab::Kelvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Number = Inventory::Number;

SelectionSpec Named(const std::string& name) { return {name, nullptr}; }

SelectionSpec Traverse(const std::string& name, const std::string& type, const std::string& path,
                       std::vector<SelectionSpec> selectSet = {}, bool skip = false) {
  return {name,
          std::make_shared<TraversalSpec>(TraversalSpec{type, path, skip, std::move(selectSet)})};
}

/// A filter for one type from the root folder.
FilterSpec Wanting(const std::string& type, std::vector<SelectionSpec> selectSet,
                   bool skipRoot = false) {
  return {{{type, false, {"name"}}}, {{"Folder", "group-d1", skipRoot, std::move(selectSet)}}};
}

class WalkTest : public ::testing::Test {
 protected:
  Number Add(Type type, const std::string& name, Number parent, Property property) {
    const Number number = inventory_.Add(type, name);
    inventory_.AddLink(parent, property, number);
    return number;
  }
  Number AddChild(Type type, const std::string& name, Number folder) {
    return Add(type, name, folder, Property::kChildEntity);
  }

  std::vector<std::string> Names(const FilterSpec& filter) const {
    Walk walk(inventory_, filter);
    std::vector<std::string> names;
    while (const auto found = walk.Next()) names.push_back(inventory_.NameOf(found->object));
    return names;
  }

  Inventory inventory_;
  Number root_ = inventory_.Add(Type::kFolder, "root");
};

TEST_F(WalkTest, StartIsReportedUnlessSkipped) {
  EXPECT_THAT(Names(Wanting("Folder", {})), ElementsAre("root"));
  EXPECT_THAT(Names(Wanting("Folder", {}, true)), IsEmpty());
}

TEST_F(WalkTest, OnlyWantedTypesAreReported) {
  AddChild(Type::kDatacenter, "center", root_);
  AddChild(Type::kFolder, "folder", root_);

  EXPECT_THAT(Names(Wanting("Datacenter", {Traverse("", "Folder", "childEntity")})),
              ElementsAre("center"));
}

TEST_F(WalkTest, DerivedTypesAreReportedAndTraversed) {
  const Number single = AddChild(Type::kComputeResource, "single", root_);
  const Number cluster = AddChild(Type::kClusterComputeResource, "cluster", root_);
  Add(Type::kHostSystem, "first", single, Property::kHost);
  Add(Type::kHostSystem, "second", cluster, Property::kHost);
  const SelectionSpec children =
      Traverse("", "Folder", "childEntity", {Traverse("", "ComputeResource", "host")});
  const SelectionSpec clusters =
      Traverse("", "Folder", "childEntity", {Traverse("", "ClusterComputeResource", "host")});

  EXPECT_THAT(Names(Wanting("ComputeResource", {children})), ElementsAre("single", "cluster"));
  EXPECT_THAT(Names(Wanting("ClusterComputeResource", {children})), ElementsAre("cluster"));
  EXPECT_THAT(Names(Wanting("HostSystem", {children})), ElementsAre("first", "second"));
  EXPECT_THAT(Names(Wanting("HostSystem", {clusters})), ElementsAre("second"));
}

TEST_F(WalkTest, TraversalOfAnotherTypeLeadsNowhere) {
  AddChild(Type::kFolder, "folder", root_);

  EXPECT_THAT(Names(Wanting("Folder", {Traverse("", "Datacenter", "vmFolder")}, true)), IsEmpty());
}

TEST_F(WalkTest, SelectionsOfATraversalAreTheOnlyWayOn) {
  const Number folder = AddChild(Type::kFolder, "folder", root_);
  AddChild(Type::kFolder, "inner", folder);

  EXPECT_THAT(Names(Wanting("Folder", {Traverse("", "Folder", "childEntity")}, true)),
              ElementsAre("folder"));
}

TEST_F(WalkTest, NameLoopsBackToItsOwnTraversal) {
  const Number folder = AddChild(Type::kFolder, "folder", root_);
  const Number inner = AddChild(Type::kFolder, "inner", folder);
  AddChild(Type::kFolder, "innermost", inner);

  EXPECT_THAT(
      Names(Wanting("Folder", {Traverse("down", "Folder", "childEntity", {Named("down")})})),
      ElementsAre("root", "folder", "inner", "innermost"));
}

TEST_F(WalkTest, NameMayStandBeforeItsTraversalAndInAnotherBranch) {
  const Number center = AddChild(Type::kDatacenter, "center", root_);
  Add(Type::kFolder, "hosts", center, Property::kHostFolder);
  Add(Type::kFolder, "machines", center, Property::kVmFolder);
  const FilterSpec filter =
      Wanting("Folder",
              {Traverse("children", "Folder", "childEntity", {Named("hosts"), Named("machines")}),
               Traverse("hosts", "Datacenter", "hostFolder"),
               Traverse("machines", "Datacenter", "vmFolder")},
              true);

  EXPECT_THAT(Names(filter), ElementsAre("hosts", "machines"));
}

TEST_F(WalkTest, SkippedTraversalLeadsOnWithoutReporting) {
  const Number folder = AddChild(Type::kFolder, "folder", root_);
  AddChild(Type::kFolder, "inner", folder);
  const SelectionSpec second = Traverse("", "Folder", "childEntity");

  EXPECT_THAT(Names(Wanting("Folder", {Traverse("", "Folder", "childEntity", {second}, true)})),
              ElementsAre("root", "inner"));
}

TEST_F(WalkTest, CircleOfFoldersEnds) {
  const Number folder = AddChild(Type::kFolder, "folder", root_);
  inventory_.AddLink(folder, Property::kChildEntity, root_);

  EXPECT_THAT(
      Names(Wanting("Folder", {Traverse("down", "Folder", "childEntity", {Named("down")})})),
      ElementsAre("root", "folder"));
}

TEST_F(WalkTest, ObjectOnManyWaysIsReportedOnce) {
  const Number app = AddChild(Type::kVirtualApp, "app", root_);
  const Number machine = AddChild(Type::kVirtualMachine, "machine", root_);
  inventory_.AddLink(app, Property::kVm, machine);

  EXPECT_THAT(Names(Wanting("VirtualMachine", {Traverse("", "Folder", "childEntity",
                                                        {Traverse("", "VirtualApp", "vm")}),
                                               Traverse("", "Folder", "childEntity")})),
              ElementsAre("machine"));
}

TEST_F(WalkTest, ObjectSkippedOnOneWayIsReportedOnAnother) {
  AddChild(Type::kFolder, "folder", root_);

  EXPECT_THAT(Names(Wanting("Folder",
                            {Traverse("", "Folder", "childEntity", {}, true),
                             Traverse("", "Folder", "childEntity")},
                            true)),
              ElementsAre("folder"));
}

TEST_F(WalkTest, EachWayGoesOnWithItsOwnSelections) {
  // The first traversal to arrive at the folder has no way on; the second has.
  const Number folder = AddChild(Type::kFolder, "folder", root_);
  AddChild(Type::kFolder, "inner", folder);

  EXPECT_THAT(Names(Wanting(
                  "Folder",
                  {Traverse("", "Folder", "childEntity"),
                   Traverse("", "Folder", "childEntity", {Traverse("", "Folder", "childEntity")})},
                  true)),
              ElementsAre("folder", "inner"));
}

TEST_F(WalkTest, OrderIsBreadthFirst) {
  const Number a = AddChild(Type::kFolder, "a", root_);
  const Number b = AddChild(Type::kFolder, "b", root_);
  AddChild(Type::kFolder, "a1", a);
  AddChild(Type::kFolder, "b1", b);
  AddChild(Type::kFolder, "a2", a);

  EXPECT_THAT(
      Names(Wanting("Folder", {Traverse("down", "Folder", "childEntity", {Named("down")})})),
      ElementsAre("root", "a", "b", "a1", "a2", "b1"));
}

TEST_F(WalkTest, SeveralStartsShareTheirTraversals) {
  const Number first = AddChild(Type::kDatacenter, "first", root_);
  const Number second = AddChild(Type::kDatacenter, "second", root_);
  Add(Type::kFolder, "hosts 1", first, Property::kHostFolder);
  Add(Type::kFolder, "hosts 2", second, Property::kHostFolder);
  FilterSpec filter{{{"Folder", false, {}}}, {}};
  filter.objectSet.push_back({"Datacenter",
                              inventory_.IdOf(first),
                              true,
                              {Traverse("hosts", "Datacenter", "hostFolder")}});
  filter.objectSet.push_back({"Datacenter", inventory_.IdOf(second), true, {Named("hosts")}});

  EXPECT_THAT(Names(filter), ElementsAre("hosts 1", "hosts 2"));
}

TEST_F(WalkTest, FirstPropertySpecThatFitsSaysWhatIsReported) {
  AddChild(Type::kClusterComputeResource, "cluster", root_);
  FilterSpec filter = Wanting("ComputeResource", {Traverse("", "Folder", "childEntity")});
  filter.propSet[0].pathSet = {"resourcePool"};
  filter.propSet.push_back({"ClusterComputeResource", false, {"name"}});
  Walk walk(inventory_, filter);

  const auto found = walk.Next();

  ASSERT_TRUE(found);
  EXPECT_THAT(found->properties->pathSet, ElementsAre("resourcePool"));
}

TEST_F(WalkTest, NestedVirtualAppsAreReachedThroughTheirParents) {
  const Number outer = AddChild(Type::kVirtualApp, "outer", root_);
  const Number inner = Add(Type::kVirtualApp, "inner", outer, Property::kResourcePool);
  const Number pool = Add(Type::kResourcePool, "pool", outer, Property::kResourcePool);
  Add(Type::kVirtualMachine, "in outer", outer, Property::kVm);
  Add(Type::kVirtualMachine, "in inner", inner, Property::kVm);
  Add(Type::kVirtualMachine, "in pool", pool, Property::kVm);
  const SelectionSpec apps =
      Traverse("apps", "VirtualApp", "resourcePool", {Named("machines"), Named("apps")});
  const SelectionSpec machines = Traverse("machines", "VirtualApp", "vm");

  EXPECT_THAT(
      Names(Wanting("VirtualMachine", {Traverse("", "Folder", "childEntity", {machines, apps})})),
      UnorderedElementsAre("in outer", "in inner"));
}

/// The walks by which a whole inventory is counted.
FilterSpec EveryHost() {
  return Wanting("HostSystem",
                 {Traverse("f", "Folder", "childEntity",
                           {Named("f"), Traverse("c", "ComputeResource", "host", {Named("f")}),
                            Traverse("d", "Datacenter", "hostFolder", {Named("f")})})});
}
FilterSpec EveryMachine() {
  return Wanting(
      "VirtualMachine",
      {Traverse("f", "Folder", "childEntity",
                {Named("f"), Traverse("d", "Datacenter", "vmFolder", {Named("f")}),
                 Traverse("m", "VirtualApp", "vm"),
                 Traverse("a", "VirtualApp", "resourcePool", {Named("m"), Named("a")})})});
}

std::size_t Count(const Inventory& inventory, const FilterSpec& filter) {
  Walk walk(inventory, filter);
  std::size_t count = 0;
  while (walk.Next()) ++count;
  return count;
}

TEST(GeneratedInventory, WalksFindWhatTheGeneratorCounted) {
  for (std::uint32_t seed = 0; seed < 40; ++seed) {
    const InventorySizes sizes{seed, seed * 7, 3 + seed * 11, 1 + seed % 4, seed % 6, seed};
    const GeneratedInventory made = GenerateInventory(sizes);

    EXPECT_EQ(made.hosts, sizes.hosts) << seed;
    EXPECT_EQ(made.machines, sizes.machines) << seed;
    EXPECT_EQ(Count(made.objects, EveryHost()), made.hosts) << seed;
    EXPECT_EQ(Count(made.objects, EveryMachine()), made.machines) << seed;
  }
}

TEST(GeneratedInventory, EqualSizesGiveEqualInventories) {
  const InventorySizes sizes{7, 40, 400, 3, 3, 20};
  const GeneratedInventory first = GenerateInventory(sizes);
  const GeneratedInventory second = GenerateInventory(sizes);

  ASSERT_EQ(first.objects.Size(), second.objects.Size());
  for (Number i = 0; i < first.objects.Size(); ++i) {
    EXPECT_EQ(first.objects.IdOf(i), second.objects.IdOf(i));
    EXPECT_EQ(first.objects.NameOf(i), second.objects.NameOf(i));
    EXPECT_EQ(first.objects.LinksOf(i).size(), second.objects.LinksOf(i).size());
  }
}

TEST(GeneratedInventory, SeedChangesTheStructure) {
  const GeneratedInventory first = GenerateInventory({1, 40, 400, 3, 3, 20});
  const GeneratedInventory second = GenerateInventory({2, 40, 400, 3, 3, 20});
  bool differs = first.objects.Size() != second.objects.Size();
  for (Number i = 0; !differs && i < first.objects.Size(); ++i) {
    differs = first.objects.IdOf(i) != second.objects.IdOf(i);
  }
  EXPECT_TRUE(differs);
}

TEST(GeneratedInventory, WithoutHostsAndMachinesThereIsTheRootAlone) {
  EXPECT_EQ(GenerateInventory({1, 0, 0, 5, 5, 5}).objects.Size(), 1u);
}

TEST(GeneratedInventory, HasNestedAppsFoldersAndManyWaysToAMachine) {
  const GeneratedInventory made = GenerateInventory({1, 40, 400, 3, 3, 20});
  std::vector<unsigned> ways(made.objects.Size());
  unsigned nestedApps = 0;
  unsigned nestedFolders = 0;
  unsigned appsInPools = 0;
  for (Number from = 0; from < made.objects.Size(); ++from) {
    const Type type = made.objects.TypeOf(from);
    for (const Inventory::Link& link : made.objects.LinksOf(from)) {
      ++ways[link.target];
      const Type target = made.objects.TypeOf(link.target);
      nestedApps += type == Type::kVirtualApp && target == Type::kVirtualApp;
      appsInPools += type == Type::kResourcePool && target == Type::kVirtualApp;
      nestedFolders += type == Type::kFolder && target == Type::kFolder;
    }
  }
  EXPECT_GT(nestedApps, 0u);
  EXPECT_GT(appsInPools, 0u);
  EXPECT_GT(nestedFolders, 0u);
  EXPECT_GT(*std::max_element(ways.begin(), ways.end()), 2u);
}

}  // namespace
}  // namespace Lab::Kelvane
