// Keys and certificates, made and read by OpenSSL.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/evp.h>
#include <openssl/x509.h>

namespace kelvo::tls {

struct FreeKey
{
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct FreeCertificate
{
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using Key = std::unique_ptr<EVP_PKEY, FreeKey>;
using Certificate = std::unique_ptr<X509, FreeCertificate>;

inline constexpr std::int64_t dayS = std::int64_t{24} * 3600;

/** The time in which a certificate is valid, in seconds since 1970-01-01 UTC. */
struct Validity
{
    std::int64_t notBeforeS = 0;
    std::int64_t notAfterS = 0;

    bool includes(std::int64_t nowS) const { return notBeforeS <= nowS && nowS < notAfterS; }
};

/** Errors: all functions throw std::runtime_error. Its text holds nothing of a key. */

/** Makes a new key on the curve P-256. */
Key makeKey();

/** Makes a self-signed authority that may sign server certificates only. */
Certificate makeAuthority(EVP_PKEY& key, const Validity& validity);

/** Makes a server certificate for the host names and addresses. */
Certificate makeServerCertificate(EVP_PKEY& key, const std::vector<std::string>& names,
                                  X509& authority, EVP_PKEY& authorityKey,
                                  const Validity& validity);

std::string toPem(X509& certificate);
std::string toPem(EVP_PKEY& key);
Certificate certificateFromPem(std::string_view pem);
/** All certificates of the text, at least one. */
std::vector<Certificate> certificatesFromPem(std::string_view pem);
Key keyFromPem(std::string_view pem);

Validity validityOf(const X509& certificate);

/** The host names and addresses of a server certificate. */
std::vector<std::string> namesOf(const X509& certificate);

/** Whether the certificate covers all `names` and was signed by the authority. */
bool covers(X509& certificate, const std::vector<std::string>& names, X509& authority);

} // namespace kelvo::tls
