// Runs the commands of a script on the plug-in's hub.
#pragma once

#include "console/headless/CommandParser.h"
#include "console/headless/TOperation.h"
#include "console/session/HubEvent.h"

#include <QtCore/QObject>
#include <QtCore/QQueue>
#include <QtCore/QTimer>

#include <array>
#include <functional>
#include <optional>
#include <vector>

class TKelvoInterface;

namespace console {

// The functions that the runner calls.
struct TRunnerCallbacks
{
    std::function<void(const QByteArray& line)> print;
    std::function<void(int exitStatus)> finished; // called once
    std::function<QByteArray()> positionLine;     // the line of the command `position`
    std::function<QByteArray()> linkLine;         // the line of the command `link`
};

// Runs the commands one after the other and waits for the end of each command. Prints a line for
// each signal and for each command's result.
//
// Thread: main. Ownership: the plug-in owns the hub, which must outlive the runner. Errors: the
// runner prints a failed command and runs the next command. A failed command makes the exit status
// 1, a faulty line makes it 2.
//
//                 ┌────────────── ended, timed out ──────────────┐
//   idle → command → done at once → idle                         │
//                  → operation begun → & → idle (operation runs) │
//                                    → waiting for operation ────┤
//                  → wait → waiting for operation or signals ────┘
class THeadlessRunner : public QObject
{
    Q_OBJECT

public:
    THeadlessRunner(TKelvoInterface& hub, TRunnerCallbacks callbacks, int timeoutMs);

    // Adds a command. It runs when the commands before it are done.
    void AddLine(const QString& line);
    // No more lines follow: the runner finishes when all commands are done.
    void AddEnd();
    void OnHubEvent(const THubEvent& event);

private:
    enum class EWaiting : std::uint8_t { eNone, eRunningCommand, eWaitCommand, eWaitSignals };

    bool IsEndOfTimedOut(const THubEvent& event);
    void RunNextSoon();
    void RunNext();
    void Run(const TCommand& command);
    void BeginOperation(const TCommand& command);
    void Request(const TCommand& command);
    void BeginWait(const TCommand& command);
    bool HasReceivedAwaitedSignals();
    void OnProgress();
    void OnTimeout();
    void WaitFor(EWaiting waiting);
    void Succeed(EVerb verb);
    void Fail(EVerb verb, const QString& reason);
    void Finish();

    TKelvoInterface& m_hub;
    TRunnerCallbacks m_callbacks;
    QTimer m_timeout;
    QQueue<QString> m_lines;
    std::optional<TOperation> m_operation;
    // Operations that timed out and still run in the worker. The signals of their ends will come.
    std::vector<TOperation> m_timedOut;
    std::array<int, hubSignalCount> m_unseenSignals = {}; // signals that no `wait` has used
    QList<EHubSignal> m_awaitedSignals;
    EWaiting m_waiting = EWaiting::eNone;
    bool m_isProgressPosted = false;
    bool m_isNextPosted = false;
    bool m_hasEnd = false;
    bool m_isFinished = false;
    int m_exitStatus = 0;
};

} // namespace console
