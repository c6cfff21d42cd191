// Declares a warning that a test provokes.
#pragma once

#include <QtCore/QString>
#include <QtCore/QtGlobal>

namespace kelvo::test {

// As long as it lives, messages of `type` that contain `part` are expected, from any thread, any
// number of times; if none came, the test fails when it ends. Use it instead of
// QTest::ignoreMessage, which the trap does not know of. Main thread.
class TExpectedMessage
{
public:
    explicit TExpectedMessage(const QString& part, QtMsgType type = QtWarningMsg);
    ~TExpectedMessage();
    TExpectedMessage(const TExpectedMessage&) = delete;
    TExpectedMessage& operator=(const TExpectedMessage&) = delete;

    int Count() const;

    // For the trap: whether the message is expected; it is counted then.
    static bool Take(QtMsgType type, const QString& message);

private:
    const QString m_part;
    const QtMsgType m_type;
    int m_count = 0;
};

} // namespace kelvo::test
