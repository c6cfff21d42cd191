// Puts the plug-ins' surfaces into the window.
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

// Mini views go to the dock. Full views and further surfaces become pages with a launcher button.
// Only available surfaces are shown. Each surface is set up once, directly before it is first
// shown.
//
// Thread: main. Ownership: the register and the window must outlive it. Errors: if a surface throws
// during its set-up, it is not shown and Failed() is emitted.
class TPluginScreens : public QObject
{
    Q_OBJECT

public:
    TPluginScreens(hostimpl::TSurfaceRegister& surfaces, TMainWindow& window);

    // Asks all surfaces again whether they are available.
    void Refresh();
    // Shows a page; does nothing if the page is not available.
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
    QSet<QObject*> m_setUp;  // surfaces whose set-up was tried
    QSet<QObject*> m_broken; // surfaces whose set-up failed
};

} // namespace console
