#include "http/CurlTransfer.h"

#include "base/Text.h"
#include "http/CurlErrors.h"
#include "http/HttpDate.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <string>
#include <utility>

namespace kesdk::impl {

namespace {

// More than any account's snapshot: larger answers are errors.
constexpr std::size_t kMostCollectedBytes = std::size_t{64} * 1024 * 1024;

} // namespace

CurlTransfer::CurlTransfer(CURL* easy, const HttpRequest& request, const ConsoleFacts& console,
                           const OpenSockets& sockets, ServiceTime& serviceTime)
    : m_easy(easy),
      m_request(request),
      m_console(console),
      m_sockets(sockets),
      m_serviceTime(serviceTime),
      m_openedAtStart(sockets.OpenedCount()),
      m_start(console.now()),
      m_sent(m_start),
      m_lastArrival(m_start),
      m_windowStart(m_start),
      m_addressSeen(m_start),
      m_asleepAtStart(console.asleep())
{
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, m_errorText.data());
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, &CurlTransfer::OnRequest);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &CurlTransfer::OnHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &CurlTransfer::OnBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    SetHeaders();
    SetBody();
}

void CurlTransfer::SetHeaders()
{
    const auto add = [this](const std::string& line) {
        curl_slist* grown = curl_slist_append(m_headers.get(), line.c_str());
        if (!grown)
            throw std::bad_alloc();
        static_cast<void>(m_headers.release());
        m_headers.reset(grown);
    };
    add("Expect:"); // libcurl would wait up to a second for a 100 even before small bodies
    bool hasContentType = false;
    for (const HttpHeader& header : m_request.headers) {
        add(header.name + ": " + header.value);
        hasContentType = hasContentType || EqualNoCase(header.name, "Content-Type");
    }
    if (!hasContentType)
        add("Content-Type:"); // none, instead of libcurl's form encoding
    curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, m_headers.get());
}

void CurlTransfer::SetBody()
{
    const std::string& method = m_request.method;
    if (m_request.source && m_request.source->LengthBytes() > 0) {
        curl_easy_setopt(m_easy, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(m_easy, CURLOPT_READFUNCTION, &CurlTransfer::OnRead);
        curl_easy_setopt(m_easy, CURLOPT_READDATA, this);
        curl_easy_setopt(m_easy, CURLOPT_INFILESIZE_LARGE,
                         static_cast<curl_off_t>(m_request.source->LengthBytes()));
    } else if (method == "POST" || method == "PUT" || method == "PATCH") {
        curl_easy_setopt(m_easy, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(m_request.body.size()));
        curl_easy_setopt(m_easy, CURLOPT_POSTFIELDS, m_request.body.c_str());
    } else if (method == "HEAD") {
        curl_easy_setopt(m_easy, CURLOPT_NOBODY, 1L);
    }
    curl_easy_setopt(m_easy, CURLOPT_CUSTOMREQUEST, method.c_str());
}

// Before the first connection is ready, or after the kept connection died during the request.
bool CurlTransfer::IsConnecting() const
{
    return m_openedAtSend < 0 || m_openedAtSend != m_sockets.OpenedCount();
}

// A TLS record has up to 16 KiB. libcurl gets it when it is whole, after minutes on a slow link.
void CurlTransfer::NoteArrivals(Time now)
{
    const std::int64_t bytes = m_sockets.Carried().receivedBytes;
    if (bytes != m_arrivedBytes) {
        m_arrivedBytes = bytes;
        m_lastArrival = now;
    }
}

// Bytes that the kernel still holds have not moved: the end of an upload over a slow link would
// look like a stall otherwise.
std::int64_t CurlTransfer::SentBytes() const
{
    curl_off_t sent = 0;
    curl_easy_getinfo(m_easy, CURLINFO_SIZE_UPLOAD_T, &sent);
    const curl_socket_t socket = m_sockets.Of(m_easy);
    int heldBytes = 0;
    if (socket == CURL_SOCKET_BAD || ioctl(socket, SIOCOUTQ, &heldBytes) != 0)
        heldBytes = 0;
    return static_cast<std::int64_t>(sent) - heldBytes;
}

// The bytes of the answer that libcurl has read, still compressed.
std::int64_t CurlTransfer::ReadBytes() const
{
    long head = 0;
    curl_off_t body = 0;
    curl_easy_getinfo(m_easy, CURLINFO_HEADER_SIZE, &head);
    curl_easy_getinfo(m_easy, CURLINFO_SIZE_DOWNLOAD_T, &body);
    return static_cast<std::int64_t>(head) + static_cast<std::int64_t>(body);
}

// Some kernels do not count the arrived bytes. Then the bytes that libcurl has read count.
std::int64_t CurlTransfer::MovedBytes()
{
    if (IsConnecting()) {
        const OpenSockets::Traffic traffic = m_sockets.Carried();
        return traffic.ackedBytes + traffic.receivedBytes;
    }
    const std::int64_t sent = SentBytes();
    if (m_request.source)
        m_request.source->NoteSent(sent);
    return sent + std::max(ReadBytes(), m_arrivedBytes);
}

// After a sleep or a change of the address the connection is dead, but it only looks silent.
Failure CurlTransfer::CheckConsole(Time now)
{
    if (m_console.asleep() - m_asleepAtStart >= kLongSleep) {
        m_outcome.tellsNothingAboutLink = true;
        return Failure(EErrorCode::eDropped, "the console has slept");
    }
    if (now - m_addressSeen < m_console.askAddressEvery)
        return {};
    m_addressSeen = now;
    const curl_socket_t socket = m_sockets.Of(m_easy);
    if (socket != CURL_SOCKET_BAD && m_console.hasLostAddress(socket))
        return Failure(EErrorCode::eDropped, "the console has another address");
    return {};
}

// Begins another stall window if enough bytes have moved in this one.
void CurlTransfer::NoteMoves(Time now, bool isConnecting)
{
    const std::int64_t moved = MovedBytes();
    const std::int64_t least = isConnecting ? 1 : m_request.limits.stallBytes;
    const bool isOther = isConnecting != std::exchange(m_wasConnecting, isConnecting);
    if (isOther || moved < m_windowStartBytes || moved - m_windowStartBytes >= least) {
        m_windowStart = now;
        m_windowStartBytes = moved;
    }
}

Failure CurlTransfer::CheckLimits()
{
    const HttpLimits& limits = m_request.limits;
    const Time now = m_console.now();
    const bool isConnecting = IsConnecting();
    const bool hasBegun = m_outcome.response.status >= 200;
    NoteArrivals(now);
    NoteMoves(now, isConnecting);
    const auto still = now - m_windowStart;
    if (limits.total.count() > 0 && now - m_start >= limits.total) {
        m_outcome.tellsNothingAboutLink = still < limits.total / 3;
        return Failure(EErrorCode::eTimeout, "no whole answer in time");
    }
    if (limits.head.count() > 0 && !isConnecting && !hasBegun &&
        now - std::max(m_sent, m_lastArrival) >= limits.head)
        return Failure(EErrorCode::eTimeout, "no answer in time");
    const auto connectLimit = m_windowStartBytes > 0 ? limits.handshake : limits.connect;
    if (isConnecting && still >= connectLimit)
        return AfterConnectionDied(WithoutConnection(), CURLE_OPERATION_TIMEDOUT);
    if (!isConnecting && still >= limits.stallWindow)
        return Failure(EErrorCode::eTimeout, "the transfer stalled");
    return CheckConsole(now);
}

// Before libcurl opens a socket it looks up the service's name.
Failure CurlTransfer::WithoutConnection() const
{
    if (m_sockets.OpenedCount() == m_openedAtStart)
        return Failure(EErrorCode::eUnknownHost, "no answer of a name server in time");
    return Failure(EErrorCode::eConnectTimeout, "no connection in time");
}

HttpOutcome CurlTransfer::Finish(CURLcode code, const Failure& early, EConsoleClock clock)
{
    m_outcome.failure = early.IsSet() ? early : Translate(code, clock);
    m_outcome.mayHaveRunBefore = m_sentCount > 1;
    return std::move(m_outcome);
}

Failure CurlTransfer::Translate(CURLcode code, EConsoleClock clock) const
{
    if (code == CURLE_OK && m_hasWholeHead)
        return {};
    if (m_sourceFailed)
        return Failure(EErrorCode::eFileUnreadable, "the body could not be read");
    if (m_sinkFailed)
        return Failure(EErrorCode::eCannotWrite, "the answer could not be stored");
    if (code == CURLE_OK)
        return Failure(EErrorCode::eDropped, "the answer ended inside its head");
    CurlFacts facts;
    facts.text = m_errorText.data();
    facts.clock = clock;
    curl_easy_getinfo(m_easy, CURLINFO_SSL_VERIFYRESULT, &facts.verifyResult);
    curl_easy_getinfo(m_easy, CURLINFO_OS_ERRNO, &facts.osError);
    return AfterConnectionDied(TranslateCurlError(code, facts), code);
}

// When a kept connection dies under a request, libcurl makes another one by itself. If that fails
// too, the request may have left the console all the same, and libcurl's text is about the first
// connection. The next attempt begins with a new connection and gets that connection's own error.
Failure CurlTransfer::AfterConnectionDied(Failure failure, CURLcode code) const
{
    const bool isSure =
        code == CURLE_PEER_FAILED_VERIFICATION || failure.Is(EErrorCode::eCaptivePortal);
    const bool hasNoConnection = IsConnecting() || failure.WasNeverSent();
    if (m_sentCount > 0 && hasNoConnection && !isSure) {
        failure.code = EErrorCode::eDropped;
        failure.detail =
            std::string("the connection died under the request; then: ") + curl_easy_strerror(code);
    }
    return failure;
}

std::size_t CurlTransfer::TakeHeaderLine(std::string_view line)
{
    const std::string_view text = Trim(line);
    HttpResponse& response = m_outcome.response;
    if (text.substr(0, 5) == "HTTP/") {
        response = HttpResponse{}; // an interim answer (1xx) may have come before
        long status = 0;
        curl_easy_getinfo(m_easy, CURLINFO_RESPONSE_CODE, &status);
        response.status = static_cast<int>(status);
    } else if (text.empty()) {
        m_hasWholeHead = response.status >= 200;
        TakeTime();
        if (m_hasWholeHead && m_request.sink)
            m_isBodyForSink = m_request.sink->Accept(response);
    } else if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
        response.headers.push_back(
            {std::string(Trim(text.substr(0, colon))), std::string(Trim(text.substr(colon + 1)))});
    }
    return line.size();
}

// Only a peer with a valid certificate has answered. The body may last for days.
void CurlTransfer::TakeTime()
{
    const std::string* date = m_outcome.response.Header("Date");
    if (const std::optional<std::int64_t> told = date ? ParseHttpDate(*date) : std::nullopt)
        m_serviceTime.Note(*told);
}

std::size_t CurlTransfer::TakeBody(const char* bytes, std::size_t sizeBytes)
{
    if (m_isBodyForSink) {
        m_sinkFailed = !m_request.sink->Write(bytes, sizeBytes);
        return m_sinkFailed ? 0 : sizeBytes;
    }
    if (m_outcome.response.body.size() + sizeBytes > kMostCollectedBytes)
        return 0;
    m_outcome.response.body.append(bytes, sizeBytes);
    return sizeBytes;
}

int CurlTransfer::OnRequest(void* self, char*, char*, int, int)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    ++transfer.m_sentCount;
    transfer.m_openedAtSend = transfer.m_sockets.OpenedCount();
    transfer.m_sent = transfer.m_console.now();
    return CURL_PREREQFUNC_OK;
}

std::size_t CurlTransfer::OnHeader(char* bytes, std::size_t size, std::size_t count, void* self)
{
    return static_cast<CurlTransfer*>(self)->TakeHeaderLine({bytes, size * count});
}

std::size_t CurlTransfer::OnBody(char* bytes, std::size_t size, std::size_t count, void* self)
{
    return static_cast<CurlTransfer*>(self)->TakeBody(bytes, size * count);
}

std::size_t CurlTransfer::OnRead(char* buffer, std::size_t size, std::size_t count, void* self)
{
    auto& transfer = *static_cast<CurlTransfer*>(self);
    const std::ptrdiff_t got = transfer.m_request.source->Read(buffer, size * count);
    if (got < 0) {
        transfer.m_sourceFailed = true;
        return CURL_READFUNC_ABORT;
    }
    return static_cast<std::size_t>(got);
}

} // namespace kesdk::impl
