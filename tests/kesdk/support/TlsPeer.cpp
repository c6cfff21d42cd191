#include "support/TlsPeer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

namespace kesdk::test {

std::string TlsPeer::Session::ReadHead()
{
    for (;;) {
        if (const std::size_t end = m_pending.find("\r\n\r\n"); end != std::string::npos) {
            std::string head = m_pending.substr(0, end + 4);
            m_pending.erase(0, end + 4);
            return head;
        }
        std::array<char, 4096> bytes{};
        const int got = SSL_read(m_ssl, bytes.data(), static_cast<int>(bytes.size()));
        if (got <= 0)
            return {};
        m_pending.append(bytes.data(), static_cast<std::size_t>(got));
    }
}

std::string TlsPeer::Session::Read(std::size_t sizeBytes)
{
    while (m_pending.size() < sizeBytes) {
        std::array<char, 4096> bytes{};
        const int got = SSL_read(m_ssl, bytes.data(), static_cast<int>(bytes.size()));
        if (got <= 0)
            break;
        m_pending.append(bytes.data(), static_cast<std::size_t>(got));
    }
    std::string taken = m_pending.substr(0, sizeBytes);
    m_pending.erase(0, taken.size());
    return taken;
}

void TlsPeer::Session::Write(const std::string& bytes)
{
    SSL_write(m_ssl, bytes.data(), static_cast<int>(bytes.size()));
}

std::string TlsPeer::Session::Sealed(const std::string& bytes)
{
    BIO* const socket = SSL_get_wbio(m_ssl);
    BIO_up_ref(socket);
    SSL_set0_wbio(m_ssl, BIO_new(BIO_s_mem()));
    Write(bytes);
    char* record = nullptr;
    const long sizeBytes = BIO_get_mem_data(SSL_get_wbio(m_ssl), &record);
    const std::string sealed(record, static_cast<std::size_t>(sizeBytes));
    SSL_set0_wbio(m_ssl, socket);
    return sealed;
}

void TlsPeer::Session::SendRaw(const std::string& bytes)
{
    ::send(SSL_get_fd(m_ssl), bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void TlsPeer::Session::WaitForEnd()
{
    char byte = 0;
    while (SSL_read(m_ssl, &byte, 1) > 0) {
    }
}

void TlsPeer::Session::Reset()
{
    const linger now{1, 0};
    ::setsockopt(SSL_get_fd(m_ssl), SOL_SOCKET, SO_LINGER, &now, sizeof now);
}

TlsPeer::TlsPeer(Identity identity, Script script, int mostVersion, int receiveBufferBytes)
    : m_identity(std::move(identity)),
      m_script(std::move(script)),
      m_receiveBufferBytes(receiveBufferBytes),
      m_context(SSL_CTX_new(TLS_server_method()))
{
    std::signal(SIGPIPE, SIG_IGN);
    Use(m_identity);
    SSL_CTX_set_num_tickets(m_context.get(), 0); // a client verifies each connection's certificate
    SSL_CTX_set_max_proto_version(m_context.get(), mostVersion);
    if (mostVersion < TLS1_2_VERSION)
        SSL_CTX_set_cipher_list(m_context.get(), "ALL:@SECLEVEL=0");
    Listen();
}

TlsPeer::TlsPeer(std::string plainAnswer)
    : m_plainAnswer(std::move(plainAnswer)), m_speaksTls(false)
{
    Listen();
}

void TlsPeer::Listen()
{
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // Set before the listen, so that each connection inherits the size and the system keeps it.
    if (m_receiveBufferBytes > 0)
        ::setsockopt(m_listener, SOL_SOCKET, SO_RCVBUF, &m_receiveBufferBytes,
                     sizeof m_receiveBufferBytes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), length);
    ::listen(m_listener, 8);
    ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { Run(); });
}

TlsPeer::~TlsPeer()
{
    StopListening();
    m_thread.join();
    ::close(m_listener);
    for (std::thread& connection : m_connectionThreads)
        connection.join();
}

void TlsPeer::StopListening()
{
    ::shutdown(m_listener, SHUT_RDWR); // ends the accept
}

void TlsPeer::Use(const Identity& identity)
{
    SSL_CTX_use_certificate(m_context.get(), identity.certificate.get());
    SSL_CTX_use_PrivateKey(m_context.get(), identity.key.get());
}

void TlsPeer::StopTls(std::string plainAnswer)
{
    m_plainAnswer = std::move(plainAnswer);
    m_speaksTls = false;
}

void TlsPeer::Run()
{
    for (;;) {
        const int descriptor = ::accept(m_listener, nullptr, nullptr);
        if (descriptor < 0)
            return;
        ++m_connections;
        m_connectionThreads.emplace_back([this, descriptor] {
            Serve(descriptor);
            ::close(descriptor);
        });
    }
}

void TlsPeer::Serve(int descriptor)
{
    if (!m_speaksTls) {
        AnswerPlainly(descriptor);
        return;
    }
    SSL* ssl = SSL_new(m_context.get());
    SSL_set_fd(ssl, descriptor);
    if (SSL_accept(ssl) == 1) {
        Session session(ssl);
        m_script(session);
    }
    SSL_free(ssl);
}

void TlsPeer::AnswerPlainly(int descriptor) const
{
    std::array<char, 4096> bytes{};
    if (::recv(descriptor, bytes.data(), bytes.size(), 0) <= 0)
        return;
    if (m_plainAnswer.empty())
        return;
    ::send(descriptor, m_plainAnswer.data(), m_plainAnswer.size(), MSG_NOSIGNAL);
    while (::recv(descriptor, bytes.data(), bytes.size(), 0) > 0) {
    }
}

} // namespace kesdk::test
