#include "host/AppWindowSurface.h"

namespace ZRA {

AppWindowSurface::AppWindowSurface(QWidget* parent) : QWidget(parent) {}

AppWindowSurface::~AppWindowSurface() = default;

void AppWindowSurface::Setup()
{
    m_isSetUp = true;
}

bool AppWindowSurface::IsAvailable() const
{
    return true;
}

void AppWindowSurface::SetSurfaceIcon(const QString& iconName)
{
    if (m_icon != iconName) {
        m_icon = iconName;
        Q_EMIT SurfaceIconChanged(m_icon);
    }
}

void AppWindowSurface::SetSurfaceTitle(const QString& title, bool isStateShown, bool isHelpShown)
{
    m_isStateShown = isStateShown;
    m_isHelpShown = isHelpShown;
    m_title = title;
    Q_EMIT SurfaceTitleChanged(m_title);
}

} // namespace ZRA
