// Builds the plug-in's screens and registers them.
#include "plugin/TKelvoDll.h"

#include "host/TWindowManagerApi.h"
#include "plugin/ApplicationUuid.h"
#include "plugin/EntryPoints.h"
#include "screens/TKelvoFullView.h"
#include "screens/TKelvoMiniView.h"

#include <QtCore/QList>

#include <memory>

void TKelvoDll::CreateScreens()
{
    auto miniView = std::make_unique<TKelvoMiniView>(nullptr, *UserLevels);
    auto fullView = std::make_unique<TKelvoFullView>(nullptr);
    QList<ZRA::AppWindowSurface*> miniViews;
    miniViews.reserve(1);
    miniViews.append(miniView.release());
    TWindowManagerApi::Instance().AddWindowSurfaces(ZRA::OrvaleID(APPLICATION_UUID), miniViews,
                                                    fullView.release(), nullptr);
    TWindowManagerApi::Instance().SetSurfaceToolTip(ZRA::OrvaleID(APPLICATION_UUID),
                                                    QObject::tr("KELVO Application", "ToolTip"));
}
