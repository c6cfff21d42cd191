// The sockets that a transport has open.
#pragma once

#include <curl/curl.h>

#include <cstdint>
#include <vector>

namespace kesdk::impl {

// libcurl names a transfer's socket only after its end; this knows it meanwhile.
//
// Thread: the performing one. Outlives the handles that it serves: libcurl closes the sockets of
// the connections that it keeps through it.
class OpenSockets
{
public:
    // Has the handle open and close its sockets through this.
    void Serve(CURL* easy);
    // The socket of the transfer that runs on the handle; CURL_SOCKET_BAD while it has none.
    curl_socket_t Of(CURL* easy) const;
    // Acknowledged and received bytes of all open sockets, also of a TLS handshake; 0 if the kernel
    // does not tell.
    std::int64_t CarriedBytes() const;
    // How many sockets were opened so far.
    int OpenedCount() const { return m_openedCount; }

private:
    static curl_socket_t OnOpen(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int OnClose(void* self, curl_socket_t socket);

    std::vector<curl_socket_t> m_open;
    int m_openedCount = 0;
};

} // namespace kesdk::impl
