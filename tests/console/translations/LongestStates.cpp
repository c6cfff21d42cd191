#include "console/translations/LongestStates.h"

namespace kelvo::test {

using kesdkimpl::EProblem;
using kesdkimpl::ESession;

QList<console::TPositionState> Positions()
{
    QList<console::TPositionState> positions;
    console::TPositionState state;
    for (const console::ESourceState source :
         {console::ESourceState::eOff, console::ESourceState::eConnecting,
          console::ESourceState::eEnded}) {
        state.source = source;
        positions << state;
    }
    state.source = console::ESourceState::eRunning;
    state.state = console::EPositionState::eLost;
    state.ageMs = 119'000;
    positions << state;
    state.state = console::EPositionState::eFix;
    state.fix.latitudeDegrees = -52.123456;
    state.fix.longitudeDegrees = -117.123456;
    state.ageMs = 1000;
    for (int quality = 0; quality <= int(console::EFixQuality::eSimulated); ++quality) {
        state.fix.quality = static_cast<console::EFixQuality>(quality);
        positions << state;
    }
    return positions;
}

QList<kesdkimpl::LinkStatus> Links()
{
    QList<kesdkimpl::LinkStatus> links;
    kesdkimpl::LinkStatus status;
    for (int session = 0; session <= int(ESession::eLoggedIn); ++session) {
        status.session = static_cast<ESession>(session);
        links << status;
    }
    status.offlineSince = kesdkimpl::Moment{1800000000, {}};
    for (int problem = 1; problem <= int(EProblem::eNotTrusted); ++problem) {
        status.problem = static_cast<EProblem>(problem);
        links << status;
    }
    return links;
}

console::TFileCount Files(const QString& lastName)
{
    console::TFileCount files;
    console::THubEvent event;
    event.signal = console::EHubSignal::eDownloadRequested;
    event.fileNames = QStringList();
    for (int i = 1; i < 100; ++i) {
        *event.fileNames << QString();
    }
    *event.fileNames << lastName;
    files.OnHubEvent(event);
    return files;
}

QList<kesdkimpl::LinkStatus> Transfers()
{
    kesdkimpl::LinkStatus status;
    status.transfer = kesdkimpl::TransferStatus();
    status.transfer->doneBytes = 888'800'000;
    status.transfer->totalBytes = 988'800'000;
    status.transfer->bytesPerSecond = 888'800;
    status.transfer->waitsUntilS = 1800000000;
    QList<kesdkimpl::LinkStatus> transfers{status};
    status.transfer->phase = kesdkimpl::EPhase::eVerifies;
    transfers << status;
    status.transfer->phase = kesdkimpl::EPhase::eWaits;
    status.problem = EProblem::eNoAnswer;
    return transfers << status;
}

QList<console::THomeState> HomeStates()
{
    QList<console::THomeState> states{{}, {}, {}, {}};
    for (int i = 1; i < states.size(); ++i) {
        states[i].isLoggedIn = true;
        states[i].link.session = ESession::eLoggedIn;
        states[i].link.lastContact = states[i].link.listsCurrentAt =
            kesdkimpl::Moment{1800000000, {}};
        states[i].position = Positions().last();
        states[i].folders = console::TFolderFigures(); // no folder can be read
    }
    for (int i = 2; i < states.size(); ++i) {
        states[i].position.fix.satellites = 88;
        states[i].position.fix.speedKmh = 188.8;
        states[i].position.fix.headingDegrees = 288.0;
        states[i].service.fill(console::THomeState::TServiceCount{10'000, 8888});
        states[i].folders->categories.fill({10'000, 10'000});
        states[i].folders->freeBytes = 888'800'000'000;
    }
    states[3].link.problem = EProblem::eNoAnswer;
    states[3].link.offlineSince = kesdkimpl::Moment{1800000000, {}};
    return states;
}

} // namespace kelvo::test
