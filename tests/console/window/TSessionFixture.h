// A console with its window, and a plug-in with screens.
#pragma once

#include "console/fixtures/ScreensPlugin.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TWindowSession.h"
#include "host/ConfigManager.h"
#include "hostimpl/HostSetup.h"
#include "hostimpl/TConfigStore.h"
#include "support/TTestCase.h"

#include <QtCore/QLibrary>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <memory>

class TKelvoInterface;

class TSessionFixture : public kelvo::test::TTestCase
{
    Q_OBJECT

protected Q_SLOTS:
    void initTestCase()
    {
        qputenv("HOME", QFile::encodeName(m_folder.path())); // the data folder's path is below it
        QString errorText;
        QVERIFY2(hostimpl::SetUpHost(m_folder.path(), errorText), qUtf8Printable(errorText));
    }

    // The settings and the plug-in of a new console.
    void init()
    {
        Log().clear();
        m_status = {};
        m_settings = {};
        qunsetenv("SCREENS_PLUGIN_THROWS");
        qunsetenv("SCREENS_PLUGIN_FORGETS");
        console::TStoredSettings defaults;
        defaults.dataFolder = m_folder.path();
        const auto stored =
            console::WriteStoredSettings(hostimpl::TConfigStore::Process(), defaults);
        QVERIFY2(stored.Text().isEmpty(), qUtf8Printable(stored.Text()));
    }

    void cleanup()
    {
        m_session.reset();
        TTestCase::cleanup();
    }

protected:
    QTemporaryDir m_folder;
    std::unique_ptr<console::TWindowSession> m_session;
    kesdkimpl::LinkStatus m_status;
    console::TConsoleSettings m_settings; // the command line

    static console::TStoredSettings Stored()
    {
        return console::ReadStoredSettings(ConfigManager::Instance());
    }

    void Begin(const QString& plugin, const console::TStoredSettings& stored)
    {
        m_settings.pluginPath = plugin;
        m_session = std::make_unique<console::TWindowSession>(m_settings, stored,
                                                              [this] { return m_status; });
        m_session->Begin();
    }

    void Begin(const char* plugin) { Begin(QString::fromUtf8(plugin), Stored()); }

    // Waits until the fixture's screens are in the window.
    bool WaitForScreens()
    {
        return QTest::qWaitFor([this] { return !m_session->Window()->Dock().IsEmpty(); }, 60000);
    }

    // The hub of the plug-in with screens. Null after its end.
    static TKelvoInterface* Hub()
    {
        QLibrary library(QStringLiteral(ScreensPlugin_PATH));
        return reinterpret_cast<TKelvoInterface* (*)()>(library.resolve("GetKelvoInterface"))();
    }

    static QStringList& Log()
    {
        QLibrary library(QStringLiteral(ScreensPlugin_PATH));
        return *reinterpret_cast<TScreensPluginLog>(library.resolve("ScreensPluginLog"))();
    }
};
