// TListingMonitor: the text of an empty list of names after each signal of the hub.
#include "console/window/TListingMonitor.h"
#include "hostimpl/Listing.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

using console::EHubSignal;
using hostimpl::EListing;

class TListingMonitorTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static void Send(console::TListingMonitor& monitor, EHubSignal hubSignal, int project = -1)
    {
        console::THubEvent event;
        event.signal = hubSignal;
        event.project = project;
        monitor.OnHubEvent(event);
    }

    static void List(console::TListingMonitor& monitor, const QVector<int>& projects)
    {
        for (const int project : projects) {
            Send(monitor, EHubSignal::eNewProjectFilesList, project);
        }
    }

private Q_SLOTS:
    void startsLoggedOut()
    {
        hostimpl::SetListing(EListing::eListed);
        const console::TListingMonitor monitor;
        QCOMPARE(hostimpl::CurrentListing(), EListing::eLoggedOut);
    }

    void isListedWhenEachProjectIsListed()
    {
        console::TListingMonitor monitor;
        Send(monitor, EHubSignal::eLoginInProgress);
        QCOMPARE(hostimpl::CurrentListing(), EListing::eLoggedOut);
        Send(monitor, EHubSignal::eLoggedIn);
        QCOMPARE(hostimpl::CurrentListing(), EListing::eNotListed);
        List(monitor, {0, 2, 3, 4, 4, 5});
        QCOMPARE(hostimpl::CurrentListing(), EListing::eNotListed);
        List(monitor, {6});
        QCOMPARE(hostimpl::CurrentListing(), EListing::eListed);
    }

    void takesListsThatComeBeforeTheLogin()
    {
        console::TListingMonitor monitor;
        Send(monitor, EHubSignal::eLoginInProgress);
        List(monitor, {0, 2, 3, 4, 5, 6});
        QCOMPARE(hostimpl::CurrentListing(), EListing::eLoggedOut);
        Send(monitor, EHubSignal::eLoggedIn);
        QCOMPARE(hostimpl::CurrentListing(), EListing::eListed);
    }

    void forgetsTheListsOfTheLastSession()
    {
        console::TListingMonitor monitor;
        Send(monitor, EHubSignal::eLoggedIn);
        List(monitor, {0, 2, 3, 4, 5, 6});
        Send(monitor, EHubSignal::eLoggedOut);
        QCOMPARE(hostimpl::CurrentListing(), EListing::eLoggedOut);
        Send(monitor, EHubSignal::eLoggedIn);
        QCOMPARE(hostimpl::CurrentListing(), EListing::eNotListed);
    }
};

KELVO_WIDGET_TEST_MAIN(TListingMonitorTest)
#include "tst_ListingMonitor.moc"
