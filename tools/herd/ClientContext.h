// The TLS settings of all connections of the herd.
#pragma once

#include <memory>
#include <string>

struct ssl_ctx_st;
struct ssl_st;

namespace herd {

struct FreeTls
{
    void operator()(ssl_ctx_st* context) const;
    void operator()(ssl_st* connection) const;
};

using ClientContext = std::unique_ptr<ssl_ctx_st, FreeTls>;
using TlsConnection = std::unique_ptr<ssl_st, FreeTls>;

/**
 * Trusts the authorities in `caFile` (PEM), or those of the system if it is empty. Throws
 * std::runtime_error with a sentence for the operator.
 */
ClientContext makeClientContext(const std::string& caFile);

/** A connection that accepts only a certificate for `host`, a name or an address. */
TlsConnection makeTlsConnection(ssl_ctx_st* context, const std::string& host, int descriptor);

/** Begins the failure of a connection whose certificate is not accepted. */
inline constexpr const char* certificateFailure = "certificate: ";

/** Why the last call on the connection failed, in English. Never empty. */
std::string tlsFailure(const ssl_st* connection);

} // namespace herd
