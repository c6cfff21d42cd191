#include "service/store/postgresql/PostgresqlNotices.h"

#include "service/store/postgresql/Exchange.h"
#include "service/store/postgresql/Statements.h"

#include <soci/soci.h>

#include <poll.h>

namespace kelvo::store {

namespace {

using namespace std::chrono_literals;
using Steady = std::chrono::steady_clock;

constexpr auto silence = 5s;
constexpr auto signLimit = 5s; // for an answer of the server

struct FreeNotify
{
    void operator()(PGnotify* notify) const { PQfreemem(notify); }
};

} // namespace

PostgresqlNotices::PostgresqlNotices(std::unique_ptr<soci::session> session, IsOwn isOwn)
    : session_(std::move(session)), isOwn_(std::move(isOwn)), heard_(Steady::now())
{
    execute(connectionOf(*session_), std::string("LISTEN ") + noticeChannel, signLimit);
}

PostgresqlNotices::~PostgresqlNotices() = default;

std::vector<std::string> PostgresqlNotices::wait(std::chrono::milliseconds limit)
{
    PGconn& connection = connectionOf(*session_);
    pollfd socket{PQsocket(&connection), POLLIN, 0};
    if (::poll(&socket, 1, static_cast<int>(limit.count())) > 0) {
        if (PQconsumeInput(&connection) != 1) {
            throw ConnectionLost();
        }
        heard_ = Steady::now();
    } else if (Steady::now() - heard_ > silence) {
        execute(connection, "SELECT 1", signLimit);
        heard_ = Steady::now();
    }
    return received();
}

std::vector<std::string> PostgresqlNotices::received()
{
    std::vector<std::string> texts;
    while (
        const std::unique_ptr<PGnotify, FreeNotify> notify{PQnotifies(&connectionOf(*session_))}) {
        const std::string text = notify->extra; // the sender, a space, the notice
        if (const auto end = text.find(' '); !isOwn_(text.substr(0, end))) {
            texts.push_back(end == std::string::npos ? "*" : text.substr(end + 1));
        }
    }
    return texts;
}

} // namespace kelvo::store
