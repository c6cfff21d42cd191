// The plug-in's root object.
#pragma once

#include "host/TGen2DynamicLibrary.h"

#include <QtCore/QString>

class TAppFeatures;
class TGPSCoordinator;
class TKelvoThreadObject;

// Creates the hub and the worker, runs the worker's thread, and takes everything down again.
//
// Thread: main. Ownership: owned by the exported pointer `dll`; owns the worker, which Finalise()
// deletes. The hub is the worker's to delete.
class TKelvoDll : public TGen2DynamicLibrary
{
public:
    TKelvoDll(QWidget* parentWidget, const TGPSCoordinator* gpsCoordinator,
              const TAppFeatures& features, const QString& hostString);
    // Neither stops nor deletes the worker: that is Finalise()'s.
    ~TKelvoDll() override;

    // Starts the worker's thread and returns; the worker sets itself up on it.
    void Initialise() override;
    // Blocks until the worker's thread has ended.
    void Finalise() override;
#ifdef KELVO_HAS_SCREENS
    // Hands the window manager the login panel and the file controller; it owns them from then on.
    // Initialise() has run. An exception leaves nothing registered.
    void CreateScreens() override;
#endif

private:
    TKelvoThreadObject* m_worker = nullptr;
};
