// Turns the hub's signals into values of THubEvent.
#pragma once

#include "console/session/HubEvent.h"

#include <QtCore/QMap>
#include <QtCore/QObject>

#include <functional>

class TKelvoInterface;

namespace console {

// Connects to every signal of the hub by its string, because the hub's meta-object is in the
// plug-in.
//
// Thread: main, as the hub. The hub's signal calls the handler directly.
class THubListener : public QObject
{
    Q_OBJECT

public:
    using THandler = std::function<void(const THubEvent&)>;

    explicit THubListener(THandler handler);

    // False if the hub lacks a signal; `errorText` names the signal. Call it once.
    bool Attach(TKelvoInterface& hub, QString& errorText);

private Q_SLOTS:
    // One slot for each list of arguments.
    void OnPlain();
    void OnMessage(QString message);
    void OnProgress(int progress);
    void OnFile(int project, QString fileName);
    void OnFileNames(int project, QStringList fileNames, KelvoFileInfoList files = {});
    void OnFiles(int project, KelvoFileInfoList files);
    void OnErrors(KelvoFileTransferErrorDetailsList errors);
    void OnProjectErrors(int project, KelvoFileTransferErrorDetailsList errors);

private:
    THubEvent Event() const;

    THandler m_handler;
    QMap<int, EHubSignal> m_signals; // by the hub's signal index
};

} // namespace console
