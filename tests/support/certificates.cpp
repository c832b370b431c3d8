#include "tests/support/certificates.hpp"

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

void addExtension(X509* certificate, X509* issuer, int kind, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, kind, value.c_str());
  require(extension && X509_add_ext(certificate, extension, -1) == 1);
  X509_EXTENSION_free(extension);
}

/// A certificate with a key of its own, not signed yet.
ServerCertificate blank(const std::string& name) {
  const std::shared_ptr<EVP_PKEY> key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
  const std::shared_ptr<X509> certificate(X509_new(), &X509_free);
  require(key && certificate);
  static long serial = 0;
  X509_set_version(certificate.get(), X509_VERSION_3);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), ++serial);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
  X509_set_pubkey(certificate.get(), key.get());
  X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                             reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
  return {key, certificate};
}

void sign(const ServerCertificate& subject, const ServerCertificate& issuer) {
  X509_set_issuer_name(subject.certificate.get(), X509_get_subject_name(issuer.certificate.get()));
  require(X509_sign(subject.certificate.get(), issuer.key.get(), EVP_sha256()) > 0);
}

}  // namespace

CertificateAuthority::CertificateAuthority(const std::string& name) : root_(blank(name)) {
  auto* certificate = root_.certificate.get();
  addExtension(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate, certificate, NID_key_usage, "critical,keyCertSign");
  sign(root_, root_);
}

ServerCertificate CertificateAuthority::issue(const std::string& subject) const {
  auto issued = blank("Test server");
  addExtension(issued.certificate.get(), root_.certificate.get(), NID_subject_alt_name, subject);
  sign(issued, root_);
  return issued;
}

void CertificateAuthority::writePem(const std::filesystem::path& file) const {
  std::FILE* stream = std::fopen(file.c_str(), "w");
  require(stream != nullptr);
  const int written = PEM_write_X509(stream, root_.certificate.get());
  std::fclose(stream);
  require(written == 1);
}

}  // namespace zavelo::test
