// Notices of other instances, by LISTEN.
#pragma once

#include "service/store/NoticeSource.h"

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
    /** `session` becomes this object's own. Notices of the instance `own` are not told. */
    PostgresqlNotices(std::unique_ptr<soci::session> session, std::string own);
    ~PostgresqlNotices() override;

    std::vector<std::string> wait(std::chrono::milliseconds limit) override;

private:
    std::vector<std::string> received();

    std::unique_ptr<soci::session> session_;
    std::string own_;
    std::chrono::steady_clock::time_point heard_;
};

/** Where the instances on one database tell each other what they have committed. */
inline constexpr const char* noticeChannel = "kelvo";

} // namespace kelvo::store
