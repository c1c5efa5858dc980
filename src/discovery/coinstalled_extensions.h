// Products beside Single Sign-On or Belvar Controller that its migration would leave without it.
#pragma once

namespace Halvard::Discovery {

/// Looks for extensions on a machine that is shut down by an "infrastructure" migration. Those that
/// would only be available again after a later upgrade bring a warning in HV_WARNING_MESSAGES.
/// \return False when an extension is there that has to be moved first. The operator has been told,
///         and HV_INIT_ERROR holds the reason in English.
bool DiscoverExtensionsWithSSO();

}  // namespace Halvard::Discovery
