// A server on the loopback interface that speaks TLS and then what a test tells it.
#pragma once

#include "support/TestAuthority.h"

#include <openssl/ssl.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace kesdk::test {

// Each connection on a thread of its own.
class TlsPeer
{
public:
    // A connection, from the server's side; all calls block.
    class Session
    {
    public:
        explicit Session(SSL* ssl) : m_ssl(ssl) {}
        // Up to the end of a head; empty when the client has gone.
        std::string ReadHead();
        std::string Read(std::size_t sizeBytes);
        void Write(const std::string& bytes);
        // Until the client goes.
        void WaitForEnd();

    private:
        SSL* m_ssl;
        std::string m_pending;
    };
    using Script = std::function<void(Session&)>;

    // A receive buffer of 0 bytes is one of the system's choice.
    TlsPeer(Identity identity, Script script, int mostVersion = TLS1_3_VERSION,
            int receiveBufferBytes = 0);
    // Speaks no TLS at all: answers whatever comes first with these bytes.
    explicit TlsPeer(std::string plainAnswer);
    ~TlsPeer();
    TlsPeer(const TlsPeer&) = delete;
    TlsPeer& operator=(const TlsPeer&) = delete;

    std::string Url() const { return "https://127.0.0.1:" + std::to_string(m_port); }
    int ConnectionCount() const { return m_connections; }
    // From now on nobody answers; connections that stand go on.
    void StopListening();

private:
    struct FreeContext
    {
        void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    };

    void Listen();
    void Run();
    void Serve(int descriptor);
    void AnswerPlainly(int descriptor) const;

    Identity m_identity;
    Script m_script;
    const std::string m_plainAnswer;
    const int m_receiveBufferBytes = 0;
    std::unique_ptr<SSL_CTX, FreeContext> m_context;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<int> m_connections{0};
    std::vector<std::thread> m_connectionThreads; // m_thread's, until that has ended
    std::thread m_thread;
};

} // namespace kesdk::test
