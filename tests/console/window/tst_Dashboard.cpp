// TDashboard: the figures after the hub's signals and after a look at a list.
#include "console/window/TDashboard.h"
#include "hostimpl/Listing.h"
#include "hostimpl/TConfigStore.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <atomic>
#include <memory>

using console::EHubSignal;
using console::TDashboard;
using console::THomeState;

class TDashboardTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static constexpr int userItem = 24289;
    static constexpr int maps = 0;
    static constexpr int curves = 3;

    hostimpl::TConfigStore m_config;

    static console::TFolderFigures NoFolders(const std::atomic<bool>&) { return {}; }

    static void Send(TDashboard& dashboard, EHubSignal hubSignal)
    {
        console::THubEvent event;
        event.signal = hubSignal;
        dashboard.OnHubEvent(event);
    }

    static void List(TDashboard& dashboard, int project, const QList<long>& ids)
    {
        console::THubEvent event;
        event.signal = EHubSignal::eNewProjectFilesList;
        event.project = project;
        event.files = KelvoFileInfoList();
        for (const long id : ids) {
            event.files->fileIds << id;
            event.files->fileNames << QString::number(id);
        }
        dashboard.OnHubEvent(event);
    }

    void LogIn(TDashboard& dashboard, const QString& user)
    {
        m_config.SetItem(userItem, user, false);
        Send(dashboard, EHubSignal::eLoginInProgress);
        Send(dashboard, EHubSignal::eLoggedIn);
    }

private Q_SLOTS:
    void countsAsSeenWhatTheScreenListsInFull()
    {
        TDashboard dashboard(m_config, QString(), NoFolders);
        LogIn(dashboard, QStringLiteral("olga"));
        List(dashboard, maps, {1, 2});
        List(dashboard, curves, {3});
        QCOMPARE(dashboard.State({}).NewFiles(), 3);
        dashboard.OnNamesShown({QStringLiteral("1")});
        QCOMPARE(dashboard.State({}).NewFiles(), 3);
        dashboard.OnNamesShown({QStringLiteral("1"), QStringLiteral("2")});
        const THomeState state = dashboard.State({});
        QCOMPARE(state.service.at(maps)->isNew, 0);
        QCOMPARE(state.service.at(maps)->files, 2);
        QCOMPARE(state.service.at(curves)->isNew, 1);
    }

    void keepsFilesNewThatASearchHides()
    {
        TDashboard dashboard(m_config, QString(), NoFolders);
        LogIn(dashboard, QStringLiteral("karin"));
        List(dashboard, maps, {1, 2, 3});
        const QStringList names{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")};
        dashboard.OnNamesShown(names, {}, {1, 2});
        QCOMPARE(dashboard.NewFiles(), 2);
        dashboard.OnNamesShown(names, {}, {0, 2});
        QCOMPARE(dashboard.NewFiles(), 1);
    }

    // Each kind of files of a field may have the field's name.
    void tellsListsWithTheSameNamesApart()
    {
        const QString service = QStringLiteral("KELVO");
        const QStringList names{QStringLiteral("1")};
        TDashboard dashboard(m_config, QString(), NoFolders);
        LogIn(dashboard, QStringLiteral("lena"));
        List(dashboard, maps, {1});
        List(dashboard, curves, {1});
        dashboard.OnNamesShown(names,
                               {QStringLiteral("Curves"), QStringLiteral("Files to Upload")});
        dashboard.OnNamesShown(names, {QStringLiteral("Pivots"), service});
        QCOMPARE(dashboard.State({}).NewFiles(), 2);
        dashboard.OnNamesShown(names, {QStringLiteral("Curves"), service});
        QCOMPARE(dashboard.State({}).service.at(curves)->isNew, 0);
        QCOMPARE(dashboard.State({}).service.at(maps)->isNew, 1);
    }

    void tellsTheListsWhyTheyAreEmpty()
    {
        hostimpl::SetListing(hostimpl::EListing::eListed);
        TDashboard dashboard(m_config, QString(), NoFolders);
        QCOMPARE(hostimpl::CurrentListing(), hostimpl::EListing::eLoggedOut);
        LogIn(dashboard, QStringLiteral("olga"));
        QCOMPARE(hostimpl::CurrentListing(), hostimpl::EListing::eNotListed);
        for (const int project : {0, 2, 3, 4, 5, 6}) {
            List(dashboard, project, {});
        }
        QCOMPARE(hostimpl::CurrentListing(), hostimpl::EListing::eListed);
    }

    void showsNoFiguresOfAnEndedSession()
    {
        TDashboard dashboard(m_config, QString(), NoFolders);
        LogIn(dashboard, QStringLiteral("olga"));
        List(dashboard, maps, {1, 2});
        Send(dashboard, EHubSignal::eLoggedOut);
        THomeState state = dashboard.State({});
        QVERIFY(!state.isLoggedIn && !state.service.at(maps));
        LogIn(dashboard, QStringLiteral("olga"));
        state = dashboard.State({});
        QVERIFY(state.isLoggedIn && !state.service.at(maps));
    }

    void countsTheFoldersAgainWhenTheyMayHaveChanged()
    {
        const auto counts = std::make_shared<std::atomic<int>>(0);
        TDashboard dashboard(m_config, QString(), [counts](const std::atomic<bool>&) {
            console::TFolderFigures figures;
            figures.freeBytes = ++*counts;
            return figures;
        });
        const auto isCounted = [&](int count) { // at one moment: a second count is not yet due
            return QTest::qWaitFor(
                [&] {
                    const auto folders = dashboard.State({}).folders;
                    return folders && folders->freeBytes == count;
                },
                60000);
        };
        QVERIFY(isCounted(1));
        dashboard.RefreshFolders();
        QVERIFY(isCounted(2));
    }

    void keepsWhatEachUserHasSeen()
    {
        TDashboard dashboard(m_config, QString(), NoFolders);
        LogIn(dashboard, QStringLiteral("jan"));
        List(dashboard, maps, {5});
        dashboard.OnNamesShown({QStringLiteral("5")});
        QCOMPARE(dashboard.State({}).NewFiles(), 0);
        LogIn(dashboard, QStringLiteral("ines"));
        List(dashboard, maps, {5});
        QCOMPARE(dashboard.State({}).NewFiles(), 1);
    }
};

KELVO_WIDGET_TEST_MAIN(TDashboardTest)
#include "tst_Dashboard.moc"
