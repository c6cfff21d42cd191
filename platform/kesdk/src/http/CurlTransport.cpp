#include "http/CurlTransport.h"

#include "http/CurlTransfer.h"

#include <openssl/ssl.h>

#include <new>
#include <utility>

namespace kesdk::impl {

namespace {

// The pause between two checks of abort and limits while no byte moves.
constexpr int kLookEveryMs = 200;
// Large for a file's content. Small for all else: the event stream holds its buffer for hours.
constexpr long kLargeBufferBytes = 512L * 1024;
constexpr long kSmallBufferBytes = 16L * 1024;

constexpr long kNeverMs = 24L * 60 * 60 * 1000;

void InitialiseCurlOnce()
{
    static const CURLcode once = curl_global_init(CURL_GLOBAL_ALL);
    static_cast<void>(once);
}

CURLcode UseTrustStore(CURL*, void* sslContext, void* store)
{
    SSL_CTX_set1_cert_store(static_cast<SSL_CTX*>(sslContext), static_cast<X509_STORE*>(store));
    return CURLE_OK;
}

// Adds the handle to the multi handle, and removes it at the end of the scope.
class HandleInMulti
{
public:
    HandleInMulti(CURLM* multi, CURL* easy) : m_multi(multi), m_easy(easy)
    {
        curl_multi_add_handle(m_multi, m_easy);
    }
    ~HandleInMulti() { curl_multi_remove_handle(m_multi, m_easy); }
    HandleInMulti(const HandleInMulti&) = delete;
    HandleInMulti& operator=(const HandleInMulti&) = delete;

private:
    CURLM* m_multi;
    CURL* m_easy;
};

struct RunEnd
{
    CURLcode code = CURLE_OK;
    Failure early;
};

RunEnd Run(CURLM* multi, CurlTransfer& transfer, const AbortCheck& abort)
{
    for (;;) {
        int running = 0;
        if (curl_multi_perform(multi, &running) != CURLM_OK)
            return {CURLE_OK, Failure(EErrorCode::eInternal, "libcurl's loop failed")};
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi, &left)) {
            if (message->msg == CURLMSG_DONE)
                return {message->data.result, {}};
        }
        if (IsAborted(abort))
            return {CURLE_OK, Failure(EErrorCode::eAborted)};
        if (const Failure failure = transfer.CheckLimits(); failure.IsSet())
            return {CURLE_OK, failure};
        curl_multi_poll(multi, nullptr, 0, kLookEveryMs, nullptr);
    }
}

} // namespace

CurlTransport::CurlTransport(std::string baseUrl, std::shared_ptr<const TrustStore> trust,
                             ConsoleFacts console, std::shared_ptr<ServiceTime> serviceTime)
    : m_baseUrl(std::move(baseUrl)),
      m_trust(std::move(trust)),
      m_console(std::move(console)),
      m_serviceTime(serviceTime ? std::move(serviceTime)
                                : std::make_shared<ServiceTime>(m_console)),
      m_asleepAtLast(m_console.asleep())
{
    InitialiseCurlOnce();
    m_multi.reset(curl_multi_init());
    m_easy.reset(curl_easy_init());
    if (!m_multi || !m_easy)
        throw std::bad_alloc();
    curl_multi_setopt(m_multi.get(), CURLMOPT_MAXCONNECTS, 1L);
}

HttpOutcome CurlTransport::Perform(const HttpRequest& request, const AbortCheck& abort)
{
    curl_easy_reset(m_easy.get()); // keeps the connection
    SetCommonOptions(request);
    // A connection from before a sleep is dead. An attempt with it would cost time.
    const std::chrono::milliseconds asleep = m_console.asleep();
    if (asleep - std::exchange(m_asleepAtLast, asleep) >= kLongSleep)
        curl_easy_setopt(m_easy.get(), CURLOPT_FRESH_CONNECT, 1L);
    m_sockets.Serve(m_easy.get());
    CurlTransfer transfer(m_easy.get(), request, m_console, m_sockets, *m_serviceTime);
    RunEnd end;
    {
        const HandleInMulti inside(m_multi.get(), m_easy.get());
        end = Run(m_multi.get(), transfer, abort);
    }
    const EConsoleClock clock = JudgeClock(m_console.wallTimeS(), m_serviceTime->NowS());
    return transfer.Finish(end.code, end.early, clock);
}

void CurlTransport::Wake()
{
    curl_multi_wakeup(m_multi.get());
}

void CurlTransport::SetCommonOptions(const HttpRequest& request)
{
    CURL* easy = m_easy.get();
    curl_easy_setopt(easy, CURLOPT_URL, (m_baseUrl + request.target).c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS,
                     1L); // a proxy's fields are not the service's
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L); // an abort does not wait for a name server
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPALIVE, 1L);
    // CurlTransfer watches the connecting: libcurl would also end a handshake that makes progress.
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, kNeverMs);
    const bool isDownload = request.sink && request.sink->WantsLargeBuffer();
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, isDownload ? kLargeBufferBytes : kSmallBufferBytes);
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE,
                     request.source ? kLargeBufferBytes : kSmallBufferBytes);
    if (request.acceptsGzip)
        curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "gzip");

    curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    // Our store replaces libcurl's, so that it is read once and not for every connection.
    curl_easy_setopt(easy, CURLOPT_CAINFO, nullptr);
    curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, &UseTrustStore);
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_DATA, m_trust->Get());
}

} // namespace kesdk::impl
