// Stands between QNetworkInterface and who asks it.
#include "tests/worker/FakeNetwork.h"

#include <QtNetwork/QNetworkInterface>

using fakes::FakeNetwork;

FakeNetwork& FakeNetwork::Instance()
{
    static FakeNetwork network;
    return network;
}

// A valid one is one of the system's, whichever: only its address is asked for.
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
