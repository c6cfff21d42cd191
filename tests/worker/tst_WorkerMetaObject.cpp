// The worker in Qt's meta-object system, and the effects of its constructor. Only the constructor
// registers the list types: this test does not.
#include "support/TestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/fakes/FakeKesdk.h"
#include "worker/TKelvoThreadObject.h"

#include "core/TKelvoInterface.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"

#include <QtCore/QTimer>
#include <QtTest/QtTest>

using fakes::Declarations;
using fakes::Lines;

class tst_WorkerMetaObject : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theConstructorRegistersTheListTypes();
    void theConstructorTouchesNothingElse();
    void signalsAreDeclaredInTheirOrder();
    void slotsAreDeclaredInTheirOrder();
    void signalsArePublicAndSlotsArePrivate();
    void theWorkerIsAThreadedObject();
};

void tst_WorkerMetaObject::theConstructorRegistersTheListTypes()
{
    QCOMPARE(QMetaType::type("KelvoFileTransferErrorDetailsList"), int(QMetaType::UnknownType));
    const hostimpl::TFedGPSCoordinator gps;
    const hostimpl::TFeatures features(hostimpl::TConfigStore::Process());
    const TKelvoThreadObject worker(&gps, features, QString());
    const int errors = QMetaType::type("KelvoFileTransferErrorDetailsList");
    const int files = QMetaType::type("KelvoFileInfoList");
    QVERIFY(errors != QMetaType::UnknownType);
    QVERIFY(files != QMetaType::UnknownType);
    QCOMPARE(errors, qMetaTypeId<QList<KelvoFileTransferErrorDetails>>());
    QCOMPARE(files, qMetaTypeId<KelvoFileInfoList>());
}

void tst_WorkerMetaObject::theConstructorTouchesNothingElse()
{
    fakes::FakeKesdk::Instance().Reset();
    const hostimpl::TFedGPSCoordinator gps;
    const hostimpl::TFeatures features(hostimpl::TConfigStore::Process());
    TKelvoThreadObject worker(&gps, features, QStringLiteral("Host"));
    QVERIFY(fakes::FakeKesdk::Instance().FactoryUrls().empty());
    QVERIFY(worker.findChildren<QTimer*>().isEmpty());
    QVERIFY(!worker.isRunning());
    QVERIFY(!worker.IsInitialised());
    QCOMPARE(worker.thread(), thread());
    QVERIFY(KelvoInterface == nullptr);
}

void tst_WorkerMetaObject::signalsAreDeclaredInTheirOrder()
{
    const QStringList expected = Lines(R"(
KelvoLoginInProgress()
KelvoLoggedIn()
KelvoLoginFailed(QString errorMsg)
KelvoLoggedOut()
PostLoginChecksInProgress()
PostLoginChecksComplete()
KelvoUserInboxSetupInProgress(int progress)
KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList createInboxFolderErrorList)
KelvoUploadingFile(int project, QString filename)
KelvoUploadComplete(int, KelvoFileTransferErrorDetailsList)
KelvoDownloadingFile(int project, QString filename)
KelvoDownloadComplete(int, KelvoFileTransferErrorDetailsList)
NewKelvoProjectFilesList(int, KelvoFileInfoList)
KelvoDeletingFile(int project, QString filename)
KelvoDeleteComplete(int project, KelvoFileTransferErrorDetailsList)
)");
    QCOMPARE(Declarations(TKelvoThreadObject::staticMetaObject, QMetaMethod::Signal), expected);
}

void tst_WorkerMetaObject::slotsAreDeclaredInTheirOrder()
{
    const QStringList expected = Lines(R"(
OnLoginToKelvo()
OnCancelLoginToKelvo()
OnLogoutFromKelvo()
OnUploadToKelvo(int toProject, QStringList fileNamesToUpload)
OnDownloadFromKelvo(int fromProject, QStringList fileNamesToDownload, KelvoFileInfoList referenceFileInfoList)
OnDeleteFromKelvo(int fromProject, QStringList filesToDelete, KelvoFileInfoList referenceFileInfoList)
OnGPSLost(bool isLost)
OnShareCurrentLocationWithKelvo()
KelvoNotLoggedIn()
KelvoLoginSuccessful()
OnKelvoLoginFailed()
OnFileModifiedInUserInbox(long fileId, ulong userInboxId)
OnFileModifiedInProjectInbox(long fileId, ulong projectInboxId)
)");
    QCOMPARE(Declarations(TKelvoThreadObject::staticMetaObject, QMetaMethod::Slot), expected);
}

void tst_WorkerMetaObject::signalsArePublicAndSlotsArePrivate()
{
    const QMetaObject& meta = TKelvoThreadObject::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        QCOMPARE(method.access(), method.methodType() == QMetaMethod::Signal
                                      ? QMetaMethod::Public
                                      : QMetaMethod::Private);
    }
}

void tst_WorkerMetaObject::theWorkerIsAThreadedObject()
{
    QCOMPARE(TKelvoThreadObject::staticMetaObject.superClass(), &TThreadedObject::staticMetaObject);
    QCOMPARE(TKelvoThreadObject::staticMetaObject.className(), "TKelvoThreadObject");
}

KELVO_TEST_MAIN(tst_WorkerMetaObject)
#include "tst_WorkerMetaObject.moc"
