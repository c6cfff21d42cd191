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

// The host's objects for the plug-in. All of them must outlive Stop().
struct TPluginContext
{
    QWidget* parentWidget = nullptr;
    const TGPSCoordinator* gpsCoordinator = nullptr;
    QString hostString;
    const TAppUserLevels* userLevels = nullptr;
    const TAppFeatures* features = nullptr;
};

// A plug-in is a library with three entry points. A plug-in with screens also exports its root
// object.
//
// Thread: main. The library is never unloaded, because the meta-types that it registered point into
// the library.
//
//   not loaded → Load → loaded → Start → running → Stop → loaded
class TPluginHost
{
public:
    TPluginHost() = default;
    // Calls Stop().
    ~TPluginHost();
    TPluginHost(const TPluginHost&) = delete;
    TPluginHost& operator=(const TPluginHost&) = delete;

    // False if the library or one of its entry points is missing; `errorText` names it.
    bool Load(const QString& path, QString& errorText);

    // Initialises the loaded plug-in. Returns before the plug-in's worker is ready. False if the
    // plug-in throws or has no hub.
    bool Start(const TPluginContext& context, QString& errorText);

    // Makes the running plug-in create its screens and register them with the window manager. False
    // if the plug-in has no root object or throws; the plug-in continues to run.
    bool CreateScreens(QString& errorText);

    // Finalises a running plug-in. Blocks until the plug-in's thread has ended and the hub is
    // deleted.
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
    TGen2DynamicLibrary** m_root = nullptr; // in the library; null without screens
    bool m_isRunning = false;
};

} // namespace console
