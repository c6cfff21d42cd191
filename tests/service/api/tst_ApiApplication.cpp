// The answers when the store is busy.
#include "service/api/ApiApplication.h"
#include "tests/service/support/ApiFixture.h"
#include "tests/service/support/OtherProgram.h"
#include "tests/service/support/TcpPair.h"

#include <gmock/gmock.h>

namespace kelvo::api {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class BusyStore : public test::ApiFixture
{
protected:
    std::string talk(const std::string& text)
    {
        test::TcpPair pair(loop.io());
        http::Connection connection(std::move(pair.server), application, limits);
        bool served = false;
        const auto serve = [&]() -> Async<void> {
            co_await connection.run(false);
            served = true;
        };
        loop.start(serve());
        loop.start(test::sendText(*pair.client, text));
        const std::string answer = loop.run(test::readAll(*pair.client));
        loop.runUntil([&served] { return served; });
        return answer;
    }

    std::string logIn()
    {
        return talk("POST /kelvo-api/v1/sessions HTTP/1.1\r\nHost: h\r\nConnection: close\r\n"
                    "Content-Type: application/json\r\nContent-Length: 40\r\n\r\n"
                    R"({"user":"olga","password":"right words"})");
    }

    std::string askForAccount()
    {
        return talk("GET /kelvo-api/v1/account HTTP/1.1\r\nHost: h\r\nConnection: close\r\n"
                    "Authorization: Bearer unknown\r\n\r\n");
    }

    metrics::Metrics metrics;
    ApiApplication application{context, metrics};
    const http::Limits limits;
    test::OtherProgram other{*store::makeSqlite((folder.Path() / "kelvo.sqlite").string())};
};

const auto isBusyAnswer = AllOf(StartsWith("HTTP/1.1 503 "), HasSubstr("\r\nRetry-After: 5\r\n"),
                                HasSubstr("urn:kelvo:problem:busy"));

TEST_F(BusyStore, SendsRetryAfterIfTheDatabaseCannotCommit)
{
    database.writeNow([this](store::Transaction& t) {
        store::setPassword(t, user.id, accounts.passwords().hash("right words"));
    });
    test::disableBusyTimeout(database);
    other.lockWrites();
    EXPECT_THAT(logIn(), isBusyAnswer);
    other.unlock();
    EXPECT_THAT(logIn(), StartsWith("HTTP/1.1 201 "));
}

TEST_F(BusyStore, SendsRetryAfterIfACommitIsInDoubt)
{
    database.writeNow([this](store::Transaction& t) {
        store::setPassword(t, user.id, accounts.passwords().hash("right words"));
        t.sql << "CREATE TABLE doom (farm_id BIGINT REFERENCES farms (id)"
                 " DEFERRABLE INITIALLY DEFERRED)"; // only COMMIT finds the error
        t.sql << "CREATE TRIGGER dooms AFTER INSERT ON sessions BEGIN"
                 " INSERT INTO doom VALUES (-1); END";
    });
    EXPECT_THAT(logIn(), isBusyAnswer);
}

TEST_F(BusyStore, AnswersReadsWhileAnotherProgramWrites)
{
    test::disableBusyTimeout(database);
    other.lockWrites();
    EXPECT_THAT(askForAccount(), StartsWith("HTTP/1.1 401 "));
    other.unlock();
}

} // namespace
} // namespace kelvo::api
