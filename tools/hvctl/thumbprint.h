// Thumbprints of certificates: SHA-1, as the agent shows it on its console.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <openssl/x509.h>

namespace Hvctl {

/// Brings a thumbprint that a person typed into the agent's form: 20 pairs of upper-case
/// hexadecimal digits joined by ":". Colons, blanks and case don't matter in \p text.
/// \return Nothing when \p text isn't 40 hexadecimal digits.
std::optional<std::string> NormalizeThumbprint(std::string_view text);

/// Thumbprint of a certificate in the agent's form.
std::string ThumbprintOf(const X509* certificate);

}  // namespace Hvctl
