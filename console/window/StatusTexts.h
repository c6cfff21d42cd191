// The texts of the status bar.
#pragma once

#include "console/position/PositionState.h"
#include "kesdkimpl/LinkStatus.h"

#include <QtCore/QString>

#include <cstdint>

namespace console {

struct TStatusWords
{
    QString iconName; // in the theme of the host framework
    QString text;
};

// A number in the operator's language, such as "10,000".
QString NumberText(qlonglong number);
// Such as "RTK".
QString QualityText(EFixQuality quality);
// The position in degrees, for example "52.12050° N  11.62760° E".
QString PlaceText(const TReceivedFix& fix);
TStatusWords PositionWords(const TPositionState& state);
TStatusWords LinkWords(const kesdkimpl::LinkStatus& status);
// Such as "No network"; empty without a problem.
QString ProblemText(kesdkimpl::EProblem problem);
// The time of day of a time since 1970; with the day of the week if it is not today.
QString TimeText(std::int64_t wallS);

} // namespace console
