// The thread that positions come from.
#pragma once

#include "console/position/GpsSetting.h"
#include "console/position/SourceTime.h"
#include "console/position/TPositionMonitor.h"
#include "console/position/TPositionSource.h"
#include "host/TThreadedObject.h"

#include <memory>

namespace console {

// Makes the source on the thread and ends it there.
//
// Ownership: monitor and time are the caller's and must outlive it. The destructor stops and joins.
class TPositionThread : public TThreadedObject
{
    Q_OBJECT

public:
    TPositionThread(const TGpsSetting& setting, TPositionMonitor& monitor, TSourceTime& time);
    ~TPositionThread() override;

protected:
    void Initialize() override;
    void Finalize() override;

private:
    std::unique_ptr<TPositionSource> MakeSource();

    const TGpsSetting m_setting;
    TPositionMonitor& m_monitor;
    TSourceTime& m_time;
    std::unique_ptr<TPositionSource> m_source; // of the thread
};

} // namespace console
