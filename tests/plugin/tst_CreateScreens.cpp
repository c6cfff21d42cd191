// The screens that the plug-in registers with the window manager.
#include "support/WidgetTestMain.h"
#include "tests/plugin/TPluginFixture.h"

#include "plugin/TKelvoDll.h"
#include "screens/TKelvoFullView.h"
#include "screens/TKelvoMiniView.h"

#include <QtCore/QPointer>
#include <QtTest/QtTest>

#include <memory>

class tst_CreateScreens : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void registersAMiniViewAndAFullView();
    void theToolTipIsTranslatedForAll();
    void registersAndRemovesWithTheSameIdentifier();
    void theMiniViewReadsTheLatestUserLevels();
    void theScreensAreDeletedBeforeTheHub();
};

namespace {

// Keeps the surfaces and destroys them on removal, as the contract requires.
class TKeepingManager final : public TWindowManagerApi
{
public:
    TKeepingManager() { hostimpl::SetWindowManager(this); }
    ~TKeepingManager() override { hostimpl::SetWindowManager(nullptr); }

    void AddWindowSurfaces(const ZRA::OrvaleID& application,
                           const QList<ZRA::AppWindowSurface*>& miniSurfaces,
                           ZRA::AppWindowSurface* fullSurface,
                           ZRA::AppWindowSurface* furtherSurface) override
    {
        identities << application.Uuid();
        miniViews = miniSurfaces;
        fullView = fullSurface;
        further = furtherSurface;
        ++additions;
    }
    void RemoveWindowSurfaces(const ZRA::OrvaleID& application) override
    {
        identities << application.Uuid();
        wasHubThere = KelvoInterface != nullptr;
        qDeleteAll(miniViews);
        miniViews.clear();
        delete fullView;
        fullView = nullptr;
    }
    void SetSurfaceToolTip(const ZRA::OrvaleID& application, const QString& text) override
    {
        identities << application.Uuid();
        toolTip = text;
    }

    QList<QUuid> identities;
    QList<ZRA::AppWindowSurface*> miniViews;
    ZRA::AppWindowSurface* fullView = nullptr;
    ZRA::AppWindowSurface* further = nullptr;
    QString toolTip;
    int additions = 0;
    bool wasHubThere = false;
};

class TTagging : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* sourceText, const char* disambiguation,
                      int) const override
    {
        return QStringLiteral("%1|%2|%3")
            .arg(QString::fromLatin1(context), QString::fromLatin1(disambiguation),
                 QString::fromLatin1(sourceText));
    }
};

const QUuid IDENTITY(QStringLiteral("9e5b9e35-77b2-4f19-acaa-5ce817b88895"));

struct TScreensFixture : TPluginFixture
{
    TScreensFixture() : manager(std::make_unique<TKeepingManager>())
    {
        // The panel writes to the configuration in its constructor.
        hostimpl::TConfigStore& store = hostimpl::TConfigStore::Process();
        store.Open(folder.Path(QStringLiteral("console.json")));
        store.SetItem(24289, QStringLiteral("olga"), false);
        store.SetItem(24290, QStringLiteral("secret"), false);
    }
    ~TScreensFixture() { Finalise(); } // before the manager is destroyed

    std::unique_ptr<TKeepingManager> manager;
};

} // namespace

void tst_CreateScreens::registersAMiniViewAndAFullView()
{
    TScreensFixture f;
    f.Initialise();
    QCOMPARE(f.manager->additions, 0);
    dll->CreateScreens();
    QCOMPARE(f.manager->additions, 1);
    QCOMPARE(f.manager->miniViews.size(), 1);
    QVERIFY(qobject_cast<TKelvoMiniView*>(f.manager->miniViews[0]));
    QVERIFY(qobject_cast<TKelvoFullView*>(f.manager->fullView));
    QVERIFY(f.manager->further == nullptr);
    QVERIFY(f.manager->miniViews[0]->parent() == nullptr);
    QVERIFY(f.manager->fullView->parent() == nullptr);
    QVERIFY(!f.manager->fullView->IsSetUp());
    QCOMPARE(f.manager->toolTip, QStringLiteral("KELVO Application"));
}

void tst_CreateScreens::theToolTipIsTranslatedForAll()
{
    TScreensFixture f;
    f.Initialise();
    TTagging translator;
    QCoreApplication::installTranslator(&translator);
    dll->CreateScreens();
    QCoreApplication::removeTranslator(&translator);
    QCOMPARE(f.manager->toolTip, QStringLiteral("QObject|ToolTip|KELVO Application"));
}

void tst_CreateScreens::registersAndRemovesWithTheSameIdentifier()
{
    TScreensFixture f;
    f.Initialise();
    dll->CreateScreens();
    Finalise();
    QCOMPARE(f.manager->identities, (QList<QUuid>{IDENTITY, IDENTITY, IDENTITY}));
}

void tst_CreateScreens::theMiniViewReadsTheLatestUserLevels()
{
    TScreensFixture f;
    hostimpl::TConfigStore others;
    hostimpl::TUserLevels denying(others);
    denying.SetControlAccessible(TAppUserLevels::eKelvoControl, false);
    f.Initialise();
    ::Initialise(nullptr, &f.gps, QStringLiteral("Host 1.0"), &denying, &f.features);
    dll->CreateScreens();
    QVERIFY(!f.manager->miniViews[0]->IsAvailable());
    denying.SetControlAccessible(TAppUserLevels::eKelvoControl, true);
    QVERIFY(f.manager->miniViews[0]->IsAvailable());
}

void tst_CreateScreens::theScreensAreDeletedBeforeTheHub()
{
    for (int round = 0; round < 5; ++round) {
        TScreensFixture f;
        QVERIFY(f.InitialiseAndWait());
        dll->CreateScreens();
        const QPointer<QWidget> miniView = f.manager->miniViews[0];
        const QPointer<QWidget> fullView = f.manager->fullView;
        f.manager->fullView->Setup();
        fullView->show();
        KelvoInterface->OnLoginToKelvoRequested();
        QVERIFY(f.WaitUntil([] { return KelvoInterface->IsKelvoLoggedIn(); }));
        Finalise();
        QVERIFY(f.manager->wasHubThere);
        QVERIFY(!miniView && !fullView);
        QVERIFY(GetKelvoInterface() == nullptr);
        QCoreApplication::processEvents();
    }
}

KELVO_WIDGET_TEST_MAIN(tst_CreateScreens)
#include "tst_CreateScreens.moc"
