#include "SelfSignedCertificate.h"

#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <array>
#include <ctime>
#include <string_view>
#include <utility>

namespace vemora {
namespace {

constexpr std::string_view kCommonName = "Vemora local server";
constexpr std::time_t kHour = 3600;
constexpr std::time_t kDay = 24 * kHour;

/// The first failing call of a chain; the calls after it are skipped.
class Status {
 public:
  template <typename Call>
  void then(Call&& call) {
    if (code_ >= 0) code_ = std::forward<Call>(call)();
  }
  [[nodiscard]] bool good() const { return code_ >= 0; }
  [[nodiscard]] const char* message() const { return gnutls_strerror(code_); }

 private:
  int code_ = 0;
};

class Key {
 public:
  explicit Key(Status& status) {
    status.then([&] { return gnutls_x509_privkey_init(&key_); });
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  ~Key() {
    if (key_) gnutls_x509_privkey_deinit(key_);
  }
  [[nodiscard]] gnutls_x509_privkey_t get() const { return key_; }

 private:
  gnutls_x509_privkey_t key_ = nullptr;
};

class Certificate {
 public:
  explicit Certificate(Status& status) {
    status.then([&] { return gnutls_x509_crt_init(&certificate_); });
  }
  Certificate(const Certificate&) = delete;
  Certificate& operator=(const Certificate&) = delete;
  ~Certificate() {
    if (certificate_) gnutls_x509_crt_deinit(certificate_);
  }
  [[nodiscard]] gnutls_x509_crt_t get() const { return certificate_; }

 private:
  gnutls_x509_crt_t certificate_ = nullptr;
};

class Datum {
 public:
  Datum() = default;
  Datum(const Datum&) = delete;
  Datum& operator=(const Datum&) = delete;
  ~Datum() { gnutls_free(datum_.data); }
  gnutls_datum_t* out() { return &datum_; }
  [[nodiscard]] std::string text() const { return {reinterpret_cast<const char*>(datum_.data), datum_.size}; }

 private:
  gnutls_datum_t datum_{};
};

int addAlternativeName(gnutls_x509_crt_t certificate, gnutls_x509_subject_alt_name_t type,
                       std::string_view name) {
  return gnutls_x509_crt_set_subject_alt_name(certificate, type, name.data(),
                                              static_cast<unsigned>(name.size()), GNUTLS_FSAN_APPEND);
}

void setNames(gnutls_x509_crt_t certificate, Status& status) {
  constexpr std::array<char, 4> ipv4{127, 0, 0, 1};
  constexpr std::array<char, 16> ipv6{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
  status.then([&] {
    return gnutls_x509_crt_set_dn_by_oid(certificate, GNUTLS_OID_X520_COMMON_NAME, 0, kCommonName.data(),
                                         static_cast<unsigned>(kCommonName.size()));
  });
  status.then([&] {
    return addAlternativeName(certificate, GNUTLS_SAN_IPADDRESS, {ipv4.data(), ipv4.size()});
  });
  status.then([&] {
    return addAlternativeName(certificate, GNUTLS_SAN_IPADDRESS, {ipv6.data(), ipv6.size()});
  });
  status.then([&] { return addAlternativeName(certificate, GNUTLS_SAN_DNSNAME, "localhost"); });
}

void setSerial(gnutls_x509_crt_t certificate, Status& status) {
  std::array<unsigned char, 16> serial{};
  status.then([&] { return gnutls_rnd(GNUTLS_RND_NONCE, serial.data(), serial.size()); });
  serial[0] &= 0x7f;  // a serial number is a positive integer
  serial[0] |= 0x40;
  status.then([&] { return gnutls_x509_crt_set_serial(certificate, serial.data(), serial.size()); });
}

void setValidity(gnutls_x509_crt_t certificate, Status& status) {
  const std::time_t now = std::time(nullptr);
  // An hour back, for a client in a container whose clock is a little behind.
  status.then([&] { return gnutls_x509_crt_set_activation_time(certificate, now - kHour); });
  status.then([&] { return gnutls_x509_crt_set_expiration_time(certificate, now + 90 * kDay); });
}

void setUses(gnutls_x509_crt_t certificate, Status& status) {
  // It is its own authority, so that a client can trust it like one.
  status.then([&] { return gnutls_x509_crt_set_basic_constraints(certificate, 1, 0); });
  status.then([&] {
    return gnutls_x509_crt_set_key_usage(certificate,
                                         GNUTLS_KEY_DIGITAL_SIGNATURE | GNUTLS_KEY_KEY_CERT_SIGN);
  });
  status.then([&] { return gnutls_x509_crt_set_key_purpose_oid(certificate, GNUTLS_KP_TLS_WWW_SERVER, 0); });
}

}  // namespace

std::optional<SelfSignedCertificate> makeLoopbackCertificate(std::string& problem) {
  Status status;
  Key key(status);
  Certificate certificate(status);
  status.then([&] {
    return gnutls_x509_privkey_generate(key.get(), GNUTLS_PK_ECDSA,
                                        GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0);
  });
  status.then([&] { return gnutls_x509_crt_set_version(certificate.get(), 3); });
  setSerial(certificate.get(), status);
  setNames(certificate.get(), status);
  setValidity(certificate.get(), status);
  setUses(certificate.get(), status);
  status.then([&] { return gnutls_x509_crt_set_key(certificate.get(), key.get()); });
  status.then([&] {
    return gnutls_x509_crt_sign2(certificate.get(), certificate.get(), key.get(), GNUTLS_DIG_SHA256, 0);
  });

  Datum certificatePem;
  Datum privateKeyPem;
  status.then(
      [&] { return gnutls_x509_crt_export2(certificate.get(), GNUTLS_X509_FMT_PEM, certificatePem.out()); });
  status.then([&] {
    return gnutls_x509_privkey_export2_pkcs8(key.get(), GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN,
                                             privateKeyPem.out());
  });
  if (!status.good()) {
    problem = std::string("cannot make a certificate: ") + status.message();
    return std::nullopt;
  }
  return SelfSignedCertificate{certificatePem.text(), privateKeyPem.text()};
}

}  // namespace vemora
