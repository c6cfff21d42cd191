// The lines with positions.
#include "console/headless/PositionPrinter.h"
#include "support/TestMain.h"

using console::ELossReason;
using console::EPositionState;
using console::EShownPositions;
using console::ESourceState;
using console::TPositionEvent;
using console::TPositionState;
using EChange = console::TPositionEvent::EChange;

namespace {

TPositionState Fix()
{
    TPositionState state;
    state.state = EPositionState::eFix;
    state.source = ESourceState::eRunning;
    state.fix = {41.57496590983, -93.5, 3015.6, console::EFixQuality::eRtkFixed};
    state.ageMs = 120;
    state.gained = 2;
    state.lost = 1;
    state.counts.badChecksum = 3;
    return state;
}

} // namespace

class TPositionPrinterTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void printsThatThereIsNoFix()
    {
        QCOMPARE(console::PositionLine(TPositionState()),
                 QByteArray("position {\"faulty\":0,\"gained\":0,\"lost\":0,\"source\":\"off\","
                            "\"state\":\"none\"}"));
    }

    void printsAFix()
    {
        QCOMPARE(console::PositionLine(Fix()),
                 QByteArray("position {\"ageMs\":120,\"faulty\":3,\"gained\":2,"
                            "\"latitude\":41.57496590983,\"longitude\":-93.5,\"lost\":1,"
                            "\"quality\":\"RTK fixed\",\"source\":\"running\",\"state\":\"fix\","
                            "\"time\":\"003015.60\"}"));
    }

    void printsALossWithItsReason()
    {
        TPositionState state = Fix();
        state.state = EPositionState::eLost;
        state.reason = ELossReason::eSilent;
        const QByteArray line = console::PositionLine({EChange::eLost, state});
        QVERIFY(line.contains("\"change\":\"lost\""));
        QVERIFY(line.contains("\"reason\":\"silent\""));
        QVERIFY(line.contains("\"latitude\":41.57496590983"));
    }

    void choosesTheChangesToPrint()
    {
        for (const EChange change :
             {EChange::eFix, EChange::eGained, EChange::eLost, EChange::eSource}) {
            const TPositionEvent event = {change, Fix()};
            QVERIFY(!console::IsShown(event, EShownPositions::eNone));
            QCOMPARE(console::IsShown(event, EShownPositions::eChanges), change != EChange::eFix);
            QVERIFY(console::IsShown(event, EShownPositions::eFixes));
        }
    }
};

KELVO_TEST_MAIN(TPositionPrinterTest)
#include "tst_PositionPrinter.moc"
