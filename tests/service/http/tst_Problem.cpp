#include "service/http/Problem.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace kelvo::http {
namespace {

using testing::Contains;
using testing::Pair;

TEST(ProblemDocument, HasTypeTitleStatusAndDetail)
{
    const Response response =
        Problem(EProblem::CursorTooOld, "The events are not kept.").toResponse();
    EXPECT_EQ(response.status, 410U);
    EXPECT_THAT(response.headers, Contains(Pair("Content-Type", "application/problem+json")));
    const auto document = nlohmann::json::parse(response.body);
    EXPECT_EQ(document.at("type"), "urn:kelvo:problem:cursor-too-old");
    EXPECT_EQ(document.at("status"), 410);
    EXPECT_EQ(document.at("detail"), "The events are not kept.");
    EXPECT_FALSE(document.at("title").get<std::string>().empty());
}

TEST(ProblemDocument, NamesTheAuthenticationScheme)
{
    EXPECT_THAT(Problem(EProblem::Unauthenticated).toResponse().headers,
                Contains(Pair("WWW-Authenticate", "Bearer")));
}

TEST(ProblemDocument, SendsItsHeaders)
{
    const Problem problem(EProblem::LoginThrottled, "Wait.", {{"Retry-After", "30"}});
    EXPECT_EQ(problem.status(), 429U);
    EXPECT_THAT(problem.toResponse().headers, Contains(Pair("Retry-After", "30")));
}

TEST(ProblemDocument, StaysJsonIfTheDetailIsNotUtf8)
{
    const Response response = Problem(EProblem::Internal, "broken \xFF text").toResponse();
    EXPECT_NO_THROW({
        const auto parsed = nlohmann::json::parse(response.body);
        EXPECT_EQ(parsed.at("status"), 500);
    });
}

} // namespace
} // namespace kelvo::http
