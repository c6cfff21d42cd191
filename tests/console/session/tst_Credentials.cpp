// The credentials: from a file, from the environment, into the configuration.
#include "console/session/Credentials.h"
#include "host/ConfigManager.h"
#include "hostimpl/HostSetup.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdlib>

using console::TCredentials;

class TCredentialsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    QString File(const QByteArray& content,
                 QFile::Permissions permissions = {QFile::ReadOwner | QFile::WriteOwner})
    {
        QFile file(m_folder.filePath(QStringLiteral("credentials")));
        file.remove();
        if (file.open(QIODevice::WriteOnly)) {
            file.write(content);
            file.setPermissions(permissions);
        }
        return file.fileName();
    }

    const QTemporaryDir m_folder;

private Q_SLOTS:
    void readsTwoLines_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("with ends") << QByteArray("olga\nright secret \n");
        QTest::newRow("without the last end") << QByteArray("olga\nright secret ");
        QTest::newRow("from another system") << QByteArray("olga\r\nright secret \r\n");
        QTest::newRow("with more lines") << QByteArray("olga\nright secret \nnotes\n");
    }

    void readsTwoLines()
    {
        QFETCH(QByteArray, content);
        TCredentials credentials;
        QString error;
        QVERIFY2(console::ReadCredentialsFile(File(content), credentials, error),
                 qUtf8Printable(error));
        QCOMPARE(credentials.user, QStringLiteral("olga"));
        QCOMPARE(credentials.password, QStringLiteral("right secret "));
    }

    void refusesAFileThatOthersHaveAccessTo_data()
    {
        QTest::addColumn<int>("permission");
        QTest::newRow("group") << static_cast<int>(QFile::ReadGroup);
        QTest::newRow("world") << static_cast<int>(QFile::ReadOther);
        QTest::newRow("group may write") << static_cast<int>(QFile::WriteGroup);
    }

    void refusesAFileThatOthersHaveAccessTo()
    {
        QFETCH(int, permission);
        TCredentials credentials;
        QString error;
        const QString path =
            File("olga\nsecret\n", QFile::ReadOwner | QFile::Permission(permission));
        QVERIFY(!console::ReadCredentialsFile(path, credentials, error));
        QVERIFY2(error.contains(QStringLiteral("Others than its owner")), qUtf8Printable(error));
        QVERIFY(credentials.password.isEmpty());
    }

    void refusesAnIncompleteFileWithoutQuotingIt()
    {
        TCredentials credentials;
        QString error;
        QVERIFY(!console::ReadCredentialsFile(File("topsecret\n"), credentials, error));
        QVERIFY(!error.isEmpty() && !error.contains(QStringLiteral("topsecret")));
    }

    void refusesAMissingFile()
    {
        TCredentials credentials;
        QString error;
        QVERIFY(!console::ReadCredentialsFile(QStringLiteral("/nowhere/credentials"), credentials,
                                              error));
        QVERIFY(error.contains(QStringLiteral("/nowhere/credentials")));
    }

    void removesTheVariablesFromTheEnvironment()
    {
        qputenv("KELVO_USER", "olga");
        qputenv("KELVO_PASSWORD", "secret");
        TCredentials credentials;
        QVERIFY(console::TakeCredentialsFromEnvironment(credentials));
        QCOMPARE(credentials.user + QLatin1Char('/') + credentials.password,
                 QStringLiteral("olga/secret"));
        QVERIFY(!qEnvironmentVariableIsSet("KELVO_USER"));
        QVERIFY(!qEnvironmentVariableIsSet("KELVO_PASSWORD"));
        QVERIFY(!console::TakeCredentialsFromEnvironment(credentials));
    }

    void overwritesTheTextOfTheVariable()
    {
        char variable[] =
            "KELVO_PASSWORD=secret"; // putenv() uses this memory, as the process's start does
        QCOMPARE(::putenv(variable), 0);
        TCredentials credentials;
        console::TakeCredentialsFromEnvironment(credentials);
        QCOMPARE(credentials.password, QStringLiteral("secret"));
        QCOMPARE(QByteArray(variable + sizeof "KELVO_PASSWORD", 6), QByteArray(6, '\0'));
    }

    void configuresWithoutStoring()
    {
        const QTemporaryDir data;
        QString error;
        QVERIFY2(hostimpl::SetUpHost(data.path(), error), qUtf8Printable(error));
        console::ConfigureCredentials({QStringLiteral("olga"), QStringLiteral("topsecret")});
        QCOMPARE(ConfigManager::Instance().GetItem(24289).toString(), QStringLiteral("olga"));
        QCOMPARE(ConfigManager::Instance().GetItem(24290).toString(), QStringLiteral("topsecret"));
        ConfigManager::Instance().SetItem(1, 1, true); // makes the store write its file
        QFile file(data.filePath(QStringLiteral("console.json")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(!file.readAll().contains("topsecret"));
    }
};

KELVO_TEST_MAIN(TCredentialsTest)
#include "tst_Credentials.moc"
