// The authorities whose certificates the SDK believes.
#pragma once

#include <memory>
#include <mutex>
#include <string>

struct x509_store_st;

namespace kesdk::impl {

// Those in one file, read when it is constructed, and the system's. The system's file holds some
// 140, a megabyte once read: it is when somebody comes whom none of the others vouches for. A
// service with an authority of its own never is.
// Thread safety: may serve several transports at once.
class TrustStore
{
public:
    // `extraFile` may be empty. One that cannot be read is left out: its servers are then unknown.
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
