// The console's store of configuration items.
#pragma once

#include "host/HostExport.h"
#include "host/UserLogAccessor.h"

#include <QtCore/QVariant>

// One object in each process. From any thread. A persistent change is written to the disk
// atomically before SetItem() returns.
class CONSOLEHOST_EXPORT ConfigManager
{
public:
    static ConfigManager& Instance();

    virtual ~ConfigManager();

    // The item's value, or an invalid QVariant if the item was never set.
    virtual QVariant GetItem(int itemKey) const = 0;
    // With `persist` the value outlives the process.
    virtual void SetItem(int itemKey, const QVariant& value, bool persist) = 0;

    // True if the user log takes entries of this kind.
    virtual bool IsUserLogEnabled(int source, int target, int category, int level) const = 0;
    // Never null.
    virtual UserLogAccessorPtr GetUserLogAccessor() = 0;
};
