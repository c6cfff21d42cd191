// The authorities whose certificates the SDK believes.
#include "http/TrustStore.h"

#include <openssl/err.h>
#include <openssl/x509_vfy.h>

#include <new>

namespace kesdk::impl {

void TrustStore::Free::operator()(x509_store_st* store) const
{
    X509_STORE_free(store);
}

TrustStore::TrustStore(const std::string& extraFile) : m_store(X509_STORE_new())
{
    if (!m_store)
        throw std::bad_alloc();
    X509_STORE_set_default_paths(m_store.get());
    if (!extraFile.empty())
        X509_STORE_load_file(m_store.get(), extraFile.c_str());
    ERR_clear_error(); // a file that is not there must not show up in a later TLS error
}

} // namespace kesdk::impl
