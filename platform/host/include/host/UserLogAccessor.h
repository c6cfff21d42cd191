// The user log: the console's messages to the operator's dealer.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

#include <memory>

// Writes entries to the user log. From any thread.
class CONSOLEHOST_EXPORT UserLogAccessor
{
public:
    virtual ~UserLogAccessor();

    // `target` 0 is the console's own log. `category` and `level` are those of
    // ConfigManager::IsUserLogEnabled(). `code` is a number for the support desk, "0" for none.
    virtual void Write(int target, int category, int level, const QString& code,
                       const QString& message) = 0;
};

using UserLogAccessorPtr = std::shared_ptr<UserLogAccessor>;
