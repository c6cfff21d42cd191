// TOperation: the end of an operation and its result.
#include "console/headless/TOperation.h"
#include "support/TestMain.h"

using console::EHubSignal;
using console::EVerb;
using console::THubEvent;
using console::TOperation;

namespace {

TOperation Operation(EVerb verb, bool wasLoggedIn = false)
{
    console::TCommand command;
    command.verb = verb;
    return TOperation(command, wasLoggedIn);
}

THubEvent Event(EHubSignal signal)
{
    THubEvent event;
    event.signal = signal;
    return event;
}

THubEvent Errors(EHubSignal signal, const KelvoFileTransferErrorDetailsList& errors)
{
    THubEvent event = Event(signal);
    event.errors = errors;
    return event;
}

THubEvent List(int project)
{
    THubEvent event = Event(EHubSignal::eNewProjectFilesList);
    event.project = project;
    event.files = KelvoFileInfoList();
    return event;
}

const KelvoFileTransferErrorDetailsList oneError = {
    {QStringLiteral("a.zip"), QStringLiteral("why")}};

} // namespace

class TOperationTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void loginEndsWithTheSixthList()
    {
        TOperation login = Operation(EVerb::eLogin);
        login.Follow(List(0)); // from an earlier session
        login.Follow(Event(EHubSignal::eLoggedIn));
        for (const int project : {0, 2, 3, 4, 5, 5}) {
            login.Follow(List(project));
            QVERIFY(!login.HasEnded());
        }
        QVERIFY(login.Missing().contains(QStringLiteral("5 of 6")));
        login.Follow(List(6));
        QVERIFY(login.HasEnded());
        QCOMPARE(login.Failure(), QString());
    }

    void loginEndsWhenTheInboxesAreSetUp()
    {
        TOperation login = Operation(EVerb::eLogin);
        login.Follow(Event(EHubSignal::eLoggedIn));
        login.Follow(Event(EHubSignal::eUserInboxSetupInProgress));
        login.Follow(Event(EHubSignal::eFileOperationComplete));
        QVERIFY(!login.HasEnded());
        login.Follow(Errors(EHubSignal::eUserInboxSetupComplete, {}));
        QVERIFY(login.HasEnded() && login.Failure().isEmpty());
    }

    void loginFailsIfTheInboxesAreNotSetUp()
    {
        TOperation login = Operation(EVerb::eLogin);
        login.Follow(Event(EHubSignal::eLoggedIn));
        login.Follow(Errors(EHubSignal::eUserInboxSetupComplete, oneError));
        QCOMPARE(login.Failure(), QStringLiteral("1 error: a.zip: why"));
    }

    void loginFailsWithTheHubsReasonOrADefaultText()
    {
        THubEvent failed = Event(EHubSignal::eLoginFailed);
        failed.message = QStringLiteral("what\nto do");
        TOperation login = Operation(EVerb::eLogin);
        login.Follow(failed);
        QCOMPARE(login.Failure(), QStringLiteral("what\\nto do"));

        failed.message = QString();
        TOperation silent = Operation(EVerb::eLogin);
        silent.Follow(failed);
        QCOMPARE(silent.Failure(), QStringLiteral("login failed"));
    }

    void loginFailsWhenTheSessionEnds()
    {
        TOperation login = Operation(EVerb::eLogin);
        login.Follow(Event(EHubSignal::eLoggedOut)); // from an earlier session
        QVERIFY(!login.HasEnded());
        login.Follow(Event(EHubSignal::eLoggedIn));
        login.Follow(Event(EHubSignal::eLoggedOut));
        QVERIFY(login.HasEnded() && !login.Failure().isEmpty());
    }

    void loginWhileLoggedInEndsWithLoggedIn()
    {
        TOperation login = Operation(EVerb::eLogin, true);
        login.Follow(Event(EHubSignal::eLoggedIn));
        QVERIFY(login.HasEnded() && login.Failure().isEmpty());
    }

    void otherOperationsEndWithTheirCompletion_data()
    {
        QTest::addColumn<int>("verb");
        QTest::addColumn<int>("signal");
        const auto row = [](const char* name, EVerb verb, EHubSignal signal) {
            QTest::newRow(name) << static_cast<int>(verb) << static_cast<int>(signal);
        };
        row("logout", EVerb::eLogout, EHubSignal::eLoggedOut);
        row("upload", EVerb::eUpload, EHubSignal::eUploadComplete);
        row("download", EVerb::eDownload, EHubSignal::eDownloadComplete);
        row("delete", EVerb::eDelete, EHubSignal::eDeleteComplete);
    }

    void otherOperationsEndWithTheirCompletion()
    {
        QFETCH(int, verb);
        QFETCH(int, signal);
        for (int i = 0; i < console::hubSignalCount; ++i) {
            TOperation operation = Operation(static_cast<EVerb>(verb));
            operation.Follow(Errors(static_cast<EHubSignal>(i), {}));
            QCOMPARE(operation.HasEnded(), i == signal);
            QCOMPARE(operation.Failure(), QString());
        }
        TOperation operation = Operation(static_cast<EVerb>(verb));
        operation.Follow(Errors(static_cast<EHubSignal>(signal), oneError));
        operation.Follow(Errors(static_cast<EHubSignal>(signal), {})); // the result stays
        QCOMPARE(operation.Failure(), QStringLiteral("1 error: a.zip: why"));
    }
};

KELVO_TEST_MAIN(TOperationTest)
#include "tst_Operation.moc"
