// Folders of the inventory.
#pragma once

#include "zelmo/managed_object.h"

namespace Quen {

/// None of its operations is called; walks start from it.
class Folder : public Zelmo::ManagedObject {
 public:
  using ManagedObject::ManagedObject;
  static const Zelmo::Type& StaticType();
};

}  // namespace Quen
