// The sockets that a transport has open.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <vector>

namespace kesdk::impl {

// Knows a transfer's socket while the transfer runs. Libcurl gives it only at the end.
//
// Thread: the performing one. Outlives its handles: libcurl closes the sockets of kept connections
// through this object.
class OpenSockets
{
public:
    // The handle opens and closes its sockets through this object.
    void Serve(CURL* easy);
    // The socket of the transfer that runs on the handle; CURL_SOCKET_BAD while it has none.
    curl_socket_t Of(CURL* easy) const;
    struct Traffic
    {
        std::int64_t ackedBytes = 0;
        std::int64_t receivedBytes = 0; // a TLS record of 16 KiB counts byte by byte
    };
    // Of all open sockets, also of a TLS handshake; 0 if the kernel does not tell.
    Traffic Carried() const;
    // How many sockets were opened so far.
    int OpenedCount() const { return m_openedCount; }

private:
    static curl_socket_t OnOpen(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int OnClose(void* self, curl_socket_t socket);

    std::vector<curl_socket_t> m_open;
    int m_openedCount = 0;
};

} // namespace kesdk::impl
