// The system's steady clock and Qt's timers.
#pragma once

#include "console/position/SourceTime.h"

namespace console {

class TSystemSourceTime : public TSourceTime
{
public:
    std::int64_t NowMs() const override;
    std::unique_ptr<TSourceTimer> MakeTimer(std::function<void()> onTimeout) override;
};

} // namespace console
