// The thread of the position source.
#pragma once

#include "console/position/GpsSetting.h"
#include "console/position/SourceTime.h"
#include "console/position/TPositionMonitor.h"
#include "console/position/TPositionSource.h"
#include "host/TThreadedObject.h"

#include <memory>

namespace console {

// Creates the source on the thread and deletes it there.
//
// Ownership: the caller owns the monitor and the time, which must outlive the thread. The
// destructor stops the thread and waits for its end.
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
    std::unique_ptr<TPositionSource> m_source; // lives on the thread
};

} // namespace console
