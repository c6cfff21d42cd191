#include "console/session/TPluginSession.h"

#include "console/position/TPositionThread.h"
#include "core/TKelvoInterface.h"
#include "host/ConfigManager.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaMethod>

#include <utility>

namespace {

// Gives access to the protected QObject::isSignalConnected().
struct THubAccess : QObject
{
    static bool HasReceiver(const QObject& hub, const char* signature)
    {
        constexpr auto isSignalConnected = &THubAccess::isSignalConnected;
        const QMetaObject& metaObject = *hub.metaObject();
        return (hub.*isSignalConnected)(metaObject.method(metaObject.indexOfSignal(signature)));
    }
};

} // namespace

namespace console {

TPluginSession::TPluginSession(int workerTimeoutMs)
    : m_features(ConfigManager::Instance()), m_userLevels(ConfigManager::Instance())
{
    m_workerTimeout.setSingleShot(true);
    m_workerTimeout.setInterval(workerTimeoutMs);
    connect(&m_workerTimeout, &QTimer::timeout, this, &TPluginSession::WorkerFailed);
    connect(&m_workerStart, &hostimpl::TStartWatch::AllInitialised, this,
            &TPluginSession::OnWorkerInitialised);
}

TPluginSession::~TPluginSession()
{
    Stop();
}

bool TPluginSession::Start(const QString& pluginPath, QWidget* parentWidget, QString& errorText)
{
    const TPluginContext context{parentWidget, &m_coordinator, QCoreApplication::applicationName(),
                                 &m_userLevels, &m_features};
    if (!m_plugin.Load(pluginPath, errorText)) {
        return false;
    }
    bool isStarted = false;
    m_workerStart.Run([&] { isStarted = m_plugin.Start(context, errorText); });
    if (isStarted) {
        m_workerTimeout.start();
    }
    return isStarted;
}

// If the SDK cannot be set up (an invalid service address, no memory), the worker's Initialize()
// returns without a log line and without a connection to the hub (ADR 24). Then no request reaches
// the worker. Listen() comes later, so a receiver of the hub's signal is the worker.
void TPluginSession::OnWorkerInitialised()
{
    if (Hub() == nullptr) {
        return; // Start() failed, or Stop() came first
    }
    m_workerTimeout.stop();
    if (THubAccess::HasReceiver(*Hub(), "KelvoLoginRequested()")) {
        Q_EMIT WorkerReady();
    } else {
        Q_EMIT WorkerFailed();
    }
}

bool TPluginSession::Listen(THubListener::THandler handler, QString& errorText)
{
    m_listener = std::make_unique<THubListener>(
        [this, handler = std::move(handler)](const THubEvent& event) {
            m_announcer.OnHubEvent(event);
            handler(event);
        });
    if (!m_listener->Attach(*m_plugin.Hub(), errorText)) {
        m_listener.reset();
        m_plugin.Stop();
        return false;
    }
    return true;
}

bool TPluginSession::CreateScreens(QString& errorText)
{
    return m_plugin.CreateScreens(errorText);
}

void TPluginSession::StartSource(const TGpsSetting& setting)
{
    m_source.reset(); // the monitor accepts one source at a time
    m_source = std::make_unique<TPositionThread>(setting, m_position, m_time);
    m_source->start(QThread::InheritPriority);
}

void TPluginSession::Stop()
{
    m_workerTimeout.stop();
    m_source.reset();
    m_listener.reset(); // the hub ends with the plug-in
    m_plugin.Stop();
}

} // namespace console
