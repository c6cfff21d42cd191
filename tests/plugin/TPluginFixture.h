// The parts of the host that the plug-in's entry points need.
#pragma once

#include "support/TTempDataFolder.h"
#include "tests/fakes/FakeKesdk.h"
#include "tests/plugin/TWindowManagerRecorder.h"

#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TStartWatch.h"
#include "hostimpl/TUserLevels.h"
#include "plugin/EntryPoints.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>

// With a farm whose user "olga" has all her inboxes; her credentials are configured.
class TPluginFixture
{
public:
    TPluginFixture()
        : levels(hostimpl::TConfigStore::Process()), features(hostimpl::TConfigStore::Process())
    {
        hostimpl::TConfigStore::Process().SetItem(24289, QStringLiteral("olga"), false);
        hostimpl::TConfigStore::Process().SetItem(24290, QStringLiteral("secret"), false);
        Sdk().Reset();
        const std::int64_t userId = Sdk().Farm().AddUser(L"olga", L"secret");
        Sdk().Farm().AddTheSevenProjects();
        for (const auto& project : Sdk().Farm().Projects())
            Sdk().Farm().AddInbox(project.name, userId);
    }
    ~TPluginFixture() { Finalise(); }

    void Initialise()
    {
        ::Initialise(nullptr, &gps, QStringLiteral("Host 1.0"), &levels, &features);
    }
    // Initialises and waits until the worker is connected to the hub. Earlier requests would be
    // lost.
    bool InitialiseAndWait()
    {
        hostimpl::TStartWatch watch;
        watch.Run([this] { Initialise(); });
        return WaitUntil([&watch] { return watch.AreAllInitialised(); });
    }
    // Runs the event loop meanwhile. Returns false after the hang guard of 30 s.
    template <typename TCondition>
    bool WaitUntil(const TCondition& condition)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        while (!condition()) {
            if (elapsed.elapsed() > 30000)
                return false;
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        }
        return true;
    }
    fakes::FakeKesdk& Sdk() { return fakes::FakeKesdk::Instance(); }

    kelvo::test::TTempDataFolder folder;
    TWindowManagerRecorder windowManager;
    hostimpl::TFedGPSCoordinator gps;
    hostimpl::TUserLevels levels;
    hostimpl::TFeatures features;
};
