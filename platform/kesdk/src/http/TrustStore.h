// The authorities whose certificates the SDK accepts.
#pragma once

#include <memory>
#include <mutex>
#include <string>

struct x509_store_st;

namespace kesdk::impl {

// The authorities in one file, read by the constructor, and the system's. The system's file holds
// about 140 authorities, a megabyte in memory. It is read when no other authority has issued a
// peer's certificate.
// Thread safety: may serve several transports at once.
class TrustStore
{
public:
    // `extraFile` may be empty. If it cannot be read, its authorities are unknown.
    explicit TrustStore(const std::string& extraFile);
    TrustStore(const TrustStore&) = delete;
    TrustStore& operator=(const TrustStore&) = delete;

    x509_store_st* Get() const { return m_store.get(); }
    // Once; later calls do nothing.
    void ReadSystemsFile() const;

private:
    struct Free
    {
        void operator()(x509_store_st* store) const;
    };
    std::unique_ptr<x509_store_st, Free> m_store;
    const std::string m_systemsFile;
    mutable std::once_flag m_isSystemsFileRead;
};

} // namespace kesdk::impl
