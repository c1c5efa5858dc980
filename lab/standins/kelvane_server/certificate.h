// The server's TLS certificate.
#pragma once

#include <string>

namespace Lab::Kelvane {

/// A private key and its certificate, both as PEM.
struct Certificate {
  std::string key;
  std::string certificate;
  std::string thumbprint;  ///< SHA-1 as "9A:0B:...".
};

/// Makes a key and a certificate for "localhost", 127.0.0.1 and ::1, signed with that key. Each
/// call gives another one. Throws std::runtime_error.
Certificate MakeCertificate();

/// Reads both from a PEM file, in any order. Throws std::runtime_error, which names the file.
Certificate ReadCertificate(const std::string& file);

}  // namespace Lab::Kelvane
