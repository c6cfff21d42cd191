#include "console/window/TPluginScreens.h"

#include "console/window/TLauncherBar.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "hostimpl/TSurfaceRegister.h"

#include <exception>

using hostimpl::TSurfaceRegister;
using ZRA::AppWindowSurface;
using ZRA::OrvaleID;

namespace {

// Some surfaces have no title before their set-up. Until then the name of their icon gives the
// caption: "NavKelvo" is "KELVO".
QString Caption(const AppWindowSurface& surface)
{
    const QString prefix = QStringLiteral("Nav");
    const QString& icon = surface.SurfaceIcon();
    if (!surface.SurfaceTitle().isEmpty() || !icon.startsWith(prefix)) {
        return surface.SurfaceTitle();
    }
    return icon.mid(prefix.size()).toUpper();
}

} // namespace

namespace console {

TPluginScreens::TPluginScreens(TSurfaceRegister& surfaces, TMainWindow& window)
    : m_register(surfaces), m_window(window)
{
    connect(&m_register, &TSurfaceRegister::SurfacesAdded, this, &TPluginScreens::Place);
    connect(&m_register, &TSurfaceRegister::SurfacesAboutToGo, this, &TPluginScreens::TakeAway);
    connect(&m_register, &TSurfaceRegister::ToolTipChanged, this, &TPluginScreens::ShowToolTip);
    connect(&m_window.Launcher(), &TLauncherBar::OpenPage, this, &TPluginScreens::Open);
    Refresh();
}

void TPluginScreens::Refresh()
{
    const QList<OrvaleID> applications = m_register.Applications();
    for (const OrvaleID& application : applications) {
        Place(application);
    }
}

void TPluginScreens::Place(const OrvaleID& application)
{
    const QList<AppWindowSurface*> miniViews = m_register.MiniViews(application);
    for (AppWindowSurface* const surface : miniViews) {
        PlaceMiniView(surface);
    }
    const QList<AppWindowSurface*> pages = Pages(application);
    for (AppWindowSurface* const surface : pages) {
        PlacePage(surface, m_register.ToolTip(application));
    }
}

void TPluginScreens::PlaceMiniView(AppWindowSurface* surface)
{
    if (!surface->IsAvailable()) {
        m_window.Dock().Remove(surface);
    } else if (IsReady(surface)) {
        m_window.Dock().Add(surface);
    }
}

// The set-up of a page waits until the page is opened.
void TPluginScreens::PlacePage(AppWindowSurface* surface, const QString& toolTip)
{
    if (!surface->IsAvailable()) {
        TakePage(surface);
        return;
    }
    TLauncherBar& launcher = m_window.Launcher();
    if (launcher.PageButton(surface) != nullptr) {
        return;
    }
    launcher.AddPage(surface, surface->SurfaceIcon(), Caption(*surface), toolTip);
    connect(surface, &QObject::destroyed, &launcher,
            [&launcher, surface] { launcher.RemovePage(surface); });
    connect(surface, &AppWindowSurface::SurfaceTitleChanged, this, [this, surface] {
        m_window.Launcher().SetPageLooks(surface, surface->SurfaceIcon(), Caption(*surface));
        m_window.SetPageTitle(surface, surface->SurfaceTitle());
    });
    connect(surface, &AppWindowSurface::SurfaceIconChanged, this, [this, surface] {
        m_window.Launcher().SetPageLooks(surface, surface->SurfaceIcon(), Caption(*surface));
    });
}

void TPluginScreens::Open(QWidget* page)
{
    auto* const surface = qobject_cast<AppWindowSurface*>(page);
    if (surface == nullptr || m_window.Launcher().PageButton(surface) == nullptr) {
        return;
    }
    if (!surface->IsAvailable()) {
        TakePage(surface);
    } else if (IsReady(surface)) {
        m_window.AddPage(surface, surface->SurfaceTitle());
        m_window.ShowPage(surface);
    }
}

void TPluginScreens::TakeAway(const OrvaleID& application)
{
    const QList<AppWindowSurface*> miniViews = m_register.MiniViews(application);
    for (AppWindowSurface* const surface : miniViews) {
        m_window.Dock().Remove(surface);
    }
    const QList<AppWindowSurface*> pages = Pages(application);
    for (AppWindowSurface* const surface : pages) {
        TakePage(surface);
    }
}

void TPluginScreens::TakePage(AppWindowSurface* surface)
{
    TLauncherBar& launcher = m_window.Launcher();
    disconnect(surface, nullptr, &launcher, nullptr);
    disconnect(surface, &AppWindowSurface::SurfaceTitleChanged, this, nullptr);
    disconnect(surface, &AppWindowSurface::SurfaceIconChanged, this, nullptr);
    m_window.RemovePage(surface);
    launcher.RemovePage(surface);
}

void TPluginScreens::ShowToolTip(const OrvaleID& application)
{
    const QList<AppWindowSurface*> pages = Pages(application);
    for (AppWindowSurface* const surface : pages) {
        m_window.Launcher().SetPageToolTip(surface, m_register.ToolTip(application));
    }
}

QList<AppWindowSurface*> TPluginScreens::Pages(const OrvaleID& application) const
{
    QList<AppWindowSurface*> pages{m_register.FullView(application),
                                   m_register.Further(application)};
    pages.removeAll(nullptr);
    return pages;
}

// Sets up the surface once. False if the set-up fails or failed before.
bool TPluginScreens::IsReady(AppWindowSurface* surface)
{
    if (m_setUp.contains(surface)) {
        return !m_broken.contains(surface);
    }
    m_setUp.insert(surface);
    connect(surface, &QObject::destroyed, this, [this](QObject* gone) {
        m_setUp.remove(gone);
        m_broken.remove(gone);
    });
    QString reason;
    try {
        surface->Setup();
        return true;
    } catch (const std::exception& exception) {
        reason = QString::fromUtf8(exception.what());
    } catch (...) {
        reason = tr("unknown");
    }
    m_broken.insert(surface);
    Q_EMIT Failed(tr("A screen of the plug-in could not be set up: %1").arg(reason));
    return false;
}

} // namespace console
