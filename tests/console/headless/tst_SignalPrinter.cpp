// The lines with signals and lists. Programs read them.
#include "console/headless/OneLine.h"
#include "console/headless/SignalPrinter.h"
#include "support/TestMain.h"

#include <QtCore/QJsonDocument>

using console::EHubSignal;
using console::THubEvent;

class TSignalPrinterTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static THubEvent Event(EHubSignal signal)
    {
        THubEvent event;
        event.signal = signal;
        return event;
    }

private Q_SLOTS:
    void printsASignalWithoutArguments()
    {
        QCOMPARE(console::SignalLine(Event(EHubSignal::eLoggedIn)),
                 QByteArray("signal KelvoLoggedIn {}"));
    }

    void keepsATextOnOneLine()
    {
        THubEvent event = Event(EHubSignal::eLoginFailed);
        event.message = QStringLiteral("No \"service\".\nTry — later.");
        QCOMPARE(console::SignalLine(event),
                 QByteArray("signal KelvoLoginFailed "
                            "{\"text\":\"No \\\"service\\\".\\nTry — later.\"}"));
    }

    void printsErrors()
    {
        THubEvent event = Event(EHubSignal::eUploadComplete);
        event.project = eCurves;
        event.errors =
            KelvoFileTransferErrorDetailsList{{QStringLiteral("a"), QStringLiteral("b")}};
        QCOMPARE(
            console::SignalLine(event),
            QByteArray("signal KelvoUploadComplete "
                       "{\"errors\":[{\"file\":\"a\",\"text\":\"b\"}],\"project\":\"curves\"}"));
    }

    void printsARequestWithItsReferenceList()
    {
        THubEvent event = Event(EHubSignal::eDownloadRequested);
        event.project = ePrescriptionMaps;
        event.fileNames = QStringList{QStringLiteral("a.zip")};
        event.files =
            KelvoFileInfoList{{7, 2147483647}, {QStringLiteral("a.zip"), QStringLiteral("b.zip")}};
        QCOMPARE(
            console::SignalLine(event),
            QByteArray("signal KelvoDownloadRequested {\"files\":[{\"id\":7,\"name\":\"a.zip\"}"
                       ",{\"id\":2147483647,\"name\":\"b.zip\"}],\"names\":[\"a.zip\"],"
                       "\"project\":\"maps\"}"));
    }

    void printsEmptyLists()
    {
        QCOMPARE(console::ListLine(ePivots, KelvoFileInfoList()),
                 QByteArray("list {\"files\":[],\"project\":\"pivots\"}"));
        THubEvent event = Event(EHubSignal::eUserInboxSetupComplete);
        event.errors = KelvoFileTransferErrorDetailsList();
        QCOMPARE(console::SignalLine(event),
                 QByteArray("signal KelvoUserInboxSetupComplete {\"errors\":[]}"));
    }

    void escapesPlainTexts()
    {
        QCOMPARE(console::OneLine(QStringLiteral("a\\b\nc\td\u001b[1m\u2028ö")),
                 QStringLiteral("a\\\\b\\nc\\u0009d\\u001b[1m\\u2028ö"));
        QCOMPARE(console::OneLine(KelvoFileTransferErrorDetailsList{
                     {QStringLiteral("a.zip"), QStringLiteral("x\ny")},
                     {QStringLiteral("b.zip"), QStringLiteral("z")}}),
                 QStringLiteral("2 errors: a.zip: x\\ny; b.zip: z"));
    }

    void knowsEverySignalByItsName()
    {
        for (int i = 0; i < console::hubSignalCount; ++i) {
            const auto signal = static_cast<EHubSignal>(i);
            QCOMPARE(console::SignalOfName(console::SignalName(signal)),
                     std::optional<EHubSignal>(signal));
        }
        QVERIFY(!console::SignalOfName(QStringLiteral("Kelvo")));
    }
};

KELVO_TEST_MAIN(TSignalPrinterTest)
#include "tst_SignalPrinter.moc"
