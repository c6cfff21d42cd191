#include "service/objects/Exchange.h"

#include "service/base/Encoding.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <stdexcept>

namespace kelvo::objects {

namespace {

/** After these errors another attempt may succeed. */
constexpr std::array retryable{
    CURLE_COULDNT_CONNECT,   CURLE_COULDNT_RESOLVE_HOST, CURLE_SEND_ERROR,
    CURLE_RECV_ERROR,        CURLE_GOT_NOTHING,          CURLE_PARTIAL_FILE,
    CURLE_SSL_CONNECT_ERROR, CURLE_OPERATION_TIMEDOUT,   CURLE_SEND_FAIL_REWIND,
};

constexpr std::size_t longestRefusalBytes = 4096;
constexpr std::size_t longestRangeBytes = 128;
constexpr unsigned firstRefusal = 300;

CURL* newHandle()
{
    static const CURLcode started = curl_global_init(CURL_GLOBAL_DEFAULT);
    CURL* handle = started == CURLE_OK ? curl_easy_init() : nullptr;
    if (handle == nullptr) {
        throw std::runtime_error("libcurl cannot be initialised");
    }
    return handle;
}

void set(CURL* handle, CURLoption option, auto value)
{
    if (const CURLcode code = curl_easy_setopt(handle, option, value); code != CURLE_OK) {
        throw std::runtime_error(curl_easy_strerror(code));
    }
}

} // namespace

/** The data that libcurl's callbacks share. The callbacks throw nothing: memory is reserved before.
 */
struct Exchange::Transfer
{
    CURL* handle;
    std::string_view toSend;
    std::size_t mostBytes;
    std::size_t sent = 0;
    Answer answer{};
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> headers{nullptr, curl_slist_free_all};
    std::array<char, CURL_ERROR_SIZE> error{};

    void addHeader(const std::string& line)
    {
        curl_slist* longer = curl_slist_append(headers.get(), line.c_str());
        if (longer == nullptr) {
            throw std::bad_alloc();
        }
        (void)headers.release();
        headers.reset(longer);
    }

    static std::size_t onRead(char* buffer, std::size_t, std::size_t capacity, void* self)
    {
        auto& transfer = *static_cast<Transfer*>(self);
        const std::size_t count = std::min(capacity, transfer.toSend.size() - transfer.sent);
        std::memcpy(buffer, transfer.toSend.data() + transfer.sent, count);
        transfer.sent += count;
        return count;
    }

    static std::size_t onWrite(char* data, std::size_t, std::size_t count, void* self)
    {
        auto& transfer = *static_cast<Transfer*>(self);
        std::string& body = transfer.answer.body;
        long status = 0;
        curl_easy_getinfo(transfer.handle, CURLINFO_RESPONSE_CODE, &status);
        const bool isRefusal = static_cast<unsigned>(status) >= firstRefusal;
        const std::size_t limit = isRefusal ? longestRefusalBytes : transfer.mostBytes;
        const std::size_t room = limit - std::min(body.size(), limit);
        body.append(data, std::min(count, room));
        return isRefusal || count <= room ? count : 0;
    }

    static std::size_t onHeader(char* data, std::size_t, std::size_t count, void* self)
    {
        constexpr std::string_view name = "content-range:";
        std::string_view line(data, count);
        line = line.substr(0, line.find_last_not_of("\r\n") + 1);
        const bool isRange = equalsIgnoringCase(line.substr(0, name.size()), name);
        if (isRange && line.size() <= longestRangeBytes) {
            static_cast<Transfer*>(self)->answer.contentRange = trimmed(line.substr(name.size()));
        }
        return count;
    }
};

Exchange::Exchange() : handle_(newHandle(), curl_easy_cleanup) {}

Exchange::~Exchange() = default;

void Exchange::prepare(const Outgoing& outgoing, Transfer& transfer)
{
    CURL* handle = handle_.get();
    curl_easy_reset(handle); // keeps the connection
    set(handle, CURLOPT_URL, outgoing.url.c_str());
    set(handle, CURLOPT_PROTOCOLS_STR, "http,https"); // redirects stay off, which is the default
    set(handle, CURLOPT_PROXY, "");
    set(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    set(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(outgoing.timeouts.connect.count()));
    set(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(outgoing.timeouts.total.count()));
    set(handle, CURLOPT_NOSIGNAL, 1L);
    if (!outgoing.caFile.empty()) {
        set(handle, CURLOPT_CAINFO, outgoing.caFile.c_str());
    }
    set(handle, CURLOPT_ERRORBUFFER, transfer.error.data());
    set(handle, CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
    set(handle, CURLOPT_HEADERDATA, &transfer);
    set(handle, CURLOPT_WRITEFUNCTION, &Transfer::onWrite);
    set(handle, CURLOPT_WRITEDATA, &transfer);
    if (outgoing.method == "PUT") {
        set(handle, CURLOPT_UPLOAD, 1L);
        set(handle, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(outgoing.body.size()));
        // libcurl cannot rewind the body. The next attempt signs the request anew.
        set(handle, CURLOPT_READFUNCTION, &Transfer::onRead);
        set(handle, CURLOPT_READDATA, &transfer);
    } else if (outgoing.method == "HEAD") {
        set(handle, CURLOPT_NOBODY, 1L);
    }
    set(handle, CURLOPT_CUSTOMREQUEST, outgoing.method.c_str());
    transfer.addHeader("Expect:"); // libcurl would wait up to a second for a 100
    for (const std::string& line : outgoing.headers) {
        transfer.addHeader(line);
    }
    set(handle, CURLOPT_HTTPHEADER, transfer.headers.get());
}

Answer Exchange::run(const Outgoing& outgoing)
{
    CURL* handle = handle_.get();
    Transfer transfer{handle, outgoing.body, outgoing.mostBytes};
    transfer.answer.body.reserve(std::max(outgoing.mostBytes, longestRefusalBytes));
    transfer.answer.contentRange.reserve(longestRangeBytes);
    prepare(outgoing, transfer);
    const CURLcode code = curl_easy_perform(handle);
    Answer& answer = transfer.answer;
    if (code != CURLE_OK) {
        answer.failure =
            transfer.error.front() != '\0' ? transfer.error.data() : curl_easy_strerror(code);
        answer.isRetryable = std::find(retryable.begin(), retryable.end(), code) != retryable.end();
        return std::move(answer);
    }
    long status = 0;
    curl_off_t length = -1;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(handle, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    answer.status = static_cast<unsigned>(status);
    answer.lengthBytes = length;
    return std::move(answer);
}

} // namespace kelvo::objects
