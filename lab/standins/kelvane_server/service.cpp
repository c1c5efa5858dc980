#include "service.h"

namespace Lab::Kelvane {

void TakeSelf(Members& arguments, const Reference& expected) {
  const Reference self = ReadReference(arguments.Required("self"));
  if (self.type != expected.type) {
    Refuse("The operation is one of " + expected.type + ", not of " + self.type + ".");
  }
  if (self.id != expected.id) {
    Refuse("There is no " + self.type + " \"" + self.id + "\".", "ManagedObjectNotFound");
  }
}

}  // namespace Lab::Kelvane
