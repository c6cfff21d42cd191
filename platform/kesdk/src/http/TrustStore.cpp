#include "http/TrustStore.h"

#include <openssl/err.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <cstdlib>
#include <new>

namespace kesdk::impl {

namespace {

std::string SystemsFile()
{
    const char* named = std::getenv(X509_get_default_cert_file_env());
    return named ? named : X509_get_default_cert_file();
}

// The index of the TrustStore in an OpenSSL store.
int OwnerIndex()
{
    static const int index = X509_STORE_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
    return index;
}

bool IsInTime(const X509* certificate)
{
    return X509_cmp_timeframe(nullptr, X509_get0_notBefore(certificate),
                              X509_get0_notAfter(certificate)) == 0;
}

// OpenSSL's callback during verification: 1 and the issuer, 0 if there is none, or an error.
int FindIssuer(X509** issuer, X509_STORE_CTX* verification, X509* certificate)
{
    const int found = X509_STORE_CTX_get1_issuer(issuer, verification, certificate);
    if (found < 0 || (found > 0 && IsInTime(*issuer)))
        return found;
    if (found > 0) // the system may have a valid authority of the same name
        X509_free(*issuer);
    X509_STORE* const store = X509_STORE_CTX_get0_store(verification);
    static_cast<const TrustStore*>(X509_STORE_get_ex_data(store, OwnerIndex()))->ReadSystemsFile();
    return X509_STORE_CTX_get1_issuer(issuer, verification, certificate);
}

} // namespace

void TrustStore::Free::operator()(x509_store_st* store) const
{
    X509_STORE_free(store);
}

TrustStore::TrustStore(const std::string& extraFile)
    : m_store(X509_STORE_new()), m_systemsFile(SystemsFile())
{
    if (!m_store || !X509_STORE_set_ex_data(m_store.get(), OwnerIndex(), this))
        throw std::bad_alloc();
    // Authorities in a folder are looked up one by one when needed.
    if (X509_LOOKUP* folder = X509_STORE_add_lookup(m_store.get(), X509_LOOKUP_hash_dir()))
        X509_LOOKUP_add_dir(folder, nullptr, X509_FILETYPE_DEFAULT);
    if (!extraFile.empty())
        X509_STORE_load_file(m_store.get(), extraFile.c_str());
    X509_STORE_set_get_issuer(m_store.get(), &FindIssuer);
    ERR_clear_error(); // a file that is not there must not show up in a later TLS error
}

void TrustStore::ReadSystemsFile() const
{
    std::call_once(m_isSystemsFileRead, [this] {
        ERR_set_mark();
        X509_STORE_load_file(m_store.get(), m_systemsFile.c_str());
        ERR_pop_to_mark(); // a missing file must not show up in a later TLS error
    });
}

} // namespace kesdk::impl
