#include "tools/herd/FinalCheck.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <gtest/gtest.h>

using namespace herd;
using namespace std::chrono_literals;

/** The console itself does not run here, so its login never ends. */
TEST(FinalCheckTest, LogsInAlsoWhileTheOfficeLogsIn)
{
    herd::Run run;                      // testing::Test has a Run too
    run.network.servers.emplace_back(); // has no endpoint: an attempt fails at once
    Ledger ledger(run.network.figures, run.invariants);
    const Schedule idle(1, 0, {}, 0ms, 0ms);
    Identity identity;
    identity.isLoggingIn = true;
    Console office(run, ledger, {0, ERole::Office}, identity, idle, idle);
    std::vector<Farm> farms(1);
    farms[0].ledger = std::make_unique<Ledger>(run.network.figures, run.invariants);
    farms[0].members.push_back(&office);
    FinalCheck check(run, farms, 0, 1);
    asio::co_spawn(run.network.io, check.run(Clock::now()), asio::detached);
    run.network.io.poll();
    EXPECT_EQ(run.network.figures.failuresOf(EKind::Login), 1U);
}
