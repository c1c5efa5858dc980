// The log of the API framework, which writes through Boost.Log's trivial logger.
#pragma once

namespace Halvard {

/// Lets the framework's records of level info and above through to standard output, and drops all
/// others, also those without a level. Called once, when standard output takes wide text.
void SetUpFrameworkLogging();

}  // namespace Halvard
