// Start and stop of the plug-in's parts.
#include "plugin/TKelvoDll.h"

#include "core/TKelvoInterface.h"
#include "host/TWindowManagerApi.h"
#include "worker/TKelvoThreadObject.h"

#include <QtCore/QUuid>

#include <memory>

namespace {

// The plug-in's application identifier: 9e5b9e35-77b2-4f19-acaa-5ce817b88895.
constexpr QUuid APPLICATION_UUID(0x9e5b9e35, 0x77b2, 0x4f19, 0xac, 0xaa, 0x5c, 0xe8, 0x17, 0xb8,
                                 0x88, 0x95);

} // namespace

TKelvoDll::TKelvoDll(QWidget* parentWidget, const TGPSCoordinator* gpsCoordinator,
                     const TAppFeatures& features, const QString& hostString)
    : TGen2DynamicLibrary(parentWidget)
{
    // The hub comes first: the worker connects to it as soon as its thread runs. Until there is a
    // worker to end its life, nobody gets to see it.
    auto hub = std::make_unique<TKelvoInterface>();
    m_worker = new TKelvoThreadObject(gpsCoordinator, features, hostString);
    KelvoInterface = hub.release();
}

TKelvoDll::~TKelvoDll() = default;

void TKelvoDll::Initialise()
{
    TGen2Component::Initialise();
    m_worker->start(QThread::LowestPriority);
}

// The order is part of the contract: no screen may outlive the hub, which ends with the worker.
void TKelvoDll::Finalise()
{
    TWindowManagerApi::Instance().RemoveWindowSurfaces(ZRA::OrvaleID(APPLICATION_UUID));
    m_worker->Stop();
    m_worker->wait();
    delete m_worker;
    m_worker = nullptr;
    TGen2Component::Finalise();
}
