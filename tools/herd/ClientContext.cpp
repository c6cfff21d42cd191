#include "tools/herd/ClientContext.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace herd {

namespace {

bool isAddress(const std::string& host)
{
    ASN1_OCTET_STRING* address = a2i_IPADDRESS(host.c_str());
    ASN1_OCTET_STRING_free(address);
    return address != nullptr;
}

} // namespace

void FreeTls::operator()(ssl_ctx_st* context) const
{
    SSL_CTX_free(context);
}

void FreeTls::operator()(ssl_st* connection) const
{
    SSL_free(connection);
}

ClientContext makeClientContext(const std::string& caFile)
{
    ClientContext context(SSL_CTX_new(TLS_client_method()));
    if (!context) {
        throw std::runtime_error("TLS is not available");
    }
    SSL_CTX* raw = context.get();
    SSL_CTX_set_min_proto_version(raw, TLS1_2_VERSION);
    SSL_CTX_set_verify(raw, SSL_VERIFY_PEER, nullptr);
    const bool isTrusting = caFile.empty() ? SSL_CTX_set_default_verify_paths(raw) == 1
                                           : SSL_CTX_load_verify_file(raw, caFile.c_str()) == 1;
    if (!isTrusting) {
        throw std::runtime_error("--ca: no certificates can be read from " + caFile);
    }
    // Thousands of connections are idle: they keep no buffers and no sessions to resume.
    SSL_CTX_set_mode(raw, SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ENABLE_PARTIAL_WRITE |
                              SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    SSL_CTX_set_session_cache_mode(raw, SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(raw, SSL_OP_IGNORE_UNEXPECTED_EOF);
    return context;
}

TlsConnection makeTlsConnection(ssl_ctx_st* context, const std::string& host, int descriptor)
{
    TlsConnection connection(SSL_new(context));
    SSL* raw = connection.get();
    bool isReady = raw != nullptr && SSL_set_fd(raw, descriptor) == 1;
    if (isReady && isAddress(host)) {
        isReady = X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(raw), host.c_str()) == 1;
    } else if (isReady) {
        isReady = SSL_set1_host(raw, host.c_str()) == 1 &&
                  SSL_set_tlsext_host_name(raw, host.c_str()) == 1;
    }
    if (!isReady) {
        throw std::runtime_error("no TLS connection can be made for " + host);
    }
    SSL_set_connect_state(raw);
    return connection;
}

std::string tlsFailure(const ssl_st* connection)
{
    if (const long verified = SSL_get_verify_result(connection); verified != X509_V_OK) {
        return certificateFailure + std::string(X509_verify_cert_error_string(verified));
    }
    const char* reason = ERR_reason_error_string(ERR_peek_last_error());
    return std::string("TLS: ") + (reason != nullptr ? reason : "connection ended");
}

} // namespace herd
