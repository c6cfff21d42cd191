// The console's store of configuration items.
#pragma once

#include "host/HostExport.h"
#include "host/UserLogAccessor.h"

#include <QtCore/QVariant>

// One a process. From any thread. Written through to disk atomically.
class CONSOLEHOST_EXPORT ConfigManager
{
public:
    static ConfigManager& Instance();

    virtual ~ConfigManager();

    // The item's value; an invalid QVariant when it was never set.
    virtual QVariant GetItem(int itemKey) const = 0;
    // With `persist` the value outlives the process.
    virtual void SetItem(int itemKey, const QVariant& value, bool persist) = 0;

    // Whether entries of this kind are wanted in the user log.
    virtual bool IsUserLogEnabled(int source, int target, int category, int level) const = 0;
    // Never null.
    virtual UserLogAccessorPtr GetUserLogAccessor() = 0;
};
