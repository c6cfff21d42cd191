// The choice of local folders. The host's settings are replaced below: each getter returns a
// different text, which need not be a path.
#include "core/KelvoHelperFunctions.h"
#include "host/TSystemSettingsProxy.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

namespace {

int g_liveProxies = 0;
int g_getterCalls = 0;
bool g_answersEmpty = false;

QString Answer(const char* text)
{
    ++g_getterCalls;
    return g_answersEmpty ? QString() : QString::fromLatin1(text);
}

} // namespace

TSystemSettingsProxy::TSystemSettingsProxy()
{
    ++g_liveProxies;
}

TSystemSettingsProxy::~TSystemSettingsProxy()
{
    --g_liveProxies;
}

#define KELVO_GETTER(name, text)                                                                   \
    QString TSystemSettingsProxy::name() const                                                     \
    {                                                                                              \
        return Answer(text);                                                                       \
    }

KELVO_GETTER(GetKelvoDownloadToConsoleFolderPath, "down/to console")
KELVO_GETTER(GetKelvoDownloadABLinesFolderPath, "down/ab")
KELVO_GETTER(GetKelvoDownloadCurvesFolderPath, "down/curves/")
KELVO_GETTER(GetKelvoDownloadPivotsFolderPath, "down/pivots")
KELVO_GETTER(GetKelvoDownloadOptimalLinesFolderPath, "down/optimal")
KELVO_GETTER(GetKelvoDownloadProjectLinesFolderPath, "down/project")
KELVO_GETTER(GetKelvoUploadFromConsoleFolderPath, "up/from console")
KELVO_GETTER(GetKelvoUploadABLinesFolderPath, "up/ab")
KELVO_GETTER(GetKelvoUploadCurvesFolderPath, "up/curves/")
KELVO_GETTER(GetKelvoUploadPivotsFolderPath, "up/pivots")
KELVO_GETTER(GetKelvoUploadOptimalLinesFolderPath, "up/optimal")
KELVO_GETTER(GetKelvoUploadProjectLinesFolderPath, "up/project")
KELVO_GETTER(GetKelvoTempDownloadFolderPath, "temp/")
#undef KELVO_GETTER

class tst_KelvoHelperFunctions : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void eachKindHasItsFolders_data();
    void eachKindHasItsFolders();
    void callsExactlyOneGetterAndDeletesTheSettings();
    void returnsAnEmptyPathUnchanged();
};

void tst_KelvoHelperFunctions::init()
{
    g_getterCalls = 0;
    g_answersEmpty = false;
}

void tst_KelvoHelperFunctions::eachKindHasItsFolders_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("download");
    QTest::addColumn<QString>("upload");
    const auto row = [](const char* name, int kind, const char* download, const char* upload) {
        QTest::newRow(name) << kind << QString::fromLatin1(download) << QString::fromLatin1(upload);
    };
    row("prescription maps", 0, "down/to console", "up/from console");
    row("job reports share the maps' folders", 1, "down/to console", "up/from console");
    row("AB lines", 2, "down/ab", "up/ab");
    row("curves", 3, "down/curves/", "up/curves/");
    row("pivots", 4, "down/pivots", "up/pivots");
    row("optimal lines", 5, "down/optimal", "up/optimal");
    row("project lines", 6, "down/project", "up/project");
    row("above the kinds", 7, "down/to console", "up/from console");
    row("far above the kinds", 2147483647, "down/to console", "up/from console");
    row("below the kinds", -1, "down/to console", "up/from console");
}

void tst_KelvoHelperFunctions::eachKindHasItsFolders()
{
    QFETCH(int, kind);
    QFETCH(QString, download);
    QFETCH(QString, upload);
    const auto project = static_cast<EKelvoProjects>(kind);
    QCOMPARE(KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(project), download);
    QCOMPARE(KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(project), upload);
}

void tst_KelvoHelperFunctions::callsExactlyOneGetterAndDeletesTheSettings()
{
    for (int kind = 0; kind < KELVO_PROJECT_COUNT; ++kind) {
        g_getterCalls = 0;
        const auto project = static_cast<EKelvoProjects>(kind);
        KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(project);
        QCOMPARE(g_getterCalls, 1);
        KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(project);
        QCOMPARE(g_getterCalls, 2);
        QCOMPARE(g_liveProxies, 0);
    }
}

void tst_KelvoHelperFunctions::returnsAnEmptyPathUnchanged()
{
    g_answersEmpty = true;
    QVERIFY(KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(eCurves).isEmpty());
    QVERIFY(KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(eABLines).isEmpty());
}

KELVO_TEST_MAIN(tst_KelvoHelperFunctions)
#include "tst_KelvoHelperFunctions.moc"
