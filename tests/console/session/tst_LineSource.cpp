// Reads lines from a pipe.
#include "console/session/TLineSource.h"
#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtCore/QStringList>

#include <fcntl.h>
#include <unistd.h>

class TLineSourceTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    void Write(const QByteArray& bytes) const
    {
        QCOMPARE(::write(m_ends[1], bytes.constData(), static_cast<std::size_t>(bytes.size())),
                 static_cast<ssize_t>(bytes.size()));
    }

    int m_ends[2] = {-1, -1};
    QStringList m_lines;
    bool m_hasEnded = false;

private Q_SLOTS:
    void init()
    {
        QCOMPARE(::pipe2(m_ends, O_CLOEXEC), 0);
        m_lines.clear();
        m_hasEnded = false;
    }

    void cleanup()
    {
        ::close(m_ends[0]);
        ::close(m_ends[1]);
        TTestCase::cleanup();
    }

    void deliversALineWhenItIsComplete()
    {
        console::TLineSource source(
            m_ends[0], [this](const QString& line) { m_lines << line; },
            [this] { m_hasEnded = true; });
        Write("login\nli");
        QTRY_COMPARE_WITH_TIMEOUT(m_lines, QStringList(QStringLiteral("login")),
                                  kelvo::test::HANG_GUARD_MS);
        Write("st maps\n\nstatus\n");
        QTRY_COMPARE_WITH_TIMEOUT(m_lines.size(), 4, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(m_lines.mid(1),
                 QStringList({QStringLiteral("list maps"), QString(), QStringLiteral("status")}));
        QVERIFY(!m_hasEnded);
    }

    void keepsACharacterThatArrivesInTwoPieces()
    {
        console::TLineSource source(
            m_ends[0], [this](const QString& line) { m_lines << line; },
            [this] { m_hasEnded = true; });
        Write("\xc3");
        QCoreApplication::processEvents();
        Write("\xb6\n");
        QTRY_COMPARE_WITH_TIMEOUT(m_lines, QStringList(QStringLiteral("ö")),
                                  kelvo::test::HANG_GUARD_MS);
    }

    void deliversTheRestAndTheEnd()
    {
        console::TLineSource source(
            m_ends[0], [this](const QString& line) { m_lines << line; },
            [this] { m_hasEnded = true; });
        Write("logout\nquit");
        ::close(m_ends[1]);
        QTRY_VERIFY_WITH_TIMEOUT(m_hasEnded, kelvo::test::HANG_GUARD_MS);
        QCOMPARE(m_lines, QStringList({QStringLiteral("logout"), QStringLiteral("quit")}));
    }
};

KELVO_TEST_MAIN(TLineSourceTest)
#include "tst_LineSource.moc"
