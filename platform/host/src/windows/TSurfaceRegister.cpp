#include "hostimpl/TSurfaceRegister.h"

#include <algorithm>

using ZRA::AppWindowSurface;
using ZRA::OrvaleID;

namespace hostimpl {

TSurfaceRegister::TSurfaceRegister(QObject* parent) : QObject(parent) {}

TSurfaceRegister::~TSurfaceRegister()
{
    while (!m_applications.isEmpty()) {
        const OrvaleID last = m_applications.last().id;
        TSurfaceRegister::RemoveWindowSurfaces(last);
    }
}

void TSurfaceRegister::AddWindowSurfaces(const OrvaleID& application,
                                         const QList<AppWindowSurface*>& miniViews,
                                         AppWindowSurface* fullView, AppWindowSurface* further)
{
    TApplication& entry = EntryOf(application);
    for (AppWindowSurface* const surface : miniViews) {
        if (surface != nullptr && !entry.miniViews.contains(surface)) {
            entry.miniViews.append(surface);
        }
    }
    Replace(entry.fullView, fullView);
    Replace(entry.further, further);
    entry.hasSurfaces = true;
    ShowToolTip(entry);
    Q_EMIT SurfacesAdded(application);
}

// The entry is removed first: if a surface's destructor calls the register, it finds no entry.
void TSurfaceRegister::RemoveWindowSurfaces(const OrvaleID& application)
{
    const OrvaleID id = application; // the argument may be a reference into the entry
    const auto found = std::find_if(m_applications.begin(), m_applications.end(),
                                    [&id](const TApplication& entry) { return entry.id == id; });
    if (found == m_applications.end()) {
        return;
    }
    const bool hadSurfaces = found->hasSurfaces;
    if (hadSurfaces) {
        Q_EMIT SurfacesAboutToGo(id);
    }
    const TApplication entry = EntryOf(id);
    m_applications.erase(std::remove_if(m_applications.begin(), m_applications.end(),
                                        [&id](const TApplication& each) { return each.id == id; }),
                         m_applications.end());
    delete entry.further.data();
    delete entry.fullView.data();
    for (auto surface = entry.miniViews.rbegin(); surface != entry.miniViews.rend(); ++surface) {
        delete surface->data();
    }
    if (hadSurfaces) {
        Q_EMIT SurfacesGone(id);
    }
}

void TSurfaceRegister::SetSurfaceToolTip(const OrvaleID& application, const QString& toolTip)
{
    TApplication& entry = EntryOf(application);
    entry.toolTip = toolTip;
    ShowToolTip(entry);
    Q_EMIT ToolTipChanged(application);
}

QList<OrvaleID> TSurfaceRegister::Applications() const
{
    QList<OrvaleID> ids;
    for (const TApplication& entry : m_applications) {
        if (entry.hasSurfaces) {
            ids.append(entry.id);
        }
    }
    return ids;
}

QList<AppWindowSurface*> TSurfaceRegister::MiniViews(const OrvaleID& application) const
{
    QList<AppWindowSurface*> surfaces;
    if (const TApplication* const entry = FindEntry(application)) {
        for (const QPointer<AppWindowSurface>& surface : entry->miniViews) {
            if (!surface.isNull()) {
                surfaces.append(surface.data());
            }
        }
    }
    return surfaces;
}

AppWindowSurface* TSurfaceRegister::FullView(const OrvaleID& application) const
{
    const TApplication* const entry = FindEntry(application);
    return entry == nullptr ? nullptr : entry->fullView.data();
}

AppWindowSurface* TSurfaceRegister::Further(const OrvaleID& application) const
{
    const TApplication* const entry = FindEntry(application);
    return entry == nullptr ? nullptr : entry->further.data();
}

QString TSurfaceRegister::ToolTip(const OrvaleID& application) const
{
    const TApplication* const entry = FindEntry(application);
    return entry == nullptr ? QString() : entry->toolTip;
}

TSurfaceRegister::TApplication& TSurfaceRegister::EntryOf(const OrvaleID& application)
{
    for (TApplication& entry : m_applications) {
        if (entry.id == application) {
            return entry;
        }
    }
    m_applications.append({application, {}, false, {}, {}, {}});
    return m_applications.last();
}

const TSurfaceRegister::TApplication* TSurfaceRegister::FindEntry(const OrvaleID& application) const
{
    const auto found =
        std::find_if(m_applications.begin(), m_applications.end(),
                     [&application](const TApplication& entry) { return entry.id == application; });
    return found == m_applications.end() ? nullptr : &*found;
}

void TSurfaceRegister::Replace(QPointer<AppWindowSurface>& place, AppWindowSurface* surface)
{
    if (surface != nullptr && place.data() != surface) {
        delete place.data();
        place = surface;
    }
}

void TSurfaceRegister::ShowToolTip(const TApplication& application)
{
    for (const QPointer<AppWindowSurface>& surface : application.miniViews) {
        if (!surface.isNull()) {
            surface->setToolTip(application.toolTip);
        }
    }
}

} // namespace hostimpl
