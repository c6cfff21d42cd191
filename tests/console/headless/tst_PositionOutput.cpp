// The position output: printed lines, and dropped lines if no program reads them.
#include "console/headless/TPositionOutput.h"
#include "console/position/TMonitored.h"
#include "support/TestMain.h"

#include <QtCore/QCoreApplication>

using console::ELossReason;
using console::EShownPositions;
using console::ESourceState;
using console::TPositionOutput;

namespace {

// An output that prints its lines only in Print().
struct TFixture : kelvo::test::TMonitored
{
    explicit TFixture(EShownPositions shown)
        : output(monitor, shown, [this](const QByteArray& line) { lines << line; })
    {}

    void Fix() { monitor.OnFix({50.0, 8.0, 93015.0, console::EFixQuality::eAutonomous}); }
    void Print() { QCoreApplication::sendPostedEvents(&output); }

    QVector<QByteArray> lines;
    TPositionOutput output;
};

} // namespace

class TPositionOutputTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void printsFromItsOwnEventLoopAndInOrder()
    {
        TFixture fixture(EShownPositions::eFixes);
        fixture.Fix();
        fixture.Fix();
        fixture.monitor.OnNoFix(ELossReason::eVoid);
        QVERIFY(fixture.lines.isEmpty());
        fixture.Print();
        QCOMPARE(fixture.lines.size(), 3);
        QVERIFY(fixture.lines.at(0).contains("\"change\":\"gained\""));
        QVERIFY(fixture.lines.at(1).contains("\"change\":\"fix\""));
        QVERIFY(fixture.lines.at(2).contains("\"change\":\"lost\""));
    }

    void printsOnlyRequestedChanges()
    {
        TFixture nothing(EShownPositions::eNone);
        TFixture changes(EShownPositions::eChanges);
        for (TFixture* const fixture : {&nothing, &changes}) {
            fixture->Fix();
            fixture->Fix();
            fixture->Print();
        }
        QCOMPARE(nothing.lines.size(), 0);
        QCOMPARE(changes.lines.size(), 1);
    }

    void dropsFixesWhenMaxPendingLinesAreQueued()
    {
        TFixture fixture(EShownPositions::eFixes);
        for (int i = 0; i < TPositionOutput::maxPending + 10; ++i) {
            fixture.Fix();
        }
        fixture.monitor.OnNoFix(ELossReason::eSilent);
        fixture.Print();
        QCOMPARE(fixture.lines.size(), TPositionOutput::maxPending + 1);
        QVERIFY(fixture.lines.constLast().contains("\"change\":\"lost\""));
        fixture.Fix(); // the reader reads again
        fixture.Fix();
        fixture.Print();
        QCOMPARE(fixture.lines.size(), TPositionOutput::maxPending + 3);
    }

    void dropsAllChangesAtTwiceMaxPending()
    {
        TFixture fixture(EShownPositions::eChanges);
        for (int i = 0; i < TPositionOutput::maxPending + 10; ++i) {
            fixture.Fix();
            fixture.monitor.OnNoFix(ELossReason::eVoid);
        }
        fixture.Print();
        QCOMPARE(fixture.lines.size(), 2 * TPositionOutput::maxPending);
        fixture.monitor.OnSource(ESourceState::eEnded);
        fixture.Print();
        const QByteArray counts = QByteArray::number(TPositionOutput::maxPending + 10);
        QVERIFY(fixture.lines.constLast().contains("\"gained\":" + counts));
        QVERIFY(fixture.lines.constLast().contains("\"lost\":" + counts));
    }
};

KELVO_TEST_MAIN(TPositionOutputTest)
#include "tst_PositionOutput.moc"
