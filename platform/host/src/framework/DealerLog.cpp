#include "framework/DealerLog.h"

namespace {

constexpr int HOST_SOURCE = 0;
constexpr int HOST_CATEGORY = 1;
constexpr int PROBLEM_LEVEL = 1;

} // namespace

void hostimpl::ReportToDealer(ConfigManager& config, const QString& problem)
{
    if (config.IsUserLogEnabled(HOST_SOURCE, CONSOLE_LOG, HOST_CATEGORY, PROBLEM_LEVEL)) {
        config.GetUserLogAccessor()->Write(CONSOLE_LOG, HOST_CATEGORY, PROBLEM_LEVEL,
                                           QStringLiteral("0"), problem);
    }
}
