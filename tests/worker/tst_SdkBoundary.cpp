// Conversions between Qt and the SDK: the operator's error text, wide buffers, the clock.
#include "support/GuiTestMain.h"
#include "tests/fakes/FakeScript.h"
#include "worker/SdkBoundary.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <vector>

using fakes::FakeErrors;
using fakes::OneError;

class tst_SdkBoundary : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyListGivesANullText();
    void choosesTheText_data();
    void choosesTheText();
    void readsNoFileThatTheMarkupNames();
    void usesOnlyTheNewestRecord();
    void aTextEndsAtItsTerminatingZero();
    void copiesIntoABuffer_data();
    void copiesIntoABuffer();
    void neverWritesBeyondTheBuffer();
    void theCallersTextIsNotChanged();
    void theClockIsTheSystemsInMilliseconds();
};

namespace {

constexpr wchar_t CANARY = 0x2603;

QString Q(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

void tst_SdkBoundary::anEmptyListGivesANullText()
{
    const QString text = GetLastErrorMsg(FakeErrors());
    QVERIFY(text.isNull());
}

void tst_SdkBoundary::choosesTheText_data()
{
    QTest::addColumn<QString>("text1");
    QTest::addColumn<QString>("text2");
    QTest::addColumn<QString>("text3");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* name, const char* t1, const char* t2, const char* t3,
                        const char* expected) {
        QTest::newRow(name) << Q(t1) << Q(t2) << Q(t3) << Q(expected);
    };
    row("only the first", "Login failed", "", "", "Login failed");
    row("markup goes", "<b>Login</b> failed", "", "", "Login failed");
    row("second equal to the first", "Login failed", "Login failed", "x", "Login failed");
    row("equal once the markup is gone", "<b>Login failed</b>", "Login <i>failed</i>", "",
        "Login failed");
    row("second different", "Login failed", "Try again", "x", "Login failed\nTry again");
    row("third never joins", "Login failed", "", "technical", "Login failed");
    row("first empty: second", "", "Try again", "technical", "Try again");
    row("first nothing but markup: second", "<p></p>", "Try again", "x", "Try again");
    row("second nothing but markup", "Login failed", "<b></b>", "x", "Login failed");
    row("first and second empty: third", "", "", "technical <i>text</i>", "technical text");
    row("first two nothing but markup: third", "<b></b>", "<i></i>", "technical", "technical");
    row("all empty", "", "", "", "Unknown error occurred");
    row("all nothing but markup", "<b></b>", "<p></p>", "<i></i>", "Unknown error occurred");
    row("escaped characters come back", "a &lt;b&gt; &amp; c", "", "", "a <b> & c");
    row("beyond the basic plane", "Feld \xF0\x9F\x9A\x9C \xC3\xA4", "", "",
        "Feld \xF0\x9F\x9A\x9C \xC3\xA4");
    row("blanks stay", "&nbsp;a&nbsp;", "", "", " a ");
    row("preformatted blanks stay", "<pre>  a  </pre>", "", "", "  a  ");
    row("line breaks at the end stay", "a<br><br>", "", "", "a\n\n");
    row("a line break in the markup", "one<br>two", "", "", "one\ntwo");
}

void tst_SdkBoundary::choosesTheText()
{
    QFETCH(QString, text1);
    QFETCH(QString, text2);
    QFETCH(QString, text3);
    QFETCH(QString, expected);
    const FakeErrors errors =
        OneError(text1.toStdWString(), text2.toStdWString(), text3.toStdWString());
    QCOMPARE(GetLastErrorMsg(errors), expected);
}

// The style would keep the blanks.
void tst_SdkBoundary::readsNoFileThatTheMarkupNames()
{
    QTemporaryDir folder;
    QFile style(folder.filePath(QStringLiteral("style.css")));
    QVERIFY(style.open(QIODevice::WriteOnly));
    style.write("p { white-space: pre; }");
    style.close();
    const QString markup =
        QStringLiteral("<link rel=\"stylesheet\" type=\"text/css\" href=\"%1\"/><p>a   b</p>")
            .arg(style.fileName());
    QCOMPARE(GetLastErrorMsg(OneError(markup.toStdWString())), QStringLiteral("a b"));
}

void tst_SdkBoundary::usesOnlyTheNewestRecord()
{
    FakeErrors errors = OneError(L"newest");
    errors.push_back(OneError(L"older", L"and its advice").front());
    QCOMPARE(GetLastErrorMsg(errors), Q("newest"));
    errors.push_front(OneError({}).front());
    QCOMPARE(GetLastErrorMsg(errors), Q("Unknown error occurred"));
    QCOMPARE(errors.size(), std::size_t(3));
}

void tst_SdkBoundary::aTextEndsAtItsTerminatingZero()
{
    using namespace std::string_literals;
    QCOMPARE(GetLastErrorMsg(OneError(L"seen\0not seen"s)), Q("seen"));
    QCOMPARE(GetLastErrorMsg(OneError(L"\0not seen"s, L"second"s)), Q("second"));
}

void tst_SdkBoundary::copiesIntoABuffer_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("expected");
    QTest::addColumn<int>("count");
    const auto row = [](const char* name, const char* text, int size, const char* expected,
                        int count) {
        QTest::newRow(name) << Q(text) << size << Q(expected) << count;
    };
    row("six letters in four places", "abcdef", 4, "abc", 3);
    row("six letters in seven places", "abcdef", 7, "abcdef", 6);
    row("six letters in six places", "abcdef", 6, "abcde", 5);
    row("more room than needed", "abc", 20, "abc", 3);
    row("room for the terminator only", "abc", 1, "", 0);
    row("nothing to copy", "", 1, "", 0);
    row("one beyond the basic plane counts once",
        "a\xF0\x9F\x9A\x9C"
        "b",
        5,
        "a\xF0\x9F\x9A\x9C"
        "b",
        3);
    row("cut behind one beyond the basic plane",
        "a\xF0\x9F\x9A\x9C"
        "bc",
        4, "a\xF0\x9F\x9A\x9C", 2);
}

void tst_SdkBoundary::copiesIntoABuffer()
{
    QFETCH(QString, text);
    QFETCH(int, size);
    QFETCH(QString, expected);
    QFETCH(int, count);
    std::vector<wchar_t> buffer(static_cast<std::size_t>(size) + 4, CANARY);
    QCOMPARE(QStringToTCHAR(text, buffer.data(), size), count);
    QCOMPARE(buffer[static_cast<std::size_t>(count)], L'\0');
    QCOMPARE(QString::fromWCharArray(buffer.data()), expected);
    for (std::size_t i = static_cast<std::size_t>(size); i < buffer.size(); ++i)
        QCOMPARE(buffer[i], CANARY);
}

// The cut counts UTF-16 units and may split a surrogate pair. The function writes nothing beyond
// the buffer, also in this case.
void tst_SdkBoundary::neverWritesBeyondTheBuffer()
{
    const QString text = Q("a\xF0\x9F\x9A\x9C\xF0\x9F\x9A\x9C");
    for (int size = 1; size <= 8; ++size) {
        std::vector<wchar_t> buffer(16, CANARY);
        const int count = QStringToTCHAR(text, buffer.data(), size);
        QVERIFY(count >= 0 && count < size);
        QCOMPARE(buffer[static_cast<std::size_t>(count)], L'\0');
        for (std::size_t i = static_cast<std::size_t>(size); i < buffer.size(); ++i)
            QCOMPARE(buffer[i], CANARY);
    }
}

void tst_SdkBoundary::theCallersTextIsNotChanged()
{
    const QString text = Q("abcdef");
    const QString sharing = text;
    wchar_t buffer[3];
    QStringToTCHAR(text, buffer, 3);
    QCOMPARE(text, Q("abcdef"));
    QCOMPARE(sharing, Q("abcdef"));
}

void tst_SdkBoundary::theClockIsTheSystemsInMilliseconds()
{
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    const qint64 time = getPosixCurrentTime();
    const qint64 after = QDateTime::currentMSecsSinceEpoch();
    QVERIFY(before <= time);
    QVERIFY(time <= after);
}

KELVO_GUI_TEST_MAIN(tst_SdkBoundary)
#include "tst_SdkBoundary.moc"
