// The host writes the password into no file, message or error text.
#include "host/ConfigManager.h"
#include "host/TFileSizeLimit.h"
#include "host/framework/TSealedFixture.h"
#include "hostimpl/HostSetup.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QMutex>

using hostimpl::TConfigStore;
using kelvo::test::ContainsPassword;
using kelvo::test::passwordItem;
using kelvo::test::ReadFile;
using kelvo::test::TFileSizeLimit;
using kelvo::test::TSealedFixture;
using kelvo::test::WriteFile;

namespace {

// Records all messages of this process during its lifetime.
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
    void writesThePasswordNowhere_data();
    void writesThePasswordNowhere();
};

void tst_SecretLeaks::writesThePasswordNowhere_data()
{
    QTest::addColumn<QByteArray>("oldFile");
    QTest::addColumn<QByteArray>("oldKey");
    QTest::addColumn<bool>("isKeyAFolder");
    QTest::addColumn<int>("room"); // bytes that a file may have at first, -1 for any
    QTest::addColumn<QByteArray>("log");
    const QByteArray plain = TSealedFixture::PlainFile();
    const QByteArray cutOff = plain.left(plain.indexOf("Quill") + 5);
    const QByteArray bad = QByteArray(plain).replace("\"QString\"", "\"TNone\"");
    const auto row = [](const char* name, const QByteArray& oldFile, const QByteArray& oldKey,
                        bool isKeyAFolder, int room, const char* log) {
        QTest::newRow(name) << oldFile << oldKey << isKeyAFolder << room << QByteArray(log);
    };
    row("no file", {}, {}, false, -1, "");
    row("plain", plain, {}, false, -1, "");
    row("plain, invalid key", plain, "short", false, -1, "");
    row("plain, cut off", cutOff, {}, false, -1, "is not valid");
    row("plain, invalid", bad, {}, false, -1, "is not valid");
    row("no room for a file", {}, {}, false, 0, "cannot be written");
    row("no key", {}, {}, true, -1, "no regular file");
}

void tst_SecretLeaks::writesThePasswordNowhere()
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
        QVERIFY(hostimpl::SetUpHost(f.folder.path(), errorText)); // as after a restart
        messages = TMessages::All();
    }
    QVERIFY2(messages.contains(log), messages.constData());
    QVERIFY2(!ContainsPassword(messages), messages.constData());
    QVERIFY(!ContainsPassword(errorText.toUtf8()));
    QCOMPARE(f.FilesWithPassword(), QStringList());
    QVERIFY(ReadFile(f.Path()).contains("43")); // the file was written
    QCOMPARE(ConfigManager::Instance().GetItem(passwordItem).isValid(), !isKeyAFolder);
}

KELVO_TEST_MAIN(tst_SecretLeaks)
#include "tst_secretleaks.moc"
