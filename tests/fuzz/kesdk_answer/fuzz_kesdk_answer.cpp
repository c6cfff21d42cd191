// The readers of an answer's head: upload state, failure and retry pause. The input is an answer:
// its status, one line for each field, an empty line, its body.
#include "base/SystemClock.h"
#include "client/ApiClient.h"
#include "client/Problems.h"
#include "http/HttpDate.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

using namespace kesdk::impl;

void Demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

std::string_view TakeLine(std::string_view& text)
{
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return line;
}

HttpResponse ToAnswer(std::string_view text)
{
    HttpResponse answer;
    const std::string_view status = TakeLine(text);
    std::from_chars(status.data(), status.data() + status.size(), answer.status);
    while (!text.empty()) {
        const std::string_view line = TakeLine(text);
        if (line.empty())
            break;
        const std::size_t colon = line.find(':');
        const std::string_view value = colon < line.size() ? line.substr(colon + 1) : line;
        answer.headers.push_back({std::string(line.substr(0, colon)), std::string(value)});
    }
    answer.body = text;
    return answer;
}

// Gives each request the same answer.
class OneAnswer : public HttpTransport
{
public:
    explicit OneAnswer(HttpResponse answer) : m_answer(std::move(answer)) {}
    HttpOutcome Perform(const HttpRequest&, const AbortCheck&) override
    {
        HttpOutcome outcome;
        outcome.response = m_answer;
        return outcome;
    }
    void Wake() override {}

private:
    HttpResponse m_answer;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const HttpResponse answer = ToAnswer({reinterpret_cast<const char*>(data), size});
    const Failure failure = FailureOf(answer);
    Demand(failure.IsSet() || answer.status < 400, "an error is a failure");
    const auto pause = RetryAfter(answer);
    Demand(!pause || (pause->count() >= 0 && *pause <= std::chrono::hours(24)),
           "a pause is at most 24 hours");

    OneAnswer transport(answer);
    SystemTiming timing;
    RetryingClient http(transport, timing);
    ApiClient api(http);
    ApiCall call;
    call.policy = PolicyOf(ECall::eContent);
    const auto upload = api.BeginUpload(call, {"a.zip", 3, {1}, "key"}, nullptr);
    if (upload) {
        Demand(upload.value.offsetBytes >= 0, "an offset is not negative");
        const std::string& location = upload.value.location;
        Demand(location.empty() || (location.compare(0, 12, "/v1/uploads/") == 0 &&
                                    location.find('/', 12) == std::string::npos),
               "an address is the address of an upload");
    }
    Demand(!api.LogOut(call).IsSet() ==
               (answer.IsSuccess() && answer.body.empty() && !failure.IsSet()),
           "only a successful answer without a body is a success");
    return 0;
}
