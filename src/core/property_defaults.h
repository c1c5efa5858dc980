// What the property table holds before anything has been discovered.
#pragma once

namespace Halvard {

/// What USER_OPTIONS holds unless a client has given others.
inline constexpr wchar_t kDefaultUserOptions[] = L"{\"keldb.migrateSet\":\"yes\"}";

/// Stores the defaults, with the templates of the runner's input file and of the status file, and
/// names the private properties. Properties without a default keep what they hold. Run once, on
/// the main thread, before any other thread reads properties.
void InitializeProperties();

}  // namespace Halvard
