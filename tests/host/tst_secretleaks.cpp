// The password shows nowhere in what the host writes: not in its files, messages or errors.
#include "host/ConfigManager.h"
#include "host/TFileSizeLimit.h"
#include "host/TSealedFixture.h"
#include "hostimpl/HostSetup.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QMutex>

using hostimpl::TConfigStore;
using kelvo::test::passwordItem;
using kelvo::test::ReadFile;
using kelvo::test::TellsPassword;
using kelvo::test::TFileSizeLimit;
using kelvo::test::TSealedFixture;
using kelvo::test::WriteFile;

namespace {

// All messages of this process, as long as it lives; expected ones and others alike.
class TMessages
{
public:
    TMessages()
    {
        All().clear();
        m_former = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext& context, const QString& text) {
                static QMutex mutex;
                const QMutexLocker lock(&mutex);
                All() += QByteArray(context.category) + ": " + text.toUtf8() + '\n';
            });
    }
    ~TMessages() { qInstallMessageHandler(m_former); }
    TMessages(const TMessages&) = delete;
    TMessages& operator=(const TMessages&) = delete;

    static QByteArray& All()
    {
        static QByteArray text;
        return text;
    }

private:
    QtMessageHandler m_former = nullptr;
};

} // namespace

class tst_SecretLeaks : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void nothingTellsThePassword_data();
    void nothingTellsThePassword();
};

void tst_SecretLeaks::nothingTellsThePassword_data()
{
    QTest::addColumn<QByteArray>("oldFile");
    QTest::addColumn<QByteArray>("oldKey");
    QTest::addColumn<bool>("isKeyAFolder");
    QTest::addColumn<int>("room"); // for a file at the start, -1 for all
    QTest::addColumn<QByteArray>("log");
    const QByteArray plain = TSealedFixture::PlainFile();
    const QByteArray torn = plain.left(plain.indexOf("Quill") + 5);
    const QByteArray bad = QByteArray(plain).replace("\"QString\"", "\"TNone\"");
    const auto row = [](const char* name, const QByteArray& oldFile, const QByteArray& oldKey,
                        bool isKeyAFolder, int room, const char* log) {
        QTest::newRow(name) << oldFile << oldKey << isKeyAFolder << room << QByteArray(log);
    };
    row("nothing there", {}, {}, false, -1, "");
    row("plain", plain, {}, false, -1, "");
    row("plain, bad key", plain, "short", false, -1, "");
    row("plain and torn", torn, {}, false, -1, "is not valid");
    row("plain and bad", bad, {}, false, -1, "is not valid");
    row("no room for a file", {}, {}, false, 0, "cannot be written");
    row("no key", {}, {}, true, -1, "no regular file");
}

void tst_SecretLeaks::nothingTellsThePassword()
{
    QFETCH(QByteArray, oldFile);
    QFETCH(QByteArray, oldKey);
    QFETCH(bool, isKeyAFolder);
    QFETCH(int, room);
    QFETCH(QByteArray, log);
    const TSealedFixture f;
    QVERIFY(oldFile.isEmpty() || WriteFile(f.Path(), oldFile));
    QVERIFY(oldKey.isEmpty() || WriteFile(f.KeyPath(), oldKey));
    QVERIFY(!isKeyAFolder || QDir().mkdir(f.KeyPath()));
    QString errorText;
    QByteArray messages;
    {
        const TMessages caught;
        QVERIFY(hostimpl::SetUpHost(f.folder.path(), errorText));
        ConfigManager& config = ConfigManager::Instance();
        config.SetItem(passwordItem, QStringLiteral("before"), true);
        if (room >= 0) {
            const TFileSizeLimit limit(static_cast<rlim_t>(room));
            config.SetItem(passwordItem, kelvo::test::Password(), true);
        }
        config.SetItem(passwordItem, kelvo::test::Password(), true);
        config.SetItem(7, 43, true);
        QCOMPARE(config.GetItem(passwordItem).toString(), kelvo::test::Password());
        QVERIFY(hostimpl::SetUpHost(f.folder.path(), errorText)); // as the next run
        messages = TMessages::All();
    }
    QVERIFY2(messages.contains(log), messages.constData());
    QVERIFY2(!TellsPassword(messages), messages.constData());
    QVERIFY(!TellsPassword(errorText.toUtf8()));
    QCOMPARE(f.Telltales(), QStringList());
    QVERIFY(ReadFile(f.Path()).contains("43")); // there was something to look through
    QCOMPARE(ConfigManager::Instance().GetItem(passwordItem).isValid(), !isKeyAFolder);
}

KELVO_TEST_MAIN(tst_SecretLeaks)
#include "tst_secretleaks.moc"
