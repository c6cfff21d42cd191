// A window manager that records its calls.
#pragma once

#include "host/TWindowManagerApi.h"
#include "hostimpl/WindowManager.h"

#include <QtCore/QStringList>

#include <functional>

// It is the process's window manager during its lifetime. It does not own the surfaces.
class TWindowManagerRecorder final : public TWindowManagerApi
{
public:
    TWindowManagerRecorder() { hostimpl::SetWindowManager(this); }
    ~TWindowManagerRecorder() override { hostimpl::SetWindowManager(nullptr); }

    void AddWindowSurfaces(const ZRA::OrvaleID& application, const QList<ZRA::AppWindowSurface*>&,
                           ZRA::AppWindowSurface*, ZRA::AppWindowSurface*) override
    {
        calls << QStringLiteral("add ") + application.Uuid().toString(QUuid::WithoutBraces);
    }
    void RemoveWindowSurfaces(const ZRA::OrvaleID& application) override
    {
        calls << QStringLiteral("remove ") + application.Uuid().toString(QUuid::WithoutBraces);
        if (onRemove)
            onRemove();
    }
    void SetSurfaceToolTip(const ZRA::OrvaleID&, const QString&) override {}

    QStringList calls;
    std::function<void()> onRemove;
};
