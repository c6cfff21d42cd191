// The window manager's interface for applications.
#pragma once

#include "host/HostExport.h"
#include "host/OrvaleID.h"

#include <QtCore/QList>
#include <QtCore/QString>

namespace ZRA {
class AppWindowSurface;
}

// Main thread only.
class CONSOLEHOST_EXPORT TWindowManagerApi
{
public:
    static TWindowManagerApi& Instance();

    virtual ~TWindowManagerApi();

    // Takes ownership of the surfaces. `fullView` and `further` may be null.
    virtual void AddWindowSurfaces(const ZRA::OrvaleID& application,
                                   const QList<ZRA::AppWindowSurface*>& miniViews,
                                   ZRA::AppWindowSurface* fullView,
                                   ZRA::AppWindowSurface* further) = 0;
    // Destroys the application's surfaces before it returns. Does nothing if there are none.
    virtual void RemoveWindowSurfaces(const ZRA::OrvaleID& application) = 0;
    virtual void SetSurfaceToolTip(const ZRA::OrvaleID& application, const QString& toolTip) = 0;
};
