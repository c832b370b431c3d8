#pragma once

#include <filesystem>
#include <memory>
#include <string>

struct evp_pkey_st;
struct x509_st;

namespace zavelo::test {

struct ServerCertificate {
  std::shared_ptr<evp_pkey_st> key;
  std::shared_ptr<x509_st> certificate;
};

/// A certificate authority that exists for one test.
class CertificateAuthority {
 public:
  explicit CertificateAuthority(const std::string& name = "Test authority");

  /// `subject` is an alternative name in OpenSSL's words: "IP:127.0.0.1", "DNS:example.test".
  [[nodiscard]] ServerCertificate issue(const std::string& subject) const;
  /// Writes the authority's own certificate, for clients that are to trust it.
  void writePem(const std::filesystem::path& file) const;

 private:
  ServerCertificate root_;
};

}  // namespace zavelo::test
