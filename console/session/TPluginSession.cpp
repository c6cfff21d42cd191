#include "console/session/TPluginSession.h"

#include "console/position/TPositionThread.h"
#include "host/ConfigManager.h"

#include <QtCore/QCoreApplication>

#include <utility>

namespace console {

TPluginSession::TPluginSession()
    : m_features(ConfigManager::Instance()), m_userLevels(ConfigManager::Instance())
{}

TPluginSession::~TPluginSession()
{
    Stop();
}

bool TPluginSession::Start(const QString& pluginPath, QWidget* parentWidget, QString& errorText)
{
    const TPluginContext context{parentWidget, &m_coordinator, QCoreApplication::applicationName(),
                                 &m_userLevels, &m_features};
    return m_plugin.Load(pluginPath, errorText) && m_plugin.Start(context, errorText);
}

bool TPluginSession::Listen(THubListener::THandler handler, QString& errorText)
{
    m_listener = std::make_unique<THubListener>(
        [this, handler = std::move(handler)](const THubEvent& event) {
            m_announcer.OnHubEvent(event);
            handler(event);
        });
    if (!m_listener->Attach(*m_plugin.Hub(), errorText)) {
        Stop();
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
    m_source.reset(); // the monitor takes one source at a time
    m_source = std::make_unique<TPositionThread>(setting, m_position, m_time);
    m_source->start(QThread::InheritPriority);
}

void TPluginSession::Stop()
{
    m_source.reset();
    m_listener.reset(); // the hub ends with the plug-in
    m_plugin.Stop();
}

} // namespace console
