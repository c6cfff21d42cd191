// Loads the plug-in, starts it and stops it.
#pragma once

#include <QtCore/QLibrary>
#include <QtCore/QString>

class QWidget;
class TAppFeatures;
class TAppUserLevels;
class TGPSCoordinator;
class TGen2DynamicLibrary;
class TKelvoInterface;

namespace console {

// What the plug-in gets from its host. All of it must outlive Stop().
struct TPluginContext
{
    QWidget* parentWidget = nullptr;
    const TGPSCoordinator* gpsCoordinator = nullptr;
    QString hostString;
    const TAppUserLevels* userLevels = nullptr;
    const TAppFeatures* features = nullptr;
};

// The plug-in as the console sees it: a library with three entry points and, if
// it has screens, an exported root object.
//
// Thread: main. Ownership: the library is never unloaded, since the meta-types that it registered
// point into it.
//
//   not loaded → Load → loaded → Start → running → Stop → loaded
class TPluginHost
{
public:
    TPluginHost() = default;
    // Stops a plug-in that runs.
    ~TPluginHost();
    TPluginHost(const TPluginHost&) = delete;
    TPluginHost& operator=(const TPluginHost&) = delete;

    // False if there is no such library or it lacks an entry point; `errorText` says which.
    bool Load(const QString& path, QString& errorText);

    // Initialises the loaded plug-in. False if it throws or offers no hub. Returns before the
    // plug-in's worker is ready.
    bool Start(const TPluginContext& context, QString& errorText);

    // Has the running plug-in build its screens and register them with the window manager. False if
    // it offers no root object or throws; the plug-in still runs then.
    bool CreateScreens(QString& errorText);

    // Finalises a running plug-in; blocks until its thread has ended. The hub is gone then.
    void Stop();

    // Null unless the plug-in runs.
    TKelvoInterface* Hub() const;

private:
    using TInitialise = void (*)(QWidget*, const TGPSCoordinator*, const QString&,
                                 const TAppUserLevels*, const TAppFeatures*);
    using TFinalise = void (*)();
    using TGetKelvoInterface = TKelvoInterface* (*)();

    QLibrary m_library;
    TInitialise m_initialise = nullptr;
    TFinalise m_finalise = nullptr;
    TGetKelvoInterface m_getKelvoInterface = nullptr;
    TGen2DynamicLibrary** m_root = nullptr; // the library's; null in one without screens
    bool m_isRunning = false;
};

} // namespace console
