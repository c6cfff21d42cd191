// A server on the loopback interface that speaks TLS and then follows a test's script.
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

// Serves each connection on its own thread.
class TlsPeer
{
public:
    // The server's end of a connection. All calls block.
    class Session
    {
    public:
        explicit Session(SSL* ssl) : m_ssl(ssl) {}
        // Reads up to the end of a head. Returns an empty text when the client has disconnected.
        std::string ReadHead();
        std::string Read(std::size_t sizeBytes);
        void Write(const std::string& bytes);
        // The TLS record with these bytes, for SendRaw().
        std::string Sealed(const std::string& bytes);
        void SendRaw(const std::string& bytes);
        // Waits until the client disconnects.
        void WaitForEnd();
        // The connection ends with a reset when the script ends.
        void Reset();

    private:
        SSL* m_ssl;
        std::string m_pending;
    };
    using Script = std::function<void(Session&)>;

    // A receive buffer of 0 bytes means the system's default.
    TlsPeer(Identity identity, Script script, int mostVersion = TLS1_3_VERSION,
            int receiveBufferBytes = 0);
    // Speaks no TLS: answers the first bytes of a connection with this text.
    explicit TlsPeer(std::string plainAnswer);
    ~TlsPeer();
    TlsPeer(const TlsPeer&) = delete;
    TlsPeer& operator=(const TlsPeer&) = delete;

    std::string Url() const { return "https://127.0.0.1:" + std::to_string(m_port); }
    int ConnectionCount() const { return m_connections; }
    // Refuses new connections. Open connections stay open.
    void StopListening();
    // New connections get this certificate.
    void Use(const Identity& identity);
    // Answers the first bytes of new connections with this text, without TLS. If the text is empty,
    // the connections end there.
    void StopTls(std::string plainAnswer);

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
    std::string m_plainAnswer; // written before m_speaksTls
    const int m_receiveBufferBytes = 0;
    std::unique_ptr<SSL_CTX, FreeContext> m_context;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_speaksTls{true};
    std::atomic<int> m_connections{0};
    std::vector<std::thread> m_connectionThreads; // used by m_thread until it ends
    std::thread m_thread;
};

} // namespace kesdk::test
