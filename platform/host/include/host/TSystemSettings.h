// Settings of the console that never change while it runs.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

class CONSOLEHOST_EXPORT TSystemSettings
{
public:
    TSystemSettings() = delete;

    // Suffixes of the archives that the console can unpack, with the dot.
    static const QString ZIPExtension;
    static const QString ZIP2Extension;
};
