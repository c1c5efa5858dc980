// The files that an sshd wants, other than its configuration.
#pragma once

#include <filesystem>
#include <string>

namespace Lab {

/// \return One line of /etc/shadow, without its end.
std::string ShadowLine(const std::string& user, const std::string& password);

/// \param publicKey  A file of one line: type, key in base64, comment.
/// \return SHA-1 of the key as "0A:1B:...".
/// \throw std::runtime_error for another file.
std::string KeyThumbprint(const std::filesystem::path& publicKey);

}  // namespace Lab
