// Replaces two operations of QNetworkInterface.
#include "tests/worker/FakeNetwork.h"

#include <QtNetwork/QNetworkInterface>

using fakes::FakeNetwork;

FakeNetwork& FakeNetwork::Instance()
{
    static FakeNetwork network;
    return network;
}

// A valid interface is any interface of the system: only its address is read.
QNetworkInterface QNetworkInterface::interfaceFromName(const QString& name)
{
    FakeNetwork& network = FakeNetwork::Instance();
    network.asked << name;
    return network.addresses.contains(name) ? allInterfaces().value(0) : QNetworkInterface();
}

QString QNetworkInterface::hardwareAddress() const
{
    const FakeNetwork& network = FakeNetwork::Instance();
    return isValid() ? network.addresses.value(network.asked.value(network.asked.size() - 1))
                     : QString();
}
