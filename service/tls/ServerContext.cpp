#include "service/tls/ServerContext.h"

#include <openssl/ssl.h>

#include <stdexcept>

namespace kelvo::tls {

namespace {

int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* chosenSize,
                   const unsigned char* offered, unsigned int offeredSize, void*)
{
    static constexpr unsigned char http11[] = {8, 'h', 't', 't', 'p', '/', '1', '.', '1'};
    unsigned char* match = nullptr;
    if (SSL_select_next_proto(&match, chosenSize, http11, sizeof http11, offered, offeredSize) !=
        OPENSSL_NPN_NEGOTIATED) {
        return SSL_TLSEXT_ERR_NOACK;
    }
    *chosen = match;
    return SSL_TLSEXT_ERR_OK;
}

} // namespace

void FreeContext::operator()(ssl_ctx_st* context) const
{
    SSL_CTX_free(context);
}

ServerContext makeServerContext(const CertificateFiles& files)
{
    ServerContext context(SSL_CTX_new(TLS_server_method()));
    if (!context) {
        throw std::runtime_error("TLS is not available");
    }
    SSL_CTX* raw = context.get();
    SSL_CTX_set_min_proto_version(raw, TLS1_2_VERSION);
    // For TLS 1.2: no CBC, no key exchange without forward secrecy.
    SSL_CTX_set_cipher_list(raw, "ECDHE+AESGCM:ECDHE+CHACHA20");
    // A client uses one ticket for each connection. A second ticket would cost 250 bytes a login.
    SSL_CTX_set_num_tickets(raw, 1);
    SSL_CTX_set_options(raw, SSL_OP_NO_COMPRESSION | SSL_OP_NO_RENEGOTIATION |
                                 SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_PRIORITIZE_CHACHA |
                                 SSL_OP_IGNORE_UNEXPECTED_EOF);
    // Idle connections release their buffers. A repeated write may pass another buffer.
    SSL_CTX_set_mode(raw, SSL_MODE_RELEASE_BUFFERS | SSL_MODE_ENABLE_PARTIAL_WRITE |
                              SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    // One system call reads several records.
    SSL_CTX_set_read_ahead(raw, 1);
    SSL_CTX_set_default_read_buffer_len(raw, std::size_t{64} * 1024);
    SSL_CTX_set_session_id_context(raw, reinterpret_cast<const unsigned char*>("kelvo"), 5);
    SSL_CTX_set_alpn_select_cb(raw, chooseProtocol, nullptr);
    if (SSL_CTX_use_certificate_chain_file(raw, files.certificate.c_str()) != 1 ||
        SSL_CTX_use_PrivateKey_file(raw, files.key.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_check_private_key(raw) != 1) {
        throw std::runtime_error("the certificate and its key do not match or cannot be read");
    }
    return context;
}

} // namespace kelvo::tls
