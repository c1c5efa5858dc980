// The migration of an update manager, which is built and not offered.
#pragma once

namespace Halvard {

/// Lets discovery take an update manager for the source, and the runner's orchestrator do its work.
/// Start-up sets it to false, and nothing but tests sets it to true.
extern bool automatedTumUpgrade;

}  // namespace Halvard
