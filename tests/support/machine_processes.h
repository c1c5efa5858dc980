// The processes that run on behalf of a lab machine.
#pragma once

#include <sys/types.h>

#include <vector>

#include "support/lab_instance.h"

namespace Lab {

/// \return Ids of all processes of the host that were started on this machine, whatever session or
///         parent they have now. They are told by HALVARD_LAB in their environment; this process
///         isn't one of them.
std::vector<pid_t> ProcessesOf(const Instance& machine);

/// Waits until an upgrade runner runs on the machine; throws after a minute.
/// \return Its id.
pid_t AwaitRunner(const Instance& machine);

/// Waits until no process of the machine is left; throws after a minute. What has been ended is
/// gone a moment later.
void AwaitNoProcessOf(const Instance& machine);

/// Ends all processes of the machine, and waits until they are gone.
void EndProcessesOf(const Instance& machine);

}  // namespace Lab
