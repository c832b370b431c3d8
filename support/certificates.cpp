#include "support/certificates.hpp"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <cstdio>
#include <stdexcept>

namespace zavelo::test {

namespace {

void require(bool done) {
  if (!done) throw std::runtime_error("cannot make a certificate");
}

class File {
 public:
  explicit File(const std::filesystem::path& name) : stream_(std::fopen(name.c_str(), "a")) {
    require(stream_ != nullptr);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { std::fclose(stream_); }
  [[nodiscard]] std::FILE* get() const { return stream_; }

 private:
  std::FILE* const stream_;
};

}  // namespace

ServerCertificate::ServerCertificate(const std::string& subject)
    : key(EVP_EC_gen("P-256"), &EVP_PKEY_free), certificate(X509_new(), &X509_free) {
  require(key && certificate);
  auto* x509 = certificate.get();
  X509_set_version(x509, X509_VERSION_3);
  X509_gmtime_adj(X509_getm_notBefore(x509), -3600);
  X509_gmtime_adj(X509_getm_notAfter(x509), 3600);
  X509_set_pubkey(x509, key.get());
  X509_NAME_add_entry_by_txt(X509_get_subject_name(x509), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(subject.c_str()), -1, -1, 0);
  X509_set_issuer_name(x509, X509_get_subject_name(x509));
  X509_EXTENSION* extension =
      X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, subject.c_str());
  require(extension && X509_add_ext(x509, extension, -1) == 1);
  X509_EXTENSION_free(extension);
  require(X509_sign(x509, key.get(), EVP_sha256()) > 0);
}

void ServerCertificate::appendTo(const std::filesystem::path& file) const {
  const File stream(file);
  require(PEM_write_X509(stream.get(), certificate.get()) == 1);
}

void ServerCertificate::writeKeyTo(const std::filesystem::path& file) const {
  const File stream(file);
  require(PEM_write_PrivateKey(stream.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) ==
          1);
}

}  // namespace zavelo::test
