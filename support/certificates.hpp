#pragma once

#include <filesystem>
#include <memory>
#include <string>

struct evp_pkey_st;
struct x509_st;

namespace zavelo::test {

/// A self-signed certificate that exists for one test, with its key.
struct ServerCertificate {
  /// `subject` is an alternative name in OpenSSL's words: "IP:127.0.0.1", "DNS:example.test".
  explicit ServerCertificate(const std::string& subject);

  /// Adds the certificate to a file of those that a client is to trust.
  void appendTo(const std::filesystem::path& file) const;
  void writeKeyTo(const std::filesystem::path& file) const;

  std::shared_ptr<evp_pkey_st> key;
  std::shared_ptr<x509_st> certificate;
};

}  // namespace zavelo::test
