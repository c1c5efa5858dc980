// What an export needs, as the components of the runner's output estimate it.
#pragma once

#include <json/value.h>

namespace Halvard::Runner {

/// Adds up what the components need into EXPORT_DATA_SIZE and EXPORT_DISK_REQ_SIZE (MB),
/// EXPORT_TIME_ESTIMATE and IMPORT_TIME_ESTIMATE (minutes), in decimal text.
/// \param output  As in preupgrade_output.h.
/// \return False when the output is no array. Logged here.
/// \throws Json::Exception on what can't be converted. Nothing is stored then.
bool ParseExportEstimatesFromPreUpgradeOutput(const Json::Value& output);

}  // namespace Halvard::Runner
