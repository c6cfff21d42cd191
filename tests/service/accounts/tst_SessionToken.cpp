// Tokens of consoles and cookies of browsers.
#include "service/accounts/SessionToken.h"
#include "service/http/Problem.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gtest/gtest.h>

namespace kelvo::accounts {
namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

constexpr const char* cookie = "__Host-kelvo-session=abc";

class SessionTokens : public testing::Test
{
protected:
    http::Request request(const std::string& method, const Fields& fields)
    {
        http::RequestHead head;
        head.method = method;
        head.fields.set("Host", "farm.example:8443");
        for (const auto& [name, value] : fields) {
            head.fields.set(name, value);
        }
        return {head, body, limits, "peer"};
    }

    std::string token(const std::string& method, const Fields& fields)
    {
        return sessionToken(request(method, fields));
    }

    http::EProblem refusal(const std::string& method, const Fields& fields)
    {
        try {
            token(method, fields);
        } catch (const http::Problem& problem) {
            return problem.kind();
        }
        return http::EProblem::Internal;
    }

    test::Loop loop;
    test::TcpPair pair{loop.io()};
    http::Limits limits;
    http::RequestHead none;
    std::string early;
    http::BodyReader body{*pair.server, limits, none, early};
};

TEST_F(SessionTokens, FindsTheTokenInEitherHeader)
{
    EXPECT_EQ(token("DELETE", {{"Authorization", "Bearer xyz"}}), "xyz");
    EXPECT_EQ(token("GET", {{"Cookie", "theme=dark; __Host-kelvo-session=abc; a=b"}}), "abc");
    EXPECT_EQ(refusal("GET", {}), http::EProblem::Unauthenticated);
    EXPECT_EQ(refusal("GET", {{"Cookie", "kelvo-session=abc"}}), http::EProblem::Unauthenticated);
}

TEST_F(SessionTokens, RefusesTokensInBothHeadersAtOnce)
{
    EXPECT_EQ(refusal("GET", {{"Cookie", cookie}, {"Authorization", "Bearer xyz"}}),
              http::EProblem::MalformedRequest);
}

TEST_F(SessionTokens, ACookieChangesNothingForAnotherSite)
{
    for (const char* site : {"cross-site", "same-site", "none"}) {
        EXPECT_EQ(refusal("POST", {{"Cookie", cookie}, {"Sec-Fetch-Site", site}}),
                  http::EProblem::Forbidden)
            << site;
    }
    EXPECT_EQ(token("POST", {{"Cookie", cookie}, {"Sec-Fetch-Site", "same-origin"}}), "abc");
}

TEST_F(SessionTokens, ABrowserWithoutFetchMetadataNeedsTheRightOrigin)
{
    EXPECT_EQ(token("PATCH", {{"Cookie", cookie}, {"Origin", "https://farm.example:8443"}}), "abc");
    for (const char* origin : {"https://farm.example:8444", "http://farm.example:8443",
                               "https://evil.example", "null"}) {
        EXPECT_EQ(refusal("PATCH", {{"Cookie", cookie}, {"Origin", origin}}),
                  http::EProblem::Forbidden)
            << origin;
    }
    EXPECT_EQ(refusal("DELETE", {{"Cookie", cookie}}), http::EProblem::Forbidden);
}

TEST_F(SessionTokens, ScriptsAndOtherSitesCannotReachTheToken)
{
    const std::string set = sessionCookie("abc");
    EXPECT_EQ(set, "__Host-kelvo-session=abc; Path=/; Secure; HttpOnly; SameSite=Strict");
    EXPECT_NE(removedSessionCookie().find("Max-Age=0"), std::string::npos);
}

} // namespace
} // namespace kelvo::accounts
