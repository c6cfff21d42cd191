// A screen, or a part of one, that an application hands to the window manager.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>
#include <QtWidgets/QWidget>

namespace ZRA {

// Main thread. Owned by the window manager once it was handed over. Slot order is part of the
// contract: the surface's own follow those of QWidget.
class CONSOLEHOST_EXPORT AppWindowSurface : public QWidget
{
    Q_OBJECT

public:
    explicit AppWindowSurface(QWidget* parent = nullptr);
    ~AppWindowSurface() override;

    // The window manager calls it once, before it first shows the surface. An override calls the
    // base's first.
    virtual void Setup();
    // Whether the operator who is signed in may use the surface.
    virtual bool IsAvailable() const;

    // `iconName` is that of an icon of the host's theme, without a path.
    void SetSurfaceIcon(const QString& iconName);
    const QString& SurfaceIcon() const { return m_icon; }

    // The two options belong to the window manager's title bar.
    void SetSurfaceTitle(const QString& title, bool isStateShown, bool isHelpShown);
    const QString& SurfaceTitle() const { return m_title; }
    bool IsStateShown() const { return m_isStateShown; }
    bool IsHelpShown() const { return m_isHelpShown; }

    // Whether Setup() has run.
    bool IsSetUp() const { return m_isSetUp; }

Q_SIGNALS:
    void SurfaceIconChanged(const QString& iconName);
    void SurfaceTitleChanged(const QString& title);

private:
    QString m_icon;
    QString m_title;
    bool m_isStateShown = false;
    bool m_isHelpShown = false;
    bool m_isSetUp = false;
};

} // namespace ZRA
