#include "console/position/PositionLog.h"

Q_LOGGING_CATEGORY(lcPosition, "kelvo.position", QtInfoMsg)
