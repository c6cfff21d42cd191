// The answers to requests for the page.
#include "service/http/Problem.h"
#include "service/web/WebApplication.h"
#include "tests/service/support/PageFolder.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gmock/gmock.h>

namespace kelvo::web {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Key;
using testing::Not;
using testing::Pair;

class FakeApi final : public http::Application
{
public:
    Async<http::Response> handle(http::Request& request) override
    {
        co_return http::Response::text("api " + request.head.path, "text/plain");
    }
    void requestBegun() override {}
    void requestDone(const http::RequestSummary&) override {}
};

class Page : public testing::Test
{
protected:
    http::Response get(const std::string& path, const std::string& name = "Accept",
                       const std::string& value = "*/*", const std::string& method = "GET")
    {
        http::RequestHead head;
        head.method = method;
        head.path = path;
        head.fields.set(name, value);
        http::Request request{head, body, limits, "peer"};
        return loop.run(application.handle(request));
    }

    http::EProblem refusal(const std::string& path, const std::string& method = "GET")
    {
        try {
            get(path, "Accept", "*/*", method);
        } catch (const http::Problem& problem) {
            return problem.kind();
        }
        return http::EProblem::Internal;
    }

    test::PageFolder folder;
    test::Loop loop;
    test::TcpPair pair{loop.io()};
    http::Limits limits;
    http::RequestHead none;
    std::string early;
    http::BodyReader body{*pair.server, limits, none, early};
    FakeApi api;
    WebApplication application{api, WebFiles(folder.path())};
};

TEST_F(Page, LeavesTheApiToTheApi)
{
    EXPECT_EQ(get("/kelvo-api/v1/account").body, "api /kelvo-api/v1/account");
}

TEST_F(Page, SendsThePageInTheBestCodingOfTheBrowser)
{
    const std::string script = "/assets/main-1a2b.js";
    EXPECT_EQ(get(script).body, "plain script");
    EXPECT_THAT(get(script).headers, Not(Contains(Key("Content-Encoding"))));
    const auto best = get(script, "Accept-Encoding", "gzip, deflate, br");
    EXPECT_EQ(best.body, "brotli script");
    EXPECT_THAT(best.headers, Contains(Pair("Content-Encoding", "br")));
    EXPECT_THAT(best.headers, Contains(Pair("Vary", "Accept-Encoding")));
    EXPECT_EQ(get(script, "Accept-Encoding", "gzip").body, "gzip script");
    EXPECT_EQ(get("/", "Accept-Encoding", "br").body, "<p>page");
}

TEST_F(Page, KeepsHashedFilesAndAsksForTheIndexAgain)
{
    EXPECT_THAT(get("/assets/main-1a2b.js").headers,
                Contains(Pair("Cache-Control", HasSubstr("immutable"))));
    const auto index = get("/");
    EXPECT_THAT(index.headers, Contains(Pair("Cache-Control", "no-cache")));
    const auto tag = std::find_if(index.headers.begin(), index.headers.end(),
                                  [](const auto& header) { return header.first == "ETag"; });
    ASSERT_NE(tag, index.headers.end());
    const auto again = get("/", "If-None-Match", tag->second);
    EXPECT_EQ(again.status, 304U);
    EXPECT_EQ(again.body, "");
}

TEST_F(Page, MayLoadNothingFromElsewhere)
{
    for (const char* path : {"/", "/assets/main-1a2b.js"}) {
        EXPECT_THAT(get(path).headers,
                    Contains(Pair("Content-Security-Policy",
                                  testing::AllOf(HasSubstr("default-src 'none'"),
                                                 HasSubstr("frame-ancestors 'none'"),
                                                 Not(HasSubstr("unsafe"))))));
        EXPECT_THAT(get(path).headers, Contains(Pair("X-Content-Type-Options", "nosniff")));
    }
}

TEST_F(Page, MayLoadImagesOfTheBaseMapsServer)
{
    WebApplication other{api, WebFiles(folder.path()), "https://tiles.example.org"};
    http::RequestHead head;
    head.method = "GET";
    head.path = "/";
    http::Request request{head, body, limits, "peer"};
    EXPECT_THAT(loop.run(other.handle(request)).headers,
                Contains(Pair("Content-Security-Policy",
                              testing::AllOf(HasSubstr("blob: https://tiles.example.org;"),
                                             HasSubstr("connect-src 'self';")))));
}

TEST_F(Page, HasNoOtherFilesAndNoOtherMethods)
{
    EXPECT_EQ(refusal("/assets/main-0000.js"), http::EProblem::NotFound);
    EXPECT_EQ(refusal("/kelvo-api"), http::EProblem::NotFound);
    EXPECT_EQ(refusal("/", "POST"), http::EProblem::MethodNotAllowed);
    EXPECT_EQ(get("/", "Accept", "*/*", "HEAD").status, 200U);
}

} // namespace
} // namespace kelvo::web
