// The window manager's register of surfaces, without any notion of where they are shown.
#pragma once

#include "host/AppWindowSurface.h"
#include "host/TWindowManagerApi.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

namespace hostimpl {

// Owns what it is handed. A window manager listens to its signals, which come directly: in
// SurfacesAboutToGo the surfaces are still whole. Main thread. An application that registers once
// more adds mini views; its full view and its further surface replace the former ones.
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
    // Also of an application that has not registered yet.
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
        // A parent widget may destroy a surface before its time.
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
