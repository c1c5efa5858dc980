// How the server is told to walk its inventory when hosts or virtual machines are counted.
#pragma once

#include <memory>

#include "quen/folder.h"
#include "serverclient/connection.h"
#include "zelmo/property_collector.h"

namespace Halvard::ServerClient {

/// What a walk starts from and who makes it.
struct InventoryStubs {
  /// \throws Tunrak::TypeMismatchException
  explicit InventoryStubs(const KelvaneConnection& connection);

  std::shared_ptr<Quen::Folder> rootFolder;
  std::shared_ptr<Zelmo::Core::PropertyCollector> collector;
};

/// All hosts below the folder: of clusters and alone, in folders of any depth.
Zelmo::Core::PropertyCollector::FilterSpec HostWalk(const Quen::Folder& root);

/// All virtual machines below the folder: in folders and in nested virtual applications.
Zelmo::Core::PropertyCollector::FilterSpec MachineWalk(const Quen::Folder& root);

}  // namespace Halvard::ServerClient
