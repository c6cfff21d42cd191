// Access to the window manager, and a substitute if there is none.
#include "hostimpl/WindowManager.h"

#include "framework/HostLog.h"

namespace {

// Used on a console without a display. The surfaces stay their creator's.
class TNoWindowManager final : public TWindowManagerApi
{
public:
    void AddWindowSurfaces(const ZRA::OrvaleID& application,
                           const QList<ZRA::AppWindowSurface*>& miniViews,
                           ZRA::AppWindowSurface* fullView, ZRA::AppWindowSurface* further) override
    {
        if (!miniViews.isEmpty() || fullView != nullptr || further != nullptr) {
            qCWarning(lcHost, "There is no window manager for the surfaces of %s.",
                      qUtf8Printable(application.Uuid().toString()));
        }
    }
    void RemoveWindowSurfaces(const ZRA::OrvaleID&) override {}
    void SetSurfaceToolTip(const ZRA::OrvaleID&, const QString&) override {}
};

TWindowManagerApi* registeredManager = nullptr;

} // namespace

TWindowManagerApi& TWindowManagerApi::Instance()
{
    static TWindowManagerApi& none = *new TNoWindowManager;
    return registeredManager != nullptr ? *registeredManager : none;
}

TWindowManagerApi::~TWindowManagerApi()
{
    if (registeredManager == this) {
        registeredManager = nullptr;
    }
}

void hostimpl::SetWindowManager(TWindowManagerApi* manager)
{
    registeredManager = manager;
}
