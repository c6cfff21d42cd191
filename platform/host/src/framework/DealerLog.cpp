// Tells the user log, which the dealer reads, of a problem of the host framework.
#include "framework/DealerLog.h"

namespace {

constexpr int hostSource = 0;
constexpr int consoleLog = 0;
constexpr int hostCategory = 1;
constexpr int problemLevel = 1;

} // namespace

void hostimpl::TellDealer(ConfigManager& config, const QString& problem)
{
    if (config.IsUserLogEnabled(hostSource, consoleLog, hostCategory, problemLevel)) {
        config.GetUserLogAccessor()->Write(consoleLog, hostCategory, problemLevel,
                                           QStringLiteral("0"), problem);
    }
}
