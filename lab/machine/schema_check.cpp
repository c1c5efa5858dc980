#include "machine/schema_check.h"

#include "machine/document_schema.h"
#include "machine/machine_schema.h"

namespace Lab {

std::optional<std::string> FindSchemaFault(const Json::Value& document) {
  static const DocumentSchema& schema = *new DocumentSchema(kMachineSchema);
  return schema.FindFault(document);
}

}  // namespace Lab
