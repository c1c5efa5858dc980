// Access tokens: who a process or a thread acts for.
#pragma once

#include "machine/handles.h"

namespace Lab {

/// The token of the agent's own process: that of the machine's user.
class ProcessToken : public Object {
 public:
  const char* TypeName() const override { return "Token"; }
};

}  // namespace Lab
