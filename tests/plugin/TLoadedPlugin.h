// The plug-in's library as it is shipped, loaded as the host loads it, with a host around it.
#pragma once

#include "support/HangGuard.h"
#include "support/TTempDataFolder.h"
#include "tests/plugin/TWindowManagerRecorder.h"

#include "core/TKelvoInterface.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TStartWatch.h"
#include "hostimpl/TUserLevels.h"

#include <QtCore/QLibrary>

class QWidget;

// For test programs that link no part of the plug-in. Main thread only. Set the environment
// variables of the library before Load().
class TLoadedPlugin
{
public:
    static constexpr int HANG_GUARD_MS = kelvo::test::HANG_GUARD_MS;

    ~TLoadedPlugin();

    // Returns false if the library or an entry point is missing; ErrorString() has the reason.
    // Without a file it loads the library of this build.
    bool Load(const QString& file = {});
    QString ErrorString() const { return m_library.errorString(); }

    void Initialise();
    // Initialises and waits until the worker is connected to the hub. Earlier requests would be
    // lost.
    bool InitialiseAndWait();
    // After the first Initialise().
    bool WaitForWorker();
    void Finalise() { m_finalise(); }
    TKelvoInterface* Hub() const { return m_getInterface(); }

    void ConfigureOperator(const QString& name, const QString& password);
    QFunctionPointer Resolve(const char* name) { return m_library.resolve(name); }
    // The exported variable of this name. It points to a T.
    template <typename T>
    T* Data(const char* name)
    {
        return *reinterpret_cast<T**>(m_library.resolve(name));
    }

    kelvo::test::TTempDataFolder folder;
    TWindowManagerRecorder windowManager;
    hostimpl::TFedGPSCoordinator gps;
    hostimpl::TUserLevels levels{hostimpl::TConfigStore::Process()};
    hostimpl::TFeatures features{hostimpl::TConfigStore::Process()};

private:
    using TInitialise = void (*)(QWidget*, const TGPSCoordinator*, const QString&,
                                 const TAppUserLevels*, const TAppFeatures*);
    using TFinalise = void (*)();
    using TGetInterface = TKelvoInterface* (*)();

    hostimpl::TStartWatch m_watch;
    QLibrary m_library;
    TInitialise m_initialise = nullptr;
    TFinalise m_finalise = nullptr;
    TGetInterface m_getInterface = nullptr;
};
