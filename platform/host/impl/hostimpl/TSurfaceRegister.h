// The window manager's register of surfaces. The register does not know where they are shown.
#pragma once

#include "host/AppWindowSurface.h"
#include "host/TWindowManagerApi.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

namespace hostimpl {

// Owns the registered surfaces. A window manager connects to the signals directly: during
// SurfacesAboutToGo the surfaces still exist. If an application registers again, its mini views are
// added, and its full view and its further surface replace the former ones. Main thread.
class CONSOLEHOST_EXPORT TSurfaceRegister : public QObject, public TWindowManagerApi
{
    Q_OBJECT

public:
    explicit TSurfaceRegister(QObject* parent = nullptr);
    // Destroys all surfaces.
    ~TSurfaceRegister() override;

    void AddWindowSurfaces(const ZRA::OrvaleID& application,
                           const QList<ZRA::AppWindowSurface*>& miniViews,
                           ZRA::AppWindowSurface* fullView,
                           ZRA::AppWindowSurface* further) override;
    void RemoveWindowSurfaces(const ZRA::OrvaleID& application) override;
    // The application may register later.
    void SetSurfaceToolTip(const ZRA::OrvaleID& application, const QString& toolTip) override;

    // In the order of their registration.
    QList<ZRA::OrvaleID> Applications() const;
    QList<ZRA::AppWindowSurface*> MiniViews(const ZRA::OrvaleID& application) const;
    ZRA::AppWindowSurface* FullView(const ZRA::OrvaleID& application) const;
    ZRA::AppWindowSurface* Further(const ZRA::OrvaleID& application) const;
    QString ToolTip(const ZRA::OrvaleID& application) const;

Q_SIGNALS:
    void SurfacesAdded(const ZRA::OrvaleID& application);
    void SurfacesAboutToGo(const ZRA::OrvaleID& application);
    void SurfacesGone(const ZRA::OrvaleID& application);
    void ToolTipChanged(const ZRA::OrvaleID& application);

private:
    struct TApplication
    {
        ZRA::OrvaleID id;
        QString toolTip;
        bool hasSurfaces = false;
        // A parent widget may destroy a surface early.
        QList<QPointer<ZRA::AppWindowSurface>> miniViews;
        QPointer<ZRA::AppWindowSurface> fullView;
        QPointer<ZRA::AppWindowSurface> further;
    };

    TApplication& EntryOf(const ZRA::OrvaleID& application);
    const TApplication* FindEntry(const ZRA::OrvaleID& application) const;
    static void Replace(QPointer<ZRA::AppWindowSurface>& place, ZRA::AppWindowSurface* surface);
    static void ShowToolTip(const TApplication& application);

    QList<TApplication> m_applications;
};

} // namespace hostimpl
