// Answers to the questions that the upgrade runner asks during an export.
#pragma once

#include <json/value.h>

namespace Halvard::Runner {

/// Writes the client's answer where the runner waits for it. The question, and the answer's place,
/// are read from the runner's export output; an older answer there is overwritten.
/// \param answer  Any JSON value; it reaches the file unchanged.
/// \return True when the file is written. Failures are logged: no output that can be read (the
///         runner may be writing it), no question in it, or a file that can't be written.
bool CreateReplyFile(const Json::Value& answer);

}  // namespace Halvard::Runner
