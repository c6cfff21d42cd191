// TServiceFiles: the listed files after each signal of the hub.
#include "console/window/TServiceFiles.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

using console::EHubSignal;
using hostimpl::EListing;

class TServiceFilesTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static void Send(console::TServiceFiles& files, EHubSignal hubSignal, int project = -1)
    {
        console::THubEvent event;
        event.signal = hubSignal;
        event.project = project;
        files.OnHubEvent(event);
    }

    static void List(console::TServiceFiles& files, const QVector<int>& projects)
    {
        for (const int project : projects) {
            Send(files, EHubSignal::eNewProjectFilesList, project);
        }
    }

private Q_SLOTS:
    void startsLoggedOut()
    {
        const console::TServiceFiles files;
        QCOMPARE(files.Listing(), EListing::eLoggedOut);
    }

    void showsListedWhenEachProjectIsListed()
    {
        console::TServiceFiles files;
        Send(files, EHubSignal::eLoginInProgress);
        QCOMPARE(files.Listing(), EListing::eLoggedOut);
        Send(files, EHubSignal::eLoggedIn);
        QCOMPARE(files.Listing(), EListing::eNotListed);
        List(files, {0, 2, 3, 4, 4, 5});
        QCOMPARE(files.Listing(), EListing::eNotListed);
        List(files, {6});
        QCOMPARE(files.Listing(), EListing::eListed);
    }

    void takesListsThatComeBeforeTheLogin()
    {
        console::TServiceFiles files;
        Send(files, EHubSignal::eLoginInProgress);
        List(files, {0, 2, 3, 4, 5, 6});
        QCOMPARE(files.Listing(), EListing::eLoggedOut);
        Send(files, EHubSignal::eLoggedIn);
        QCOMPARE(files.Listing(), EListing::eListed);
    }

    void forgetsTheListsOfTheLastSession()
    {
        console::TServiceFiles files;
        Send(files, EHubSignal::eLoggedIn);
        List(files, {0, 2, 3, 4, 5, 6});
        Send(files, EHubSignal::eLoggedOut);
        QCOMPARE(files.Listing(), EListing::eLoggedOut);
        Send(files, EHubSignal::eLoggedIn);
        QCOMPARE(files.Listing(), EListing::eNotListed);
    }
};

KELVO_WIDGET_TEST_MAIN(TServiceFilesTest)
#include "tst_ServiceFiles.moc"
