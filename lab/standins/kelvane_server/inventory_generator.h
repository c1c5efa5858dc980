// Growing an inventory from a seed.
#pragma once

#include "config.h"
#include "inventory.h"

namespace Lab::Kelvane {

struct GeneratedInventory {
  Inventory objects;
  std::uint32_t hosts = 0;     ///< Counted while they were made.
  std::uint32_t machines = 0;  ///< Likewise.
};

/// Makes folders in folders with data centres in them. Hosts lie in clusters and stand-alone
/// compute resources, those in the host folders of the data centres; machines lie in the VM folders
/// or in virtual applications, which lie in VM folders or in each other. Each machine is on a host
/// as well if there is any, and each resource pool and virtual application hangs on a compute
/// resource of its data centre, so that many ways lead to one object. Equal sizes give equal
/// inventories on every machine. With neither hosts nor machines there is the root folder alone.
GeneratedInventory GenerateInventory(const InventorySizes& sizes);

}  // namespace Lab::Kelvane
