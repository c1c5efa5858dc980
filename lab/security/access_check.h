// What a descriptor grants.
#pragma once

#include <cstdint>
#include <string>

#include "security/descriptor.h"

namespace Lab {

/// \param sid  The only identifier that counts: no group of it, not even that of everyone.
/// \return All rights that the descriptor grants, generic ones as they stand.
std::uint32_t GrantedRights(const SecurityDescriptor& descriptor, const std::wstring& sid);

}  // namespace Lab
