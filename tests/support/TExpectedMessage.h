// Declares a warning that a test provokes.
#pragma once

#include <QtCore/QString>
#include <QtCore/QtGlobal>

namespace kelvo::test {

// During its lifetime, messages of `type` that contain `part` are expected, from any thread, any
// number of times. If no such message came, the destructor fails the test. Use it instead of
// QTest::ignoreMessage, which the trap does not use. Main thread.
class TExpectedMessage
{
public:
    explicit TExpectedMessage(const QString& part, QtMsgType type = QtWarningMsg);
    ~TExpectedMessage();
    TExpectedMessage(const TExpectedMessage&) = delete;
    TExpectedMessage& operator=(const TExpectedMessage&) = delete;

    int Count() const;

    // For the trap. Returns whether the message is expected, and counts it.
    static bool Take(QtMsgType type, const QString& message);

private:
    const QString m_part;
    const QtMsgType m_type;
    int m_count = 0;
};

} // namespace kelvo::test
