#include "service/kelvoctl/ApiClient.h"

#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/Names.h"

#include <algorithm>
#include <array>
#include <exception>

namespace kelvoctl {
namespace {

constexpr std::string_view kBasePath = "/kelvo-api/v1";
constexpr long kConnectSeconds = 10;
constexpr std::size_t kBodyLimitBytes = 64UL << 20; // a snapshot of a large farm fits

// A retry may succeed after these errors. After any other error it would fail again.
constexpr std::array kRetryable = {
    CURLE_COULDNT_CONNECT,   CURLE_COULDNT_RESOLVE_HOST, CURLE_SEND_ERROR,
    CURLE_RECV_ERROR,        CURLE_GOT_NOTHING,          CURLE_PARTIAL_FILE,
    CURLE_SSL_CONNECT_ERROR, CURLE_OPERATION_TIMEDOUT,   CURLE_SEND_FAIL_REWIND,
};

} // namespace

std::string Response::header(const std::string& name) const
{
    const auto found = headers.find(name);
    return found == headers.end() ? std::string() : found->second;
}

nlohmann::json Response::json() const
{
    try {
        return nlohmann::json::parse(body);
    } catch (const nlohmann::json::exception&) {
        throw Unreachable("The answer of the service is not JSON.", false);
    }
}

// The data that the callbacks of one transfer share. An exception in a callback (a full disk) must
// not pass through libcurl: it is stored, and rethrown after libcurl has returned.
struct ApiClient::Transfer
{
    const Request& request;
    CURL* curl;
    Response response{};
    std::string json{};
    std::unique_ptr<curl_slist, void (*)(curl_slist*)> headers{nullptr, curl_slist_free_all};
    std::array<char, CURL_ERROR_SIZE> error{};
    std::exception_ptr failure{};
    bool ended = false;

    void addHeader(const std::string& line)
    {
        curl_slist* longer = curl_slist_append(headers.get(), line.c_str());
        if (longer == nullptr) {
            throw std::bad_alloc();
        }
        (void)headers.release();
        headers.reset(longer);
    }

    void header(std::string_view line)
    {
        if (line.starts_with("HTTP/")) {
            response.headers.clear();
            return;
        }
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) {
            return;
        }
        std::string name{line.substr(0, colon)};
        std::transform(name.begin(), name.end(), name.begin(), [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        });
        std::string_view value = line.substr(colon + 1);
        const std::size_t first = value.find_first_not_of(" \t");
        const std::size_t last = value.find_last_not_of(" \t\r\n");
        response.headers[name] =
            first == std::string_view::npos ? "" : value.substr(first, last - first + 1);
    }

    bool content(std::string_view bytes)
    {
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &response.status);
        if (request.onContent && response.status >= 200 && response.status < 300) {
            ended = !request.onContent(response.status, response.headers, bytes);
            return !ended;
        }
        if (response.body.size() + bytes.size() > kBodyLimitBytes) {
            return false;
        }
        response.body += bytes;
        return true;
    }

    static std::size_t onHeader(char* data, std::size_t, std::size_t count, void* self)
    {
        auto& transfer = *static_cast<Transfer*>(self);
        return transfer.guarded([&] { transfer.header({data, count}); }) ? count : 0;
    }
    static std::size_t onWrite(char* data, std::size_t, std::size_t count, void* self)
    {
        auto& transfer = *static_cast<Transfer*>(self);
        bool wanted = false;
        const bool fine = transfer.guarded([&] { wanted = transfer.content({data, count}); });
        return fine && wanted ? count : 0;
    }
    static std::size_t onRead(char* data, std::size_t, std::size_t capacity, void* self)
    {
        auto& transfer = *static_cast<Transfer*>(self);
        std::size_t count = 0;
        const bool fine =
            transfer.guarded([&] { count = transfer.request.content->read(data, capacity); });
        return fine ? count : CURL_READFUNC_ABORT;
    }
    bool guarded(const auto& work)
    {
        try {
            work();
            return true;
        } catch (...) {
            failure = std::current_exception();
            return false;
        }
    }
};

ApiClient::ApiClient(std::string server, std::string caFile, std::string token)
    : m_server(std::move(server)),
      m_caFile(std::move(caFile)),
      m_token(std::move(token)),
      m_curl(curl_easy_init(), curl_easy_cleanup)
{
    if (!m_curl) {
        throw Unreachable("libcurl cannot be initialised.", false);
    }
}

ApiClient::~ApiClient() = default;

void ApiClient::setOption(CURLoption option, auto value)
{
    const CURLcode code = curl_easy_setopt(m_curl.get(), option, value);
    if (code != CURLE_OK) {
        throw Unreachable(curl_easy_strerror(code), false);
    }
}

void ApiClient::prepare(const Request& request, Transfer& transfer)
{
    curl_easy_reset(m_curl.get()); // keeps the connection
    const bool absolute = request.path.starts_with(kBasePath);
    const std::string url =
        "https://" + m_server + std::string(absolute ? "" : kBasePath) + request.path;
    setOption(CURLOPT_URL, url.c_str());
    setOption(CURLOPT_PROTOCOLS_STR, "https"); // redirects stay off, which is the default
    setOption(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    setOption(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    setOption(CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
    setOption(CURLOPT_LOW_SPEED_LIMIT, 1L);
    setOption(CURLOPT_LOW_SPEED_TIME, static_cast<long>(request.stall.count()));
    setOption(CURLOPT_NOSIGNAL, 1L);
    setOption(CURLOPT_ACCEPT_ENCODING, request.onContent ? nullptr : "gzip");
    if (!m_caFile.empty()) {
        setOption(CURLOPT_CAINFO, m_caFile.c_str());
    }
    setOption(CURLOPT_ERRORBUFFER, transfer.error.data());
    setOption(CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
    setOption(CURLOPT_HEADERDATA, &transfer);
    setOption(CURLOPT_WRITEFUNCTION, &Transfer::onWrite);
    setOption(CURLOPT_WRITEDATA, &transfer);
    prepareBody(request, transfer);
    if (!m_token.empty()) {
        transfer.addHeader("Authorization: Bearer " + m_token);
    }
    transfer.addHeader("Expect:"); // libcurl would wait up to a second for a 100
    for (const std::string& line : request.headers) {
        transfer.addHeader(line);
    }
    setOption(CURLOPT_HTTPHEADER, transfer.headers.get());
}

void ApiClient::prepareBody(const Request& request, Transfer& transfer)
{
    if (request.content != nullptr) {
        setOption(CURLOPT_UPLOAD, 1L);
        setOption(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(request.content->sizeBytes()));
        setOption(CURLOPT_READFUNCTION, &Transfer::onRead);
        setOption(CURLOPT_READDATA, &transfer);
    } else if (request.method == "HEAD") {
        setOption(CURLOPT_NOBODY, 1L);
    } else if (request.method != "GET" && request.method != "DELETE") {
        transfer.json = request.json ? request.json->dump() : std::string();
        setOption(CURLOPT_POST, 1L);
        setOption(CURLOPT_POSTFIELDS, transfer.json.c_str());
        setOption(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(transfer.json.size()));
        transfer.addHeader(request.json ? "Content-Type: application/json" : "Content-Type:");
    }
    setOption(CURLOPT_CUSTOMREQUEST, request.method.c_str());
}

Response ApiClient::send(const Request& request)
{
    Transfer transfer{request, m_curl.get()};
    prepare(request, transfer);
    const CURLcode code = curl_easy_perform(m_curl.get());
    curl_easy_getinfo(m_curl.get(), CURLINFO_RESPONSE_CODE, &transfer.response.status);
    if (transfer.failure) {
        std::rethrow_exception(transfer.failure);
    }
    if (code != CURLE_OK && !transfer.ended) {
        const bool isRetryable =
            std::find(kRetryable.begin(), kRetryable.end(), code) != kRetryable.end();
        const char* reason =
            transfer.error.front() != '\0' ? transfer.error.data() : curl_easy_strerror(code);
        throw Unreachable("No connection to " + m_server + ": " + reason, isRetryable);
    }
    return std::move(transfer.response);
}

Response ApiClient::expect(const Request& request)
{
    Response response = send(request);
    if (response.status < 200 || response.status >= 300) {
        throwRefused(response);
    }
    return response;
}

nlohmann::json ApiClient::call(const std::string& method, const std::string& path,
                               std::optional<nlohmann::json> body)
{
    Request request;
    request.method = method;
    request.path = path;
    request.json = std::move(body);
    const Response response = expect(request);
    return response.body.empty() ? nlohmann::json() : response.json();
}

void throwRefused(const Response& response)
{
    const auto problem = nlohmann::json::parse(response.body, nullptr, false);
    if (!problem.is_object()) {
        throw Refused(response.status,
                      "The service answered with status " + std::to_string(response.status), "");
    }
    throw Refused(response.status, printable(problem.value("title", "Refused")),
                  printable(problem.value("detail", "")));
}

} // namespace kelvoctl
