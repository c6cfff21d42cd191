// Certificates for a test, made in memory.
#pragma once

#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>
#include <string>

namespace kesdk::test {

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

struct Identity
{
    Key key;
    Certificate certificate;
};

// A certificate authority for a test.
class TestAuthority
{
public:
    TestAuthority();

    // A certificate for the server "DNS:..." or "IP:...", valid from `fromDays` to `toDays` from
    // now.
    Identity Issue(const std::string& subjectName, int fromDays, int toDays) const;
    std::string Pem() const;

private:
    Identity m_self;
};

} // namespace kesdk::test
