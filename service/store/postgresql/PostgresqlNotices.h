// Notices of other instances, by LISTEN.
#pragma once

#include "service/store/NoticeSource.h"

#include <functional>
#include <memory>
#include <string>

namespace soci {
class session;
}

namespace kelvo::store {

/** Whether the server answers is checked after some seconds without a notice. */
class PostgresqlNotices final : public NoticeSource
{
public:
    using IsOwn = std::function<bool(const std::string& sender)>;

    /** `session` becomes this object's own. Notices of own senders are not told. */
    PostgresqlNotices(std::unique_ptr<soci::session> session, IsOwn isOwn);
    ~PostgresqlNotices() override;

    std::vector<std::string> wait(std::chrono::milliseconds limit) override;

private:
    std::vector<std::string> received();

    std::unique_ptr<soci::session> session_;
    IsOwn isOwn_;
    std::chrono::steady_clock::time_point heard_;
};

/** Where the instances on one database tell each other what they have committed. */
inline constexpr const char* noticeChannel = "kelvo";

} // namespace kelvo::store
