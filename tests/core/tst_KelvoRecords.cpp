// The value types: their numbers, their defaults, and their transfer between threads.
#include "core/KelvoRecords.h"
#include "core/TKelvoInterface.h"
#include "support/TestMain.h"

#include <QtCore/QThread>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <type_traits>

class tst_KelvoRecords : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theSevenKindsHaveTheirNumbers();
    void theRecordsHaveTheirFieldsInOrder();
    void aDefaultListIsEmpty();
    void aNameThatOccursTwiceKeepsBothEntries();
    void theListTypesHaveTheirRegisteredNames();
    void aFileListArrivesIntactOnAnotherThread();
    void anErrorListArrivesIntactOnAnotherThread();
};

namespace {

// Keeps the last arguments and the thread that received them.
class TReceiver : public QObject
{
public:
    void TakeFiles(int project, const KelvoFileInfoList& files)
    {
        m_project = project;
        m_files = files;
        m_thread = QThread::currentThread();
    }
    void TakeErrors(int project, const KelvoFileTransferErrorDetailsList& errors)
    {
        m_project = project;
        m_errors = errors;
        m_thread = QThread::currentThread();
    }

    int m_project = -1;
    KelvoFileInfoList m_files;
    KelvoFileTransferErrorDetailsList m_errors;
    QThread* m_thread = nullptr;
};

} // namespace

void tst_KelvoRecords::initTestCase()
{
    qRegisterMetaType<QList<KelvoFileTransferErrorDetails>>("KelvoFileTransferErrorDetailsList");
    qRegisterMetaType<KelvoFileInfoList>("KelvoFileInfoList");
}

void tst_KelvoRecords::theSevenKindsHaveTheirNumbers()
{
    QCOMPARE(int(ePrescriptionMaps), 0);
    QCOMPARE(int(eJobReports), 1);
    QCOMPARE(int(eABLines), 2);
    QCOMPARE(int(eCurves), 3);
    QCOMPARE(int(ePivots), 4);
    QCOMPARE(int(eOptimalLines), 5);
    QCOMPARE(int(eProjectLines), 6);
    QCOMPARE(KELVO_PROJECT_COUNT, 7);
}

void tst_KelvoRecords::theRecordsHaveTheirFieldsInOrder()
{
    QVERIFY(std::is_class<KelvoFileInfoList>::value);
    QVERIFY((std::is_same<decltype(KelvoFileInfoList::fileIds), QList<long>>::value));
    QVERIFY((std::is_same<decltype(KelvoFileInfoList::fileNames), QStringList>::value));
    QVERIFY((std::is_same<KelvoFileTransferErrorDetailsList,
                          QList<KelvoFileTransferErrorDetails>>::value));
    // The record holds only the two lists, ids first.
    QCOMPARE(offsetof(KelvoFileInfoList, fileIds), std::size_t(0));
    QCOMPARE(offsetof(KelvoFileInfoList, fileNames), sizeof(QList<long>));
    QCOMPARE(sizeof(KelvoFileInfoList), sizeof(QList<long>) + sizeof(QStringList));
    QCOMPARE(offsetof(KelvoFileTransferErrorDetails, fileName), std::size_t(0));
    QCOMPARE(offsetof(KelvoFileTransferErrorDetails, errorMsg), sizeof(QString));
}

void tst_KelvoRecords::aDefaultListIsEmpty()
{
    const KelvoFileInfoList list;
    QVERIFY(list.fileIds.isEmpty());
    QVERIFY(list.fileNames.isEmpty());
    const KelvoFileTransferErrorDetails error;
    QVERIFY(error.fileName.isEmpty());
    QVERIFY(error.errorMsg.isEmpty());
}

void tst_KelvoRecords::aNameThatOccursTwiceKeepsBothEntries()
{
    TKelvoInterface hub;
    KelvoFileInfoList list;
    list.fileIds = {11L, 12L};
    list.fileNames = QStringList{QStringLiteral("a.zip"), QStringLiteral("a.zip")};
    hub.OnNewKelvoProjectFilesList(eCurves, list);
    const KelvoFileInfoList kept = hub.GetKelvoProjectFilesList(eCurves);
    QCOMPARE(kept.fileIds, (QList<long>{11L, 12L}));
    QCOMPARE(kept.fileNames.size(), kept.fileIds.size());
}

void tst_KelvoRecords::theListTypesHaveTheirRegisteredNames()
{
    QCOMPARE(QMetaType::type("KelvoFileTransferErrorDetailsList"),
             qMetaTypeId<QList<KelvoFileTransferErrorDetails>>());
    QCOMPARE(QMetaType::type("KelvoFileInfoList"), qMetaTypeId<KelvoFileInfoList>());
}

void tst_KelvoRecords::aFileListArrivesIntactOnAnotherThread()
{
    TKelvoInterface hub;
    QThread thread;
    TReceiver receiver;
    receiver.moveToThread(&thread);
    connect(&hub, &TKelvoInterface::NewKelvoProjectFilesList, &receiver, &TReceiver::TakeFiles,
            Qt::QueuedConnection);
    thread.start();

    KelvoFileInfoList list;
    list.fileIds = {1L, -5L, 2147483647L};
    list.fileNames = QStringList{QStringLiteral("a.zip"), QString(), QStringLiteral("Ä b.zip")};
    hub.OnNewKelvoProjectFilesList(ePivots, list);
    hub.OnNewKelvoProjectFilesList(ePivots, list);
    QMetaObject::invokeMethod(
        &receiver, [&thread] { thread.quit(); }, Qt::QueuedConnection);
    QVERIFY(thread.wait(30000));

    QCOMPARE(receiver.m_project, int(ePivots));
    QCOMPARE(receiver.m_files.fileIds, list.fileIds);
    QCOMPARE(receiver.m_files.fileNames, list.fileNames);
    QCOMPARE(receiver.m_thread, &thread);
}

void tst_KelvoRecords::anErrorListArrivesIntactOnAnotherThread()
{
    TKelvoInterface hub;
    QThread thread;
    TReceiver receiver;
    receiver.moveToThread(&thread);
    // A connection by text, like those of the host and the screens, needs the registered name.
    QSignalSpy spy(&hub, SIGNAL(KelvoUploadComplete(int, KelvoFileTransferErrorDetailsList)));
    QVERIFY(spy.isValid());
    connect(&hub, &TKelvoInterface::KelvoUploadComplete, &receiver, &TReceiver::TakeErrors,
            Qt::QueuedConnection);
    thread.start();

    KelvoFileTransferErrorDetailsList errors;
    errors.append({QStringLiteral("a.zip"), QStringLiteral("lost")});
    errors.append({QString(), QStringLiteral("two\nlines")});
    hub.OnKelvoUploadComplete(eABLines, errors);
    QMetaObject::invokeMethod(
        &receiver, [&thread] { thread.quit(); }, Qt::QueuedConnection);
    QVERIFY(thread.wait(30000));

    QCOMPARE(spy.count(), 1);
    QCOMPARE(receiver.m_project, int(eABLines));
    QCOMPARE(receiver.m_errors.size(), 2);
    QCOMPARE(receiver.m_errors[0].fileName, QStringLiteral("a.zip"));
    QCOMPARE(receiver.m_errors[0].errorMsg, QStringLiteral("lost"));
    QCOMPARE(receiver.m_errors[1].fileName, QString());
    QCOMPARE(receiver.m_errors[1].errorMsg, QStringLiteral("two\nlines"));
    QCOMPARE(receiver.m_thread, &thread);
}

KELVO_TEST_MAIN(tst_KelvoRecords)
#include "tst_KelvoRecords.moc"
