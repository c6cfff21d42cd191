// The line with the state of the link.
#include "console/headless/LinkPrinter.h"
#include "support/TTestCase.h"
#include "support/TestMain.h"

using namespace kesdkimpl;

class TLinkPrinterTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void printsAConsoleWithoutAConnection()
    {
        QCOMPARE(console::LinkLine({}),
                 QByteArray("link {\"problem\":\"none\",\"session\":\"none\"}"));
    }

    void printsAProblem()
    {
        LinkStatus status;
        status.session = ESession::eLoggedIn;
        status.problem = EProblem::eNetworkWantsLogin;
        status.offlineSince = Moment{1800000060, {}};
        status.lastContact = Moment{1800000000, {}};
        QCOMPARE(console::LinkLine(status),
                 QByteArray("link {\"lastContact\":1800000000,\"offlineSince\":1800000060,"
                            "\"problem\":\"network wants login\",\"session\":\"logged in\"}"));
    }

    void printsATransfer()
    {
        LinkStatus status;
        status.session = ESession::eLoggedIn;
        status.transfer = TransferStatus{
            EDirection::eDownload, EPhase::eMoves, "Fläche.zip", 1200, 2800, 100, 1800000300};
        QCOMPARE(console::LinkLine(status),
                 QByteArray("link {\"problem\":\"none\",\"session\":\"logged in\",\"transfer\":{"
                            "\"direction\":\"download\",\"done\":1200,\"name\":\"Fläche.zip\","
                            "\"phase\":\"moves\",\"rate\":100,\"total\":2800,"
                            "\"waitsUntil\":1800000300}}"));
    }
};

KELVO_TEST_MAIN(TLinkPrinterTest)
#include "tst_LinkPrinter.moc"
