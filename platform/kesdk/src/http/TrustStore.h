// The authorities whose certificates the SDK believes.
#pragma once

#include <memory>
#include <string>

struct x509_store_st;

namespace kesdk::impl {

// The system's authorities and those in one more file, read when it is constructed.
// Thread safety: immutable; may serve several transports at once.
class TrustStore
{
public:
    // `extraFile` may be empty. One that cannot be read is left out: its servers are then unknown.
    explicit TrustStore(const std::string& extraFile);

    x509_store_st* Get() const { return m_store.get(); }

private:
    struct Free
    {
        void operator()(x509_store_st* store) const;
    };
    std::unique_ptr<x509_store_st, Free> m_store;
};

} // namespace kesdk::impl
