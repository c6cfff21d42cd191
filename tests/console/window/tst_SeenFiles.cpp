// TSeenFiles: which files are new to an operator, also after a restart.
#include "console/window/TSeenFiles.h"
#include "hostimpl/TConfigStore.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

using console::TSeenFiles;
using hostimpl::TConfigStore;

class TSeenFilesTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    QString Path() const { return m_folder.filePath(QStringLiteral("console.json")); }

    static KelvoFileInfoList Files(const QList<long>& ids)
    {
        KelvoFileInfoList files;
        for (const long id : ids) {
            files.fileIds << id;
            files.fileNames << QStringLiteral("a.zip");
        }
        return files;
    }

private Q_SLOTS:
    void init() { QFile::remove(Path()); }

    void countsAFileAsNewUntilItIsSeen()
    {
        TConfigStore config;
        TSeenFiles seen(config);
        seen.SetOperator(QStringLiteral("olga"), QString());
        QCOMPARE(seen.CountNew(0, Files({7, 8})), 2);
        seen.SetSeen(0, Files({7, 8}));
        QCOMPARE(seen.CountNew(0, Files({7, 8})), 0);
        QCOMPARE(seen.CountNew(0, Files({6, 7, 9})), 2);
        QCOMPARE(seen.CountNew(2, Files({7})), 1); // another category
    }

    void remembersAfterARestart()
    {
        {
            TConfigStore config;
            config.Open(Path());
            TSeenFiles seen(config);
            seen.SetOperator(QStringLiteral("olga"), QString());
            seen.SetSeen(0, Files({7, 8}));
            seen.SetSeen(6, Files({9}));
            seen.Save();
        }
        TConfigStore config;
        config.Open(Path());
        TSeenFiles seen(config);
        seen.SetOperator(QStringLiteral("olga"), QString());
        QCOMPARE(seen.CountNew(0, Files({7, 8, 10})), 1);
        QCOMPARE(seen.CountNew(6, Files({9})), 0);
    }

    void keepsOperatorsAndServicesApart()
    {
        TConfigStore config;
        TSeenFiles seen(config);
        seen.SetOperator(QStringLiteral("olga"), QStringLiteral("farm.example"));
        seen.SetSeen(0, Files({7}));
        seen.SetOperator(QStringLiteral("jan"), QStringLiteral("farm.example"));
        QCOMPARE(seen.CountNew(0, Files({7})), 1);
        seen.SetSeen(0, Files({7}));
        seen.SetOperator(QStringLiteral("olga"), QStringLiteral("other.example"));
        QCOMPARE(seen.CountNew(0, Files({7})), 1);
        seen.SetOperator(QStringLiteral("olga"), QStringLiteral("farm.example"));
        QCOMPARE(seen.CountNew(0, Files({7})), 0);
    }

    void storesNoNameOfAnOperator()
    {
        TConfigStore config;
        config.Open(Path());
        TSeenFiles seen(config);
        seen.SetOperator(QStringLiteral("olga"), QString());
        seen.SetSeen(0, Files({7}));
        QVERIFY(!QFile::exists(Path())); // the disk is left alone until Save()
        seen.Save();
        QFile file(Path());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        QVERIFY(content.contains("\"209\""));
        QVERIFY(!content.contains("olga"));
        QVERIFY(!content.contains(QByteArray("olga").toBase64().chopped(2)));
    }
};

KELVO_WIDGET_TEST_MAIN(TSeenFilesTest)
#include "tst_SeenFiles.moc"
