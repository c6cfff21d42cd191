// One request in libcurl.
#pragma once

#include "base/Clock.h"
#include "http/ConsoleFacts.h"
#include "http/HttpMessage.h"
#include "http/OpenSockets.h"
#include "http/ServiceTime.h"

#include <curl/curl.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>

namespace kesdk::impl {

// Feeds the body, collects the answer and watches the limits of one request. Libcurl holds pointers
// into this object while the request runs.
class CurlTransfer
{
public:
    CurlTransfer(CURL* easy, const HttpRequest& request, const ConsoleFacts& console,
                 const OpenSockets& sockets, ServiceTime& serviceTime);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    // Set if a limit is exceeded.
    Failure CheckLimits();
    // The outcome: libcurl's result, or `early` if it is set.
    HttpOutcome Finish(CURLcode code, const Failure& early, EConsoleClock clock);

private:
    using Time = Clock::Time;
    struct FreeList
    {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    void SetHeaders();
    void SetBody();
    std::int64_t SentBytes() const;
    std::int64_t ReadBytes() const;
    std::int64_t MovedBytes();
    void NoteArrivals(Time now);
    void NoteMoves(Time now, bool isConnecting);
    Failure CheckConsole(Time now);
    std::size_t TakeHeaderLine(std::string_view line);
    std::size_t TakeBody(const char* bytes, std::size_t sizeBytes);
    void TakeTime();
    Failure Translate(CURLcode code, EConsoleClock clock) const;
    bool IsConnecting() const;
    Failure WithoutConnection() const;
    Failure AfterConnectionDied(Failure failure, CURLcode code) const;

    static int OnRequest(void* self, char* peer, char* local, int peerPort, int localPort);
    static std::size_t OnHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t OnBody(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t OnRead(char* buffer, std::size_t size, std::size_t count, void* self);

    CURL* m_easy;
    const HttpRequest& m_request;
    const ConsoleFacts& m_console;
    const OpenSockets& m_sockets;
    ServiceTime& m_serviceTime;
    std::unique_ptr<curl_slist, FreeList> m_headers;
    std::array<char, CURL_ERROR_SIZE> m_errorText{};
    HttpOutcome m_outcome;
    const int m_openedAtStart; // how many sockets had been opened
    int m_sentCount = 0;       // how often a connection was ready for the request
    int m_openedAtSend = -1;   // how many sockets had been opened then
    bool m_hasWholeHead = false;
    bool m_wasConnecting = true; // when the limits were checked last
    bool m_isBodyForSink = false;
    bool m_sourceFailed = false;
    bool m_sinkFailed = false;
    Time m_start;
    Time m_sent;
    Time m_lastArrival;
    Time m_windowStart;
    Time m_addressSeen;
    std::chrono::milliseconds m_asleepAtStart;
    std::int64_t m_windowStartBytes = 0;
    std::int64_t m_arrivedBytes = 0; // at the sockets, also of an unfinished TLS record
};

} // namespace kesdk::impl
