// The dialogs of an operation under random schedules: touches and Back around the worker's report
// of the end. The console must never be left with a dialog without a way out.
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include <QtTest/QtTest>

#include <random>

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr int SCHEDULES = 500; // the sanitizer takes 13 ms for each
#else
constexpr int SCHEDULES = 5000;
#endif

enum class EOperation : int { eDownload = 0, eUpload, eDelete };

QStringList Names()
{
    return {QStringLiteral("a.zip"), QStringLiteral("b.zip")};
}

// The file controller, and a worker that reports through the event queue as the real worker does.
class TSchedule
{
public:
    TSchedule()
    {
        m_f.Hub().OnNewKelvoProjectFilesList(eCurves, ListingOf(Names()));
        m_f.SetUp(true);
        m_f.Show();
    }

    // Plays a schedule. Returns what is wrong at its end.
    QString Play(unsigned seed);

    int lateCancels = 0;       // a press of Cancel when the end was reported already
    int hiddenCancellings = 0; // Back on a dialog without an enabled button

private:
    int Number(int count) { return std::uniform_int_distribution<int>(0, count - 1)(m_random); }
    void Start();
    void Step();
    void Touch(TMessageDialog::EMessageDialogButton button);
    void GoBack();
    void ReportTheEnd();
    TMessageDialog& Dialog()
    {
        return m_operation == EOperation::eDelete ? m_f.Deletion() : m_f.Transfer();
    }
    QString WhatIsWrong();

    TControllerFixture m_f;
    std::mt19937 m_random;
    EOperation m_operation = EOperation::eDownload;
    bool m_isReported = false;
};

QString TSchedule::Play(unsigned seed)
{
    m_random.seed(seed);
    Start();
    for (int step = Number(8); step > 0; --step)
        Step();
    ReportTheEnd();
    for (int step = Number(4); step > 0; --step)
        Step();
    QCoreApplication::sendPostedEvents();
    return WhatIsWrong();
}

void TSchedule::Start()
{
    m_isReported = false;
    m_operation = EOperation(Number(3));
    switch (m_operation) {
    case EOperation::eDownload:
        m_f.controller->DownloadFilesFromKelvo(eManageCurves, Names());
        break;
    case EOperation::eUpload:
        m_f.controller->UploadFilesToKelvo(eManageCurves, Names());
        break;
    case EOperation::eDelete:
        m_f.controller->DeletedFilesDownloadableFromKelvo(eManageCurves, Names());
        break;
    }
}

void TSchedule::Step()
{
    switch (Number(6)) {
    case 0:
    case 1:
        Touch(TMessageDialog::eButton1);
        break;
    case 2:
        Touch(TMessageDialog::eButton0);
        break;
    case 3:
        GoBack();
        break;
    case 4:
        ReportTheEnd();
        break;
    default:
        QCoreApplication::sendPostedEvents();
    }
}

void TSchedule::Touch(TMessageDialog::EMessageDialogButton button)
{
    TPushButton* const touched = Dialog().GetMessageDialogButton(button);
    if (Dialog().isVisible() && touched->isEnabled()) {
        lateCancels += button == TMessageDialog::eButton1 && m_isReported;
        touched->click();
    }
}

void TSchedule::GoBack()
{
    if (Dialog().isVisible()) {
        const bool isLocked = TControllerFixture::StateOf(Dialog()) == QLatin1String("cancelling");
        Dialog().OnBackPressed();
        hiddenCancellings += isLocked && !Dialog().isVisible();
    }
}

void TSchedule::ReportTheEnd()
{
    if (m_isReported)
        return;
    m_isReported = true;
    static constexpr const char* SLOTS[] = {"OnKelvoDownloadComplete", "OnKelvoUploadComplete",
                                            "OnKelvoDeleteComplete"};
    QVERIFY(QMetaObject::invokeMethod(
        &m_f.Hub(), SLOTS[int(m_operation)], Qt::QueuedConnection, Q_ARG(int, eCurves),
        Q_ARG(KelvoFileTransferErrorDetailsList, KelvoFileTransferErrorDetailsList())));
}

// A dialog that is still open must have a way out that works.
QString TSchedule::WhatIsWrong()
{
    if (m_f.Hub().IsKelvoFileOperationInProgress())
        return QStringLiteral("the hub is still busy");
    if (Dialog().isVisible()) {
        const QString state = TControllerFixture::StateOf(Dialog());
        if (state != QLatin1String("finished"))
            return QStringLiteral("the dialog is left %1").arg(state);
        Press(Dialog(), TMessageDialog::eButton0);
    }
    QCoreApplication::sendPostedEvents();
    if (!hostimpl::OpenPopups().isEmpty())
        return QStringLiteral("a dialog stays open");
    return hostimpl::IsBlocked(*m_f.controller) ? QStringLiteral("the screen stays blocked")
                                                : QString();
}

} // namespace

class tst_CancelSchedules : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void everyScheduleEndsWithAWayOut();
};

void tst_CancelSchedules::everyScheduleEndsWithAWayOut()
{
    TSchedule schedule;
    for (unsigned seed = 1; seed <= unsigned(SCHEDULES); ++seed) {
        const QString wrong = schedule.Play(seed);
        QVERIFY2(wrong.isEmpty(), qPrintable(QStringLiteral("seed %1: %2").arg(seed).arg(wrong)));
    }
    qInfo("%d late cancels, %d dialogs hidden by Back", schedule.lateCancels,
          schedule.hiddenCancellings);
    QVERIFY(schedule.lateCancels > SCHEDULES / 50);
    QVERIFY(schedule.hiddenCancellings > SCHEDULES / 100);
}

KELVO_WIDGET_TEST_MAIN(tst_CancelSchedules)
#include "tst_CancelSchedules.moc"
