#pragma once

#include <filesystem>
#include <string>

namespace pion_test {

/// A folder of its own for one test; it goes with the object.
class temporary_folder {
 public:
  temporary_folder();
  ~temporary_folder();
  temporary_folder(const temporary_folder&) = delete;
  temporary_folder& operator=(const temporary_folder&) = delete;

  /// Writes a file and returns its path.
  std::string write(const std::string& name, const std::string& text) const;
  std::string path(const std::string& name) const { return (folder_ / name).string(); }

 private:
  std::filesystem::path folder_;
};

/// A key on P-256 and a certificate for it, made anew.
class test_certificate {
 public:
  test_certificate();

  std::string certificate;    ///< PEM
  std::string key;            ///< PEM, PKCS#8
  std::string sec1_key;       ///< PEM, SEC1
  std::string encrypted_key;  ///< PEM, PKCS#8 under a pass phrase
  std::string der;            ///< the certificate, DER
};

/// A key in PEM form PKCS#1 and a certificate for it.
std::string make_rsa_pkcs1_pem();

}  // namespace pion_test
