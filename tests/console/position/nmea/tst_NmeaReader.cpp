// The NMEA reader: which sentences it reads, and how it counts the others.
#include "console/position/Sentences.h"
#include "console/position/nmea/TNmeaReader.h"
#include "support/TestMain.h"

#include <vector>

using namespace kelvo::test;
using console::TNmeaCounts;
using console::TNmeaReader;
using console::TNmeaSentence;

namespace {

struct TFixture
{
    void Take(const QByteArray& bytes)
    {
        reader.Take({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    }

    std::vector<TNmeaSentence> sentences;
    TNmeaReader reader{[this](const TNmeaSentence& sentence) { sentences.push_back(sentence); }};
};

const QByteArray good = Gga("093015.25", '4');

} // namespace

class TNmeaReaderTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void readsEachKind_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("quality");
        QTest::newRow("GGA") << QByteArray("GPGGA,093015.25,3356.1234,S,15112.4321,E,5,09,,,,,,,")
                             << 5;
        QTest::newRow("RMC, old") << QByteArray(
                                         "GPRMC,093015.25,A,3356.1234,S,15112.4321,E,,,010226,,")
                                  << -1;
        QTest::newRow("RMC") << QByteArray(
                                    "GNRMC,093015.25,A,3356.1234,S,15112.4321,E,,,010226,,,R,V")
                             << 4;
        QTest::newRow("GLL") << QByteArray("GLGLL,3356.1234,S,15112.4321,E,093015.25,A,D") << 2;
        QTest::newRow("GNS") << QByteArray("GNGNS,093015.25,3356.1234,S,15112.4321,E,NFA,9,,,,,")
                             << 5;
    }

    void readsEachKind()
    {
        QFETCH(QByteArray, body);
        QFETCH(int, quality);
        TFixture fixture;
        fixture.Take(Sentence(body));
        QCOMPARE(fixture.sentences.size(), std::size_t(1));
        const TNmeaSentence& sentence = fixture.sentences.front();
        QVERIFY(sentence.isValid);
        QCOMPARE(sentence.time->hhmmss, 93015.25);
        QCOMPARE(sentence.time->sinceMidnightMs, std::int64_t(34215250));
        QCOMPARE(sentence.latitudeDegrees, -(33 + 56.1234 / 60));
        QCOMPARE(sentence.longitudeDegrees, 151 + 12.4321 / 60);
        QCOMPARE(sentence.quality ? static_cast<int>(*sentence.quality) : -1, quality);
    }

    void readsSatellitesSpeedAndHeading_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("satellites");
        QTest::addColumn<double>("speedKmh");
        QTest::addColumn<double>("heading");
        QTest::newRow("GGA") << QByteArray("GPGGA,093015,5030.0,N,00815.0,W,4,14,,,,,,,") << 14
                             << -1.0 << -1.0;
        QTest::newRow("GNS") << QByteArray("GNGNS,093015,5030.0,N,00815.0,W,RR,21,,,,,") << 21
                             << -1.0 << -1.0;
        QTest::newRow("RMC") << QByteArray("GPRMC,093015,A,5030.0,N,00815.0,W,5.5,271.5,010226,,,A")
                             << -1 << 10.186 << 271.5;
        QTest::newRow("VTG") << QByteArray("GPVTG,90.0,T,88.0,M,10.0,N,18.5,K,D") << -1 << 18.52
                             << 90.0;
        QTest::newRow("VTG, old") << QByteArray("GPVTG,90.0,T,88.0,M,10.0,N,18.5,K") << -1 << 18.52
                                  << 90.0;
        QTest::newRow("VTG without a fix")
            << QByteArray("GPVTG,90.0,T,,M,10.0,N,18.5,K,N") << -1 << -1.0 << -1.0;
        QTest::newRow("empty") << QByteArray("GPRMC,093015,A,5030.0,N,00815.0,W,,,010226,,,A") << -1
                               << -1.0 << -1.0;
        QTest::newRow("damaged") << QByteArray(
                                        "GPRMC,093015,A,5030.0,N,00815.0,W,-1,361,010226,,,A")
                                 << -1 << -1.0 << -1.0;
    }

    void readsSatellitesSpeedAndHeading()
    {
        QFETCH(QByteArray, body);
        TFixture fixture;
        fixture.Take(Sentence(body));
        QCOMPARE(fixture.sentences.size(), std::size_t(1));
        QCOMPARE(fixture.reader.Counts().Faulty(), std::uint64_t(0));
        const TNmeaSentence& sentence = fixture.sentences.front();
        QTEST(sentence.satellites.value_or(-1), "satellites");
        QTEST(sentence.speedKmh.value_or(-1.0), "speedKmh");
        QTEST(sentence.headingDegrees.value_or(-1.0), "heading");
    }

    void readsSentencesWithoutAFix_data()
    {
        QTest::addColumn<QByteArray>("body");
        for (const char* body :
             {"GPGGA,,,,,,0,,,,,,,,", "GPGGA,093015,5030.0,N,00815.0,W,0,00,,,,,,,",
              "GPRMC,,V,,,,,,,,,,N", "GPRMC,093015,V,5030.0,N,00815.0,W,0,0,010226,,,A",
              "GPRMC,093015,A,5030.0,N,00815.0,W,0,0,010226,,,N", "GPGLL,,,,,,V,N",
              "GNGNS,,,,,,NN,,,,,,"}) {
            QTest::newRow(body) << QByteArray(body);
        }
    }

    void readsSentencesWithoutAFix()
    {
        QFETCH(QByteArray, body);
        TFixture fixture;
        fixture.Take(Sentence(body));
        QCOMPARE(fixture.sentences.size(), std::size_t(1));
        QVERIFY(!fixture.sentences.front().isValid);
    }

    void ignoresSentencesWithInvalidFields_data()
    {
        QTest::addColumn<QByteArray>("body");
        for (const char* body : {"GPGGA,093015,9030.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093015,5060.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093015,5030.0,N,18000.1,W,1,,,,,,,,",
                                 "GPGGA,093015,530.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093015,50301.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093015,5030.0,E,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093015,5030.0,N,00815.0,,1,,,,,,,,",
                                 "GPGGA,093015,-530.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093015,5030.0e1,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093015,,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,,5030.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,240000,5030.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093061,5030.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,93015,5030.0,N,00815.0,W,1,,,,,,,,",
                                 "GPGGA,093015,5030.0,N,00815.0,W,,,,,,,,,",
                                 "GPGGA,093015,5030.0,N,00815.0,W,9,,,,,,,,",
                                 "GPGGA,093015,5030.0,N,00815.0,W,11,,,,,,,,",
                                 "GPGGA",
                                 "GPRMC,093015",
                                 "GPRMC,093015,B,5030.0,N,00815.0,W,0,0,010226,,,A",
                                 "GPRMC,093015,A,5030.0,N,00815.0,W,0,0,010226,,,X",
                                 "GNGNS,093015,,,,,,,,,,,"}) {
            QTest::newRow(body) << QByteArray(body);
        }
    }

    void ignoresSentencesWithInvalidFields()
    {
        QFETCH(QByteArray, body);
        TFixture fixture;
        fixture.Take(Sentence(body) + good);
        QCOMPARE(fixture.sentences.size(), std::size_t(1));
        QCOMPARE(fixture.reader.Counts().malformed, std::uint64_t(1));
    }

    void keepsTheLastDigit()
    {
        TFixture fixture;
        fixture.Take(Sentence("GPGGA,235960,8959.99999999,N,17959.999999999,W,8,,,,,,,,"));
        QCOMPARE(fixture.sentences.size(), std::size_t(1));
        QVERIFY(std::abs(fixture.sentences[0].latitudeDegrees - (90 - 1e-8 / 60)) < 1e-12);
        QVERIFY(std::abs(fixture.sentences[0].longitudeDegrees + (180 - 1e-9 / 60)) < 1e-12);
    }

    void countsIgnoredSentences_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("counted");
        const auto row = [](const char* name, const QByteArray& bytes, const char* counted) {
            QTest::newRow(name) << bytes << QByteArray(counted);
        };
        const QByteArray end = "\r\n";
        row("another kind", Sentence("GPGSV,1,1,00"), "other");
        row("proprietary", Sentence("PUBXA,093015"), "other");
        row("too short an address", Sentence("GGA,093015"), "other");
        row("empty", Sentence(""), "other");
        row("wrong checksum", good.left(good.size() - 4) + "00" + end, "badChecksum");
        row("damaged", QByteArray(good).replace("5030", "5031"), "badChecksum");
        row("no checksum", good.left(good.size() - 5) + end, "noChecksum");
        row("half a checksum", good.left(good.size() - 3) + end, "noChecksum");
        row("no hexadecimal digits", good.left(good.size() - 4) + "ZZ" + end, "noChecksum");
        row("text behind the checksum", good.left(good.size() - 2) + ",1" + end, "noChecksum");
        row("torn by the next", good.left(30), "noChecksum");
        row("only a dollar", "$" + end, "noChecksum");
        row("too long", "$GPGGA," + QByteArray(5000, '1') + end, "tooLong");
        row("a zero byte", QByteArray(good).replace(10, 1, QByteArray(1, '\0')), "notText");
        row("eight bits", QByteArray(good).replace(10, 1, "\xe4"), "notText");
        row("a tab", QByteArray(good).replace(10, 1, "\t"), "notText");
        row("binary before", QByteArray("\xb5\x62\x01\x07\x00\xff", 6), "");
        row("a sentence's end", "15.25,5030.000,N*5B" + end, "");
        row("a comment", "# " + good, "");
        row("what gpsd says", "{\"class\":\"VERSION\",\"x\":\"" + good, "");
        row("blank lines", end + "   " + end + '\n', "");
    }

    void countsIgnoredSentences()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, counted);
        TFixture fixture;
        fixture.Take(bytes + good);
        QCOMPARE(fixture.sentences.size(), std::size_t(1));
        QCOMPARE(fixture.sentences.front().time->hhmmss, 93015.25);
        const TNmeaCounts& counts = fixture.reader.Counts();
        QCOMPARE(counts.positions, std::uint64_t(1));
        QCOMPARE(counts.others, std::uint64_t(counted == "other"));
        QCOMPARE(counts.badChecksum, std::uint64_t(counted == "badChecksum"));
        QCOMPARE(counts.noChecksum, std::uint64_t(counted == "noChecksum"));
        QCOMPARE(counts.tooLong, std::uint64_t(counted == "tooLong"));
        QCOMPARE(counts.notText, std::uint64_t(counted == "notText"));
        QCOMPARE(counts.Faulty(), std::uint64_t(counted != "other" && !counted.isEmpty()));
    }

    void readsSentencesBetweenOtherBytes()
    {
        TFixture fixture;
        fixture.Take("\n\n  " + good.trimmed() + "   \r\r\n" + good.trimmed().toLower().toUpper() +
                     '\n' + good.trimmed() + good);
        QCOMPARE(fixture.sentences.size(), std::size_t(4));
        QCOMPARE(fixture.reader.Counts().Faulty(), std::uint64_t(0));
    }

    void readsSentencesInPiecesOfAnySize()
    {
        TFixture fixture;
        const QByteArray bytes = good + Rmc("093016", 'V') + good;
        for (const char byte : bytes) {
            fixture.Take(QByteArray(1, byte));
        }
        QCOMPARE(fixture.sentences.size(), std::size_t(3));
    }

    void doesNotJoinPartsOverARestart()
    {
        TFixture fixture;
        fixture.Take(good.left(20));
        fixture.reader.Restart();
        fixture.Take(good.mid(20) + good);
        QCOMPARE(fixture.sentences.size(), std::size_t(1));
        QCOMPARE(fixture.reader.Counts().noChecksum, std::uint64_t(1));
    }

    void readsALastSentenceWithoutALineEnd()
    {
        TFixture fixture;
        fixture.Take(good.trimmed());
        QVERIFY(fixture.sentences.empty());
        fixture.reader.Restart();
        fixture.reader.Restart();
        QCOMPARE(fixture.sentences.size(), std::size_t(1));
        QCOMPARE(fixture.sentences.front().time->hhmmss, 93015.25);
        QCOMPARE(fixture.reader.Counts().Faulty(), std::uint64_t(0));
    }

    // With each possible length.
    void dropsAnIncompleteLastSentence()
    {
        const QByteArray whole = good.trimmed();
        for (int size = 1; size < whole.size(); ++size) {
            TFixture fixture;
            fixture.Take(whole.left(size));
            fixture.reader.Restart();
            QVERIFY(fixture.sentences.empty());
            QCOMPARE(fixture.reader.Counts().noChecksum, std::uint64_t(1));
            QCOMPARE(fixture.reader.Counts().Faulty(), std::uint64_t(1));
        }
    }
};

KELVO_TEST_MAIN(TNmeaReaderTest)
#include "tst_NmeaReader.moc"
