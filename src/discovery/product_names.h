// How source and target of the migration are named to the operator.
#pragma once

#include <string>

namespace Halvard::Discovery {

/// Sets SOURCE_VERSION, and SOURCE_PRODUCT and TARGET_PRODUCT each with and without version.
/// \param type           The migration's type; an unknown one is named like "embedded".
/// \param sourceVersion  Three characters, such as "5.5", which is where Single Sign-On still bore
///                       its old name.
/// \param targetVersion  Three characters, such as "6.0".
void SetSourceAndTargetProducts(const std::wstring& type, const std::wstring& sourceVersion,
                                const std::wstring& targetVersion);

}  // namespace Halvard::Discovery
