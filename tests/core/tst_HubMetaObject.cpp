// The hub in Qt's meta-object system. The host and the screens connect by these texts, and the
// order is part of the contract.
#include "core/TKelvoInterface.h"
#include "support/TestMain.h"
#include "tests/fakes/Declarations.h"

#include <QtTest/QtTest>

class tst_HubMetaObject : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void signalsAreDeclaredInTheirOrder();
    void slotsAreDeclaredInTheirOrder();
    void derivesFromQObjectOnly();
};

using fakes::Declarations;
using fakes::Lines;

void tst_HubMetaObject::signalsAreDeclaredInTheirOrder()
{
    const QStringList expected = Lines(R"(
KelvoLoginRequested()
KelvoCancelLoginRequested()
KelvoLogoutRequested()
KelvoUploadRequested(int toProject, QStringList fileNamesToUpload)
KelvoDownloadRequested(int fromProject, QStringList fileNamesToDownload, KelvoFileInfoList referenceFileInfoList)
KelvoDeleteFilesRequested(int fromProject, QStringList fileNamesToDelete, KelvoFileInfoList referenceFileInfoList)
KelvoLoginInProgress()
KelvoLoggedIn()
KelvoLoggedOut()
KelvoLoginFailed(QString errorMsg)
KelvoUploadingFile(int project, QString filename)
KelvoUploadComplete(int project, KelvoFileTransferErrorDetailsList)
KelvoDownloadingFile(int project, QString filename)
KelvoDownloadComplete(int project, KelvoFileTransferErrorDetailsList)
KelvoFileOperationInProgress()
KelvoFileOperationComplete()
NewKelvoProjectFilesList(int project, KelvoFileInfoList newFileList)
KelvoDeletingFile(int project, QString filename)
KelvoDeleteComplete(int project, KelvoFileTransferErrorDetailsList)
KelvoUserInboxSetupInProgress(int progress)
KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList userInboxSetupErrors)
)");
    QCOMPARE(Declarations(TKelvoInterface::staticMetaObject, QMetaMethod::Signal), expected);
}

void tst_HubMetaObject::slotsAreDeclaredInTheirOrder()
{
    const QStringList expected = Lines(R"(
OnLoggingIntoKelvo()
OnLoggedIntoKelvo()
OnLoggedOutOfKelvo()
OnLoginToKelvoFailed(QString errorMsg)
OnKelvoUploadComplete(int project, KelvoFileTransferErrorDetailsList errorList)
OnKelvoDownloadComplete(int project, KelvoFileTransferErrorDetailsList errorList)
OnNewKelvoProjectFilesList(int project, KelvoFileInfoList newFileList)
OnKelvoDeleteComplete(int project, KelvoFileTransferErrorDetailsList errorList)
OnPostLoginChecksInProgress()
OnPostLoginChecksComplete()
OnKelvoUserInboxSetupInProgress(int progress)
OnKelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList userInboxSetupErrors)
)");
    QCOMPARE(Declarations(TKelvoInterface::staticMetaObject, QMetaMethod::Slot), expected);
}

void tst_HubMetaObject::derivesFromQObjectOnly()
{
    QCOMPARE(TKelvoInterface::staticMetaObject.superClass(), &QObject::staticMetaObject);
    QCOMPARE(TKelvoInterface::staticMetaObject.className(), "TKelvoInterface");
    const TKelvoInterface hub;
    QVERIFY(hub.parent() == nullptr);
}

KELVO_TEST_MAIN(tst_HubMetaObject)
#include "tst_HubMetaObject.moc"
