#include "serverclient/inventory_walks.h"

#include <string>
#include <vector>

#include "serverclient/stubs.h"

namespace Halvard::ServerClient {
namespace {

using Zelmo::Core::PropertyCollector;
using Selection = std::shared_ptr<const PropertyCollector::SelectionSpec>;

/// Goes on as the traversal of that name does, wherever in the walk that one stands. A traversal
/// that selects itself repeats its step.
Selection Select(const std::string& name) {
  auto selection = std::make_shared<PropertyCollector::SelectionSpec>();
  selection->name = name;
  return selection;
}

Selection Traverse(const std::string& name, const std::string& type, const std::string& path,
                   std::vector<Selection> selections) {
  auto traversal = std::make_shared<PropertyCollector::TraversalSpec>();
  traversal->name = name;
  traversal->type = type;
  traversal->path = path;
  traversal->skip = false;
  traversal->selectSet = std::move(selections);
  return traversal;
}

/// \param wanted  The type of object that the walk is made for.
PropertyCollector::FilterSpec Walk(const Quen::Folder& root, const std::string& wanted,
                                   Selection top) {
  PropertyCollector::PropertySpec properties;
  properties.type = wanted;
  properties.all = false;
  properties.pathSet = {"name"};
  PropertyCollector::ObjectSpec start;
  start.obj = root.GetMoRef();
  start.skip = false;
  start.selectSet = {std::move(top)};
  return {{std::move(properties)}, {std::move(start)}};
}

}  // namespace

InventoryStubs::InventoryStubs(const KelvaneConnection& connection)
    : rootFolder(MakeStub<Quen::Folder>(connection.adapter, connection.content.rootFolder)),
      collector(
          MakeStub<PropertyCollector>(connection.adapter, connection.content.propertyCollector)) {}

PropertyCollector::FilterSpec HostWalk(const Quen::Folder& root) {
  const Selection datacenters =
      Traverse("DatacenterHosts", "Datacenter", "hostFolder", {Select("CountHosts")});
  const Selection computeResources =
      Traverse("ComputeResourceHosts", "ComputeResource", "host", {Select("CountHosts")});
  return Walk(root, "HostSystem",
              Traverse("CountHosts", "Folder", "childEntity",
                       {Select("CountHosts"), computeResources, datacenters}));
}

PropertyCollector::FilterSpec MachineWalk(const Quen::Folder& root) {
  const Selection nestedApplications = Traverse("vAppTovApp", "VirtualApp", "resourcePool",
                                                {Select("vAppsToVM"), Select("vAppTovApp")});
  const Selection applications = Traverse("vAppsToVM", "VirtualApp", "vm", {});
  const Selection datacenters =
      Traverse("VMFolders", "Datacenter", "vmFolder", {Select("CountVMs")});
  return Walk(root, "VirtualMachine",
              Traverse("CountVMs", "Folder", "childEntity",
                       {Select("CountVMs"), datacenters, applications, nestedApplications}));
}

}  // namespace Halvard::ServerClient
