// How a machine of the lab was shut down.
#pragma once

#include <json/json.h>

#include <fstream>

#include "support/lab_instance.h"

namespace Lab {

/// \return What the machine keeps of its shutdown, "message", "gracePeriod" and "flags"; null when
///         it is still up.
inline Json::Value ShutdownRecord(const Instance& machine) {
  Json::Value record;
  std::ifstream file(machine.Folder() / "shutdown.json");
  if (file) file >> record;
  return record;
}

}  // namespace Lab
