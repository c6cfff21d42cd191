// The destructors of the contract's interfaces. They are defined here so that the interfaces' type
// information exists once, for the console and all plug-ins.
#include "host/TAppFeatures.h"
#include "host/TAppUserLevels.h"
#include "host/TConsoleCharacteristics.h"
#include "host/UserLogAccessor.h"

TAppFeatures::~TAppFeatures() = default;

TAppUserLevels::~TAppUserLevels() = default;

TConsoleCharacteristics::~TConsoleCharacteristics() = default;

UserLogAccessor::~UserLogAccessor() = default;
