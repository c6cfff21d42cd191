// The configuration store in a read-only folder.
#include "hostimpl/TConfigStore.h"

#include "host/FolderImage.h"
#include "host/framework/TBoundByModes.h"
#include "support/Needs.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>

#include <memory>

using hostimpl::TConfigStore;
using kelvo::test::ReadFile;

namespace {

constexpr int firstItem = 5001;
constexpr int secondItem = 5002;
constexpr QFile::Permissions readable = QFile::ReadOwner | QFile::ExeOwner;

class TLogRecorder final : public UserLogAccessor
{
public:
    void Write(int, int, int, const QString&, const QString& message) override
    {
        messages << message;
    }
    QStringList messages;
};

} // namespace

class tst_ConfigStoreReadOnly : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void reportsAFailedWriteOnceAndWritesLater();
};

void tst_ConfigStoreReadOnly::reportsAFailedWriteOnceAndWritesLater()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("console.json"));
    const auto log = std::make_shared<TLogRecorder>();
    TConfigStore store;
    store.SetUserLogAccessor(log);
    QCOMPARE(store.Open(path), QString());
    store.SetItem(firstItem, QStringLiteral("old"), true);
    const QByteArray before = ReadFile(path);
    QVERIFY(!before.isEmpty());

    const TBoundByModes bound;
    QVERIFY(QFile::setPermissions(folder.path(), readable));
    const bool isForbidden = !QFile(folder.filePath(QStringLiteral("any"))).open(QFile::WriteOnly);
    if (isForbidden) {
        const kelvo::test::TExpectedMessage warned(QStringLiteral("cannot be written"));
        store.SetItem(firstItem, QStringLiteral("new"), true);
        store.SetItem(secondItem, QStringLiteral("other"), true);
        QCOMPARE(warned.Count(), 2);
        QCOMPARE(store.Flush(), EACCES);
    }
    QVERIFY(QFile::setPermissions(folder.path(), readable | QFile::WriteOwner));
    KELVO_NEEDS(bound.IsBound() && isForbidden, "leave for root to be bound by modes");

    QCOMPARE(store.GetItem(firstItem).toString(), QStringLiteral("new"));
    QCOMPARE(ReadFile(path), before);
    QCOMPARE(log->messages.size(), 1);
    QVERIFY(log->messages.first().contains(path));

    // The next write includes the items that were not written before.
    QCOMPARE(store.Flush(), 0);
    TConfigStore next;
    QCOMPARE(next.Open(path), QString());
    QCOMPARE(next.GetItem(firstItem).toString(), QStringLiteral("new"));
    QCOMPARE(next.GetItem(secondItem).toString(), QStringLiteral("other"));
}

KELVO_TEST_MAIN(tst_ConfigStoreReadOnly)
#include "tst_configstore_readonly.moc"
