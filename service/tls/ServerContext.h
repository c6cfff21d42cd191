// The TLS settings of the API's listener.
#pragma once

#include "service/tls/Authority.h"

#include <memory>

struct ssl_ctx_st;

namespace kelvo::tls {

struct FreeContext
{
    void operator()(ssl_ctx_st* context) const;
};
using ServerContext = std::unique_ptr<ssl_ctx_st, FreeContext>;

/** TLS 1.2 and newer. Throws std::runtime_error if the certificate and the key are not usable. */
ServerContext makeServerContext(const CertificateFiles& files);

} // namespace kelvo::tls
