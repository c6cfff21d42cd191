#include "console/position/TPositionThread.h"

#include "console/position/TGpsdSource.h"
#include "console/position/TLogSource.h"
#include "console/position/TSerialSource.h"

namespace console {

TPositionThread::TPositionThread(const TGpsSetting& setting, TPositionMonitor& monitor,
                                 TSourceTime& time)
    : TThreadedObject(QStringLiteral("GPS source")),
      m_setting(setting),
      m_monitor(monitor),
      m_time(time)
{}

TPositionThread::~TPositionThread()
{
    Stop();
    wait();
}

void TPositionThread::Initialize()
{
    TThreadedObject::Initialize();
    m_source = MakeSource();
    if (m_source) {
        m_source->Start();
    }
}

void TPositionThread::Finalize()
{
    m_source.reset();
    m_monitor.OnSource(ESourceState::eOff);
    TThreadedObject::Finalize();
}

std::unique_ptr<TPositionSource> TPositionThread::MakeSource()
{
    switch (m_setting.kind) {
    case EGpsKind::eNone:
        break;
    case EGpsKind::eGpsd:
        return std::make_unique<TGpsdSource>(m_setting.host, m_setting.port, m_monitor, m_time);
    case EGpsKind::eLog:
        return std::make_unique<TLogSource>(m_setting.path, m_setting.speed, m_monitor, m_time);
    case EGpsKind::eSerial:
        return std::make_unique<TSerialSource>(m_setting.path, m_setting.baud, m_monitor, m_time);
    }
    return nullptr;
}

} // namespace console
