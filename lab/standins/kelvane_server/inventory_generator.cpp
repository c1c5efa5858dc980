#include "inventory_generator.h"

#include <random>
#include <utility>

namespace Lab::Kelvane {
namespace {

using Number = Inventory::Number;

/// One data centre while it grows.
struct DataCenter {
  std::vector<Number> hostFolders;
  std::vector<Number> vmFolders;
  std::vector<Number> rootPools;  ///< Of its compute resources.
  std::vector<Number> hosts;
  std::vector<Number> virtualApps;
};

class Generator {
 public:
  explicit Generator(const InventorySizes& sizes) : sizes_(sizes), random_(sizes.seed) {}

  GeneratedInventory Run() {
    Add(Type::kFolder, "Root");
    if (sizes_.hosts + sizes_.machines > 0) {
      MakeDataCenters();
      MakeHosts();
      for (std::uint32_t i = 0; i < sizes_.virtualApps; ++i) MakeVirtualApp();
      for (std::uint32_t i = 0; i < sizes_.machines; ++i) MakeMachine();
    }
    return std::move(made_);
  }

 private:
  /// \return 0 to limit - 1. The library's distributions differ between machines, this doesn't.
  std::uint32_t Below(std::size_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

  template <typename Element>
  Element& Choose(std::vector<Element>& elements) {
    return elements[Below(elements.size())];
  }

  Number Add(Type type, const std::string& name) {
    return made_.objects.Add(type, name + " " + std::to_string(made_.objects.Size()));
  }

  Number AddChild(Type type, const std::string& name, Number folder) {
    const Number child = Add(type, name);
    made_.objects.AddLink(folder, Property::kChildEntity, child);
    return child;
  }

  /// \return The folder itself, a chain of folders down to the wanted depth, and one beside each of
  ///         its links, so that there are full folders, empty ones and folders that hold only
  ///         folders.
  std::vector<Number> MakeFolders(Number top, const std::string& name) {
    std::vector<Number> folders{top};
    Number deepest = top;
    for (std::uint32_t depth = 0; depth < sizes_.folderDepth; ++depth) {
      folders.push_back(AddChild(Type::kFolder, name, deepest));
      deepest = AddChild(Type::kFolder, name, deepest);
      folders.push_back(deepest);
    }
    return folders;
  }

  void MakeDataCenters() {
    std::vector<Number> folders = MakeFolders(kRootFolder, "Folder");
    for (std::uint32_t i = 0; i < sizes_.dataCenters; ++i) {
      // The deepest folder has one in any case.
      const Number folder = i == 0 ? folders.back() : Choose(folders);
      const Number center = AddChild(Type::kDatacenter, "Data centre", folder);
      const Number hostFolder = Add(Type::kFolder, "host");
      const Number vmFolder = Add(Type::kFolder, "vm");
      made_.objects.AddLink(center, Property::kHostFolder, hostFolder);
      made_.objects.AddLink(center, Property::kVmFolder, vmFolder);
      centers_.push_back(
          {MakeFolders(hostFolder, "Hosts"), MakeFolders(vmFolder, "Machines"), {}, {}, {}});
    }
  }

  void MakeHosts() {
    constexpr std::uint32_t kLargestCluster = 32;
    std::uint32_t left = sizes_.hosts;
    while (left > 0) {
      const bool cluster = Below(4) != 0;
      const std::uint32_t wanted = cluster ? 1 + Below(kLargestCluster) : 1;
      const std::uint32_t count = wanted < left ? wanted : left;
      MakeComputeResource(cluster, count);
      left -= count;
    }
  }

  void MakeComputeResource(bool cluster, std::uint32_t hosts) {
    DataCenter& center = Choose(centers_);
    const Number resource =
        AddChild(cluster ? Type::kClusterComputeResource : Type::kComputeResource,
                 cluster ? "Cluster" : "Computer", Choose(center.hostFolders));
    const Number pool = Add(Type::kResourcePool, "Resources");
    made_.objects.AddLink(resource, Property::kResourcePool, pool);
    center.rootPools.push_back(pool);
    for (std::uint32_t i = 0; i < hosts; ++i) {
      const Number host = Add(Type::kHostSystem, "Host");
      made_.objects.AddLink(resource, Property::kHost, host);
      center.hosts.push_back(host);
      ++made_.hosts;
    }
  }

  void MakeVirtualApp() {
    DataCenter& center = Choose(centers_);
    const bool nested = !center.virtualApps.empty() && Below(2) == 0;
    if (nested) {
      const Number parent = Choose(center.virtualApps);
      const Number app = Add(Type::kVirtualApp, "Application");
      made_.objects.AddLink(parent, Property::kResourcePool, app);
      center.virtualApps.push_back(app);
      return;
    }
    const Number app = AddChild(Type::kVirtualApp, "Application", Choose(center.vmFolders));
    if (!center.rootPools.empty()) {
      made_.objects.AddLink(Choose(center.rootPools), Property::kResourcePool, app);
    }
    center.virtualApps.push_back(app);
  }

  void MakeMachine() {
    DataCenter& center = Choose(centers_);
    const bool inApp = !center.virtualApps.empty() && Below(4) == 0;
    const Number machine = Add(Type::kVirtualMachine, "Machine");
    ++made_.machines;
    if (inApp) {
      made_.objects.AddLink(Choose(center.virtualApps), Property::kVm, machine);
    } else {
      made_.objects.AddLink(Choose(center.vmFolders), Property::kChildEntity, machine);
      if (!center.rootPools.empty()) {
        made_.objects.AddLink(Choose(center.rootPools), Property::kVm, machine);
      }
    }
    if (!center.hosts.empty()) {
      made_.objects.AddLink(Choose(center.hosts), Property::kVm, machine);
    }
  }

  InventorySizes sizes_;
  std::mt19937 random_;
  GeneratedInventory made_;
  std::vector<DataCenter> centers_;
};

}  // namespace

GeneratedInventory GenerateInventory(const InventorySizes& sizes) { return Generator(sizes).Run(); }

}  // namespace Lab::Kelvane
