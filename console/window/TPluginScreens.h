// Puts into the window what plug-ins register.
#pragma once

#include "host/OrvaleID.h"

#include <QtCore/QObject>
#include <QtCore/QSet>
#include <QtCore/QString>

namespace ZRA {
class AppWindowSurface;
}
namespace hostimpl {
class TSurfaceRegister;
}

namespace console {

class TMainWindow;

// Mini views go to the dock, full views and further ones become pages with a launcher button. Only
// what is available is there; each surface is set up once, right before it is first shown.
//
// Thread: main. Ownership: register and window must outlive it. Errors: a surface that throws while
// it is set up is not shown, and Failed() says so.
class TPluginScreens : public QObject
{
    Q_OBJECT

public:
    TPluginScreens(hostimpl::TSurfaceRegister& surfaces, TMainWindow& window);

    // Asks all surfaces anew whether they are available.
    void Refresh();
    // Shows a page; nothing happens if it is not available.
    void Open(QWidget* page);

Q_SIGNALS:
    void Failed(const QString& text);

private:
    void Place(const ZRA::OrvaleID& application);
    void PlaceMiniView(ZRA::AppWindowSurface* surface);
    void PlacePage(ZRA::AppWindowSurface* surface, const QString& toolTip);
    void TakeAway(const ZRA::OrvaleID& application);
    void TakePage(ZRA::AppWindowSurface* surface);
    void ShowToolTip(const ZRA::OrvaleID& application);
    QList<ZRA::AppWindowSurface*> Pages(const ZRA::OrvaleID& application) const;
    bool IsReady(ZRA::AppWindowSurface* surface);

    hostimpl::TSurfaceRegister& m_register;
    TMainWindow& m_window;
    QSet<QObject*> m_setUp;  // also those whose set-up failed
    QSet<QObject*> m_broken; // those
};

} // namespace console
