// What the plug-in's library exports: the entry points that the host resolves by name, and its
// process-wide pointers. All on the main thread.
#pragma once

#include "core/TKelvoInterface.h"

#include <QtCore/QString>

class QWidget;
class TAppFeatures;
class TAppUserLevels;
class TGPSCoordinator;
class TKelvoDll;

extern "C" {

// The root object; null before Initialise and after Finalise.
KELVO_EXPORT extern TKelvoDll* dll;
// As handed to the last Initialise; the host's.
KELVO_EXPORT extern const TAppUserLevels* UserLevels;
KELVO_EXPORT extern const TAppFeatures* Features;

// Builds and starts the plug-in. A repeated call only takes over the user levels and the features.
// An exception leaves `dll` null. What is handed in must outlive Finalise.
KELVO_EXPORT void Initialise(QWidget* parentWidget, const TGPSCoordinator* gpsCoordinator,
                             const QString& hostString, const TAppUserLevels* userLevels,
                             const TAppFeatures* features);

// Stops the plug-in and blocks until its thread has ended; nothing happens if it is not running.
KELVO_EXPORT void Finalise();

// The hub; null before the first Initialise and after Finalise.
KELVO_EXPORT TKelvoInterface* GetKelvoInterface();
}
