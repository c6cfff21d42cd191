#include "support/TestAuthority.h"

#include <openssl/bio.h>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace kesdk::test {

namespace {

constexpr long kDay = 24L * 60 * 60;

void AddExtension(X509* certificate, X509* issuer, int nid, const std::string& value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str());
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

Certificate NewCertificate(EVP_PKEY* key, const std::string& name, int fromDays, int toDays)
{
    static long serial = 1;
    Certificate certificate(X509_new());
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial++);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), fromDays * kDay);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), toDays * kDay);
    X509_set_pubkey(certificate.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    return certificate;
}

} // namespace

TestAuthority::TestAuthority()
{
    m_self.key.reset(EVP_EC_gen("P-256"));
    m_self.certificate = NewCertificate(m_self.key.get(), "Test authority", -10, 10);
    X509* self = m_self.certificate.get();
    X509_set_issuer_name(self, X509_get_subject_name(self));
    AddExtension(self, self, NID_basic_constraints, "critical,CA:TRUE");
    AddExtension(self, self, NID_key_usage, "critical,keyCertSign");
    AddExtension(self, self, NID_subject_key_identifier, "hash");
    X509_sign(self, m_self.key.get(), EVP_sha256());
}

Identity TestAuthority::Issue(const std::string& subjectName, int fromDays, int toDays) const
{
    Identity identity;
    identity.key.reset(EVP_EC_gen("P-256"));
    identity.certificate = NewCertificate(identity.key.get(), "server", fromDays, toDays);
    X509* leaf = identity.certificate.get();
    X509_set_issuer_name(leaf, X509_get_subject_name(m_self.certificate.get()));
    AddExtension(leaf, m_self.certificate.get(), NID_subject_alt_name, subjectName);
    AddExtension(leaf, m_self.certificate.get(), NID_authority_key_identifier, "keyid");
    X509_sign(leaf, m_self.key.get(), EVP_sha256());
    return identity;
}

std::string TestAuthority::Pem() const
{
    BIO* memory = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(memory, m_self.certificate.get());
    char* text = nullptr;
    const long length = BIO_get_mem_data(memory, &text);
    std::string pem(text, static_cast<std::size_t>(length));
    BIO_free(memory);
    return pem;
}

} // namespace kesdk::test
