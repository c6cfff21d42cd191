// The handler that a request finds.
#include "service/http/Problem.h"
#include "service/http/Router.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gmock/gmock.h>

namespace kelvo::http {
namespace {

using testing::Contains;
using testing::Pair;

class Routing : public testing::Test
{
protected:
    Routing()
    {
        add("GET", "/resources/{id}");
        add("DELETE", "/resources/{id}");
        add("GET", "/resources/{id}/content");
        add("POST", "/projects/{name}/user-inbox");
        add("DELETE", "/sessions/current");
        add("GET", "/sessions/{id}");
        add("HEAD", "/uploads/{id}");
    }

    void add(const std::string& method, const std::string& pathTemplate)
    {
        router.add(method, pathTemplate, [method, pathTemplate](Request&) -> Async<Response> {
            return answer(method + " " + pathTemplate);
        });
    }

    static Async<Response> answer(std::string text)
    {
        co_return Response::text(std::move(text), "text/plain");
    }

    Request request(const std::string& method, const std::string& path)
    {
        RequestHead head;
        head.method = method;
        head.path = path;
        return Request{head, body, limits, "peer"};
    }

    /** The text of the handler that is found. */
    std::string found(const std::string& method, const std::string& path)
    {
        Request one = request(method, path);
        return loop.run(router.find(one)(one)).body;
    }

    EProblem refusal(const std::string& method, const std::string& path)
    {
        Request one = request(method, path);
        try {
            router.find(one);
        } catch (const Problem& problem) {
            return problem.kind();
        }
        return EProblem::Internal;
    }

    test::Loop loop;
    test::TcpPair pair{loop.io()};
    Limits limits;
    RequestHead noHead;
    std::string noBytes;
    BodyReader body{*pair.server, limits, noHead, noBytes};
    Router router{"/kelvo-api/v1"};
};

TEST_F(Routing, FindsByMethodAndTemplate)
{
    EXPECT_EQ(found("GET", "/kelvo-api/v1/resources/7"), "GET /resources/{id}");
    EXPECT_EQ(found("DELETE", "/kelvo-api/v1/resources/7"), "DELETE /resources/{id}");
    EXPECT_EQ(found("GET", "/kelvo-api/v1/resources/7/content"), "GET /resources/{id}/content");
}

TEST_F(Routing, DecodesParametersAndNamesTheTemplate)
{
    Request one = request("POST", "/kelvo-api/v1/projects/From%20Console/user-inbox");
    router.find(one);
    EXPECT_EQ(one.parameter("name"), "From Console");
    EXPECT_EQ(one.route, "/projects/{name}/user-inbox");
}

TEST_F(Routing, KeepsAnEncodedSlashInsideItsSegment)
{
    Request one = request("POST", "/kelvo-api/v1/projects/a%2Fb/user-inbox");
    router.find(one);
    EXPECT_EQ(one.parameter("name"), "a/b");
}

TEST_F(Routing, PrefersALiteralSegment)
{
    EXPECT_EQ(found("DELETE", "/kelvo-api/v1/sessions/current"), "DELETE /sessions/current");
    EXPECT_EQ(found("GET", "/kelvo-api/v1/sessions/other"), "GET /sessions/{id}");
}

TEST_F(Routing, AnswersHeadWithTheGetHandlerIfThereIsNoHeadHandler)
{
    EXPECT_EQ(found("HEAD", "/kelvo-api/v1/resources/7"), "GET /resources/{id}");
    EXPECT_EQ(found("HEAD", "/kelvo-api/v1/uploads/7"), "HEAD /uploads/{id}");
}

TEST_F(Routing, FindsNoOtherPath)
{
    for (const char* path :
         {"/", "", "/kelvo-api/v1", "/kelvo-api/v1/", "/resources/7", "/kelvo-api/v1/resources",
          "/kelvo-api/v1/resources/", "/kelvo-api/v1/resources/7/", "/kelvo-api/v1/resources/%",
          "/kelvo-api/v1/../resources/7", "/kelvo-api/v1x/resources/7"}) {
        EXPECT_EQ(refusal("GET", path), EProblem::NotFound) << path;
    }
}

TEST_F(Routing, NamesTheAllowedMethods)
{
    Request one = request("PATCH", "/kelvo-api/v1/resources/7");
    try {
        router.find(one);
        FAIL() << "a handler was found";
    } catch (const Problem& problem) {
        EXPECT_EQ(problem.kind(), EProblem::MethodNotAllowed);
        EXPECT_THAT(problem.toResponse().headers, Contains(Pair("Allow", "GET, HEAD, DELETE")));
    }
    EXPECT_EQ(one.route, "/resources/{id}"); // so that metrics name it
}

TEST_F(Routing, RefusesIdsAbove31Bits)
{
    Request one = request("GET", "/kelvo-api/v1/resources/2147483648");
    router.find(one);
    EXPECT_THROW(one.id(), Problem);
    Request good = request("GET", "/kelvo-api/v1/resources/2147483647");
    router.find(good);
    EXPECT_EQ(good.id(), 2147483647);
}

TEST_F(Routing, DecodesTheQuery)
{
    Request one = request("GET", "/x");
    one.head.query = "farm=Hill%20Farm&empty=&flag";
    EXPECT_EQ(one.queryValue("farm"), "Hill Farm");
    EXPECT_EQ(one.queryValue("empty"), "");
    EXPECT_EQ(one.queryValue("flag"), "");
    EXPECT_EQ(one.queryValue("absent"), std::nullopt);
}

} // namespace
} // namespace kelvo::http
