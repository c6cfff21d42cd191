// A connection to the service in memory.
#pragma once

#include "connection/Connection.h"
#include "support/FakeService.h"
#include "support/FakeTime.h"
#include "support/RecordingListener.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kesdk::test {

// The session thread's sleeps pass at once, so a lost stream is retried at once.
class ConnectionFixture : public testing::Test
{
protected:
    ConnectionFixture() { connection->Subscribe(&listener); }
    ~ConnectionFixture() override
    {
        if (connection)
            connection->Unsubscribe(&listener);
    }

    // From now on the session thread sleeps until it is woken.
    void LetSleepsBlock()
    {
        impl::Connection::Lines lines{NewLine(), NewLine(), NewLine()};
        lines.session.timing = std::make_unique<BlockingTiming>(time, 0.0);
        connection->Unsubscribe(&listener);
        connection = std::make_unique<impl::Connection>(std::move(lines), OnBoard());
        connection->Subscribe(&listener);
    }

    void LogIn()
    {
        ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForState(api::eLoginSuccessful));
    }

    bool Upload(const std::string& name, const std::string& content)
    {
        folder.Write(name, content);
        return connection->Upload(folder.WidePath(name).c_str(),
                                  {static_cast<std::uint64_t>(inbox)});
    }

    std::vector<std::int64_t> ListedFiles() const
    {
        std::vector<std::int64_t> ids;
        const auto resource = connection->GetResourceWithContent(inbox);
        for (const api::EnterpriseResource& file : resource.content)
            ids.push_back(file.id);
        return ids;
    }

    std::wstring FirstText() const
    {
        const auto errors = connection->GetLastErrors();
        return errors.empty() ? std::wstring() : errors.front().text1;
    }

    static Fault Drop(const std::string& line)
    {
        Fault fault;
        fault.line = line;
        return fault;
    }
    static Fault Answer(const std::string& line, impl::HttpResponse answer)
    {
        Fault fault;
        fault.line = line;
        fault.kind = Fault::EKind::eAnswer;
        fault.answer = std::move(answer);
        return fault;
    }

    impl::ApiLine::Dependencies NewLine()
    {
        return {service.NewTransport(), std::make_unique<FakeTiming>(time, 0.0)};
    }

    impl::Connection::Lasting OnBoard() const
    {
        impl::Connection::Lasting lasting;
        lasting.board = board;
        lasting.console = impl::RealConsoleFacts();
        return lasting;
    }

    FakeService service;
    const std::int64_t user = service.AddUser("olga", "correct horse");
    const std::int64_t inbox = service.AddInbox(user, "To Console");
    kelvo::test::TempFolder folder;
    std::shared_ptr<FakeTime> time = std::make_shared<FakeTime>();
    std::shared_ptr<impl::LinkBoard> board = std::make_shared<impl::LinkBoard>(
        std::make_unique<FakeClock>(time), [time = time] { return time->TimeOfDay(); });
    RecordingListener listener;
    std::unique_ptr<impl::Connection> connection = std::make_unique<impl::Connection>(
        impl::Connection::Lines{NewLine(), NewLine(), NewLine()}, OnBoard());
};

} // namespace kesdk::test
