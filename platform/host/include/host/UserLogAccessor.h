// The user log: what the console tells its operator's dealer.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

#include <memory>

// Writes entries to the user log. From any thread.
class CONSOLEHOST_EXPORT UserLogAccessor
{
public:
    virtual ~UserLogAccessor();

    // `target` 0 is the console's own log; `category` and `level` as in
    // ConfigManager::IsUserLogEnabled; `code` is a number the support desk looks up, "0" for none.
    virtual void Write(int target, int category, int level, const QString& code,
                       const QString& message) = 0;
};

using UserLogAccessorPtr = std::shared_ptr<UserLogAccessor>;
