// The register of a Kelvane Server's extensions.
#pragma once

#include <memory>
#include <string>

#include "quen/extension.h"
#include "zelmo/managed_object.h"

namespace Quen {

/// All calls want a session.
class ExtensionManager : public Zelmo::ManagedObject {
 public:
  using ManagedObject::ManagedObject;
  static const Zelmo::Type& StaticType();

  /// \return Null if no extension has the key.
  std::unique_ptr<Extension> FindExtension(const std::string& extensionKey) const;
  void RegisterExtension(const Extension& extension) const;
  /// Replaces the record of the same key.
  void UpdateExtension(const Extension& extension) const;
  void UnregisterExtension(const std::string& extensionKey) const;
};

}  // namespace Quen
