// A screen, or a part of one, that an application hands to the window manager.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>
#include <QtWidgets/QWidget>

namespace ZRA {

// Main thread. The window manager owns the surface from the moment it is handed over. The order of
// the virtual functions is part of the contract: the surface's own follow those of QWidget.
class CONSOLEHOST_EXPORT AppWindowSurface : public QWidget
{
    Q_OBJECT

public:
    explicit AppWindowSurface(QWidget* parent = nullptr);
    ~AppWindowSurface() override;

    // The window manager calls Setup() once, before it first shows the surface. An override first
    // calls the base class's Setup().
    virtual void Setup();
    // True if the signed-in operator may use the surface.
    virtual bool IsAvailable() const;

    // `iconName` names an icon of the host's theme, without a path.
    void SetSurfaceIcon(const QString& iconName);
    const QString& SurfaceIcon() const { return m_icon; }

    // The two options belong to the window manager's title bar.
    void SetSurfaceTitle(const QString& title, bool isStateShown, bool isHelpShown);
    const QString& SurfaceTitle() const { return m_title; }
    bool IsStateShown() const { return m_isStateShown; }
    bool IsHelpShown() const { return m_isHelpShown; }

    // True once Setup() has run.
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
