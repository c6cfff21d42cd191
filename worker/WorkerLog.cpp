#include "worker/WorkerLog.h"

#include "host/ConfigManager.h"

void WriteWorkerLog(const QString& text)
{
    ConfigManager& configuration = ConfigManager::Instance();
    if (configuration.IsUserLogEnabled(16, 0, 1, 8)) {
        configuration.GetUserLogAccessor()->Write(0, 1, 8, QStringLiteral("0"),
                                                  QStringLiteral("TKelvoThreadObject::") + text);
    }
}
