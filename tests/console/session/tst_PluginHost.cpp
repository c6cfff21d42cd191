// Loads and starts faulty plug-ins.
#include "console/session/PluginHost.h"
#include "support/TestMain.h"

#include <QtCore/QTemporaryDir>

using console::TPluginHost;

class TPluginHostTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void reportsAMissingPlugin()
    {
        TPluginHost host;
        QString error;
        QVERIFY(!host.Load(QStringLiteral("/nowhere/libkelvo.so"), error));
        QCOMPARE(error, QStringLiteral("There is no plug-in /nowhere/libkelvo.so."));
        QVERIFY(host.Hub() == nullptr);
    }

    void reportsAFileThatIsNoLibrary()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath(QStringLiteral("libtext.so")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("no library");
        file.close();
        TPluginHost host;
        QString error;
        QVERIFY(!host.Load(file.fileName(), error));
        QVERIFY2(error.contains(file.fileName()), qUtf8Printable(error));
    }

    void reportsAMissingEntryPoint()
    {
        TPluginHost host;
        QString error;
        QVERIFY(!host.Load(QStringLiteral(IncompletePlugin_PATH), error));
        QVERIFY2(error.endsWith(QStringLiteral("lacks the entry point Finalise.")),
                 qUtf8Printable(error));
    }

    void reportsAnExceptionAtTheStart()
    {
        TPluginHost host;
        QString error;
        QVERIFY2(host.Load(QStringLiteral(ThrowingPlugin_PATH), error), qUtf8Printable(error));
        QVERIFY(!host.Start({}, error));
        QCOMPARE(error, QStringLiteral("The plug-in's start failed: no memory for the worker"));
        QVERIFY(host.Hub() == nullptr);
    }

    void finalisesAPluginWithoutAHub()
    {
        QLibrary library(QStringLiteral(HublessPlugin_PATH));
        const auto runs = reinterpret_cast<int (*)()>(library.resolve("Runs"));
        QVERIFY(runs != nullptr);
        TPluginHost host;
        QString error;
        QVERIFY2(host.Load(library.fileName(), error), qUtf8Printable(error));
        QVERIFY(!host.Start({}, error));
        QCOMPARE(error, QStringLiteral("The plug-in started, but offers no hub."));
        QCOMPARE(runs(), 0);
    }
};

KELVO_TEST_MAIN(TPluginHostTest)
#include "tst_PluginHost.moc"
