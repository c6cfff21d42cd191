#include "service/Service.h"

#include "service/ContentsHome.h"
#include "service/DataFolder.h"
#include "service/FirstStart.h"
#include "service/IoThreads.h"
#include "service/Janitor.h"
#include "service/NetworkMetrics.h"
#include "service/OpenDatabase.h"
#include "service/Readiness.h"
#include "service/ServiceClock.h"
#include "service/ServiceState.h"
#include "service/StopSignals.h"
#include "service/api/ApiApplication.h"
#include "service/base/Log.h"
#include "service/http/Listener.h"
#include "service/metrics/Metrics.h"
#include "service/metrics/MonitorApplication.h"
#include "service/metrics/ProcessMetrics.h"
#include "service/store/ReserveShares.h"
#include "service/store/StateQueries.h"
#include "service/tls/CertificateKeeper.h"
#include "service/web/WebApplication.h"

#include <algorithm>
#include <cstdio>

namespace kelvo {

namespace {

using namespace std::chrono_literals;

constexpr auto transferGrace = 5s; // the time for running transfers when the service stops
constexpr unsigned fileThreads = 4;
constexpr unsigned fewestHeads = 16; // unfinished heads of one address

/** The names in the service's own certificate. */
std::vector<std::string> ownNames(const ServeOptions& options)
{
    std::vector<std::string> names{"localhost", "127.0.0.1", "::1"};
    const std::string host = http::HostPort::parse(options.listen).host;
    if (host != "0.0.0.0" && host != "::" && host != "*") {
        names.push_back(host);
    }
    names.insert(names.end(), options.names.begin(), options.names.end());
    return names;
}

std::unique_ptr<tls::CertificateKeeper>
keepCertificate(const ServeOptions& options, const DataFolder& folder, const Clock& clock)
{
    try {
        return std::make_unique<tls::CertificateKeeper>(
            tls::CertificateKeeper::Source{
                {options.certificate, options.key}, folder.path(), ownNames(options)},
            clock);
    } catch (const std::exception& error) {
        throw StartRefused(error.what());
    }
}

DataFolder::Wait logAndWait()
{
    return [wait = DataFolder::waitAWhile(), isLogged = false]() mutable {
        if (!isLogged) {
            logInfo("waits-for-a-backup-or-check");
        }
        isLogged = true;
        return wait();
    };
}

std::unique_ptr<http::Listener> listen(IoThreads& threads, const std::string& address,
                                       http::Listener::TlsContexts tls,
                                       http::Application& application, const http::Limits& limits)
{
    try {
        return std::make_unique<http::Listener>(threads.contexts(), http::HostPort::parse(address),
                                                std::move(tls), application, limits);
    } catch (const std::exception& error) {
        throw StartRefused("cannot listen on " + address + ": " + error.what());
    }
}

/** The parts that requests use. Each part uses only the parts above it. */
struct Backend
{
    Backend(const ServeOptions& options, const DataFolder& dataFolder)
        : folder(dataFolder),
          reserve(folder.path() / "reserve", options.reserveBytes),
          database(openDatabase(folder)),
          home(
              openContents(options.contents, {*database, clock, folder.path(), reserve, filePool})),
          accounts(*database, clock,
                   {options.passwordCost, options.loginAttempts,
                    std::chrono::hours(options.sessionHours), options.quotas}),
          answerFiles(options.answerBytes)
    {
        database->onCommit(
            [this](const std::vector<store::Event>& events) { hub.publish(events); });
        database->onDoubt([this](const std::set<store::Id>& farms) { hub.reread(farms); });
        database->onFull([this] { return reserve.release(); });
        database->onChange(
            [this](const store::Transaction& change) { return reserveShares.admit(change); });
        checkClock(clock, *database, folder.path());
        makeFirstAdmin(*database, accounts.passwords(), clock, folder.path());
        context.settings.maxUploadBytes = options.maxUploadBytes;
        context.settings.quotas = options.quotas;
        context.settings.eventsKept = options.eventsKept;
    }

    Janitor::Parts janitorParts()
    {
        return {*database,
                home->contents(),
                home->folder(),
                [this] { home->removeUnused(); },
                digestLocks,
                clock,
                [this](const std::string& id) { return activeUploads.isHeld(id); },
                [this] { return checkClock(clock, *database, folder.path()); },
                heldBack,
                reserve};
    }

    const DataFolder& folder;
    const SystemClock machineClock;
    ServiceClock clock{machineClock};
    HeldBack heldBack;
    DiskReserve reserve;
    store::ReserveShares reserveShares{reserve};
    const std::unique_ptr<store::Database> database;
    WorkPool filePool{fileThreads};
    const std::unique_ptr<ContentsHome> home;
    content::DigestLocks digestLocks;
    api::ActiveUploads activeUploads;
    content::Integrity integrity;
    events::EventHub hub;
    accounts::Accounts accounts;
    api::AnswerFiles answerFiles;
    api::Context context{*database,
                         home->contents(),
                         digestLocks,
                         activeUploads,
                         integrity,
                         hub,
                         accounts,
                         clock,
                         filePool,
                         home->pool(),
                         reserve,
                         answerFiles,
                         home->scratchFolder(),
                         {}};
};

/** Null without `--web`. */
std::unique_ptr<web::WebApplication> makePage(const ServeOptions& options, http::Application& api)
{
    if (options.webFolder.empty()) {
        return nullptr;
    }
    try {
        return std::make_unique<web::WebApplication>(api, web::WebFiles(options.webFolder));
    } catch (const std::exception& error) {
        throw StartRefused("cannot serve the page in " + options.webFolder.string() + ": " +
                           error.what());
    }
}

Janitor::Settings janitorSettings(const ServeOptions& options)
{
    Janitor::Settings settings;
    settings.eventHours = options.eventHours;
    settings.unknownFor = std::chrono::days(options.unknownDays);
    settings.auditDays = options.auditDays;
    settings.consoleDays = options.consoleDays;
    return settings;
}

http::Limits limitsOf(const ServeOptions& options)
{
    http::Limits limits;
    limits.connections = options.connections;
    limits.connectionsPerAddress = options.connectionsPerAddress;
    limits.headsPerAddress = std::max(fewestHeads, options.connectionsPerAddress / 4);
    limits.trustedProxies = http::AddressList(options.trustedProxies);
    limits.proxyProtocol = options.proxyProtocol;
    limits.headTime = std::chrono::seconds(options.headSeconds);
    limits.idleTime = std::chrono::seconds(options.idleSeconds);
    limits.bodyStall = std::chrono::seconds(options.stallSeconds);
    return limits;
}

void announce(DataFolder& folder, const std::string& api, const std::string& monitor)
{
    folder.announce(api, monitor);
    std::printf("kelvo-service: listening on https://%s, metrics on http://%s\n", api.c_str(),
                monitor.c_str());
    std::fflush(stdout);
}

/** Adds the metrics whose values the parts of the service know. */
void showState(metrics::Metrics& metrics, const Backend& backend, const Janitor& janitor)
{
    metrics.show("kelvo_event_streams_open", "gauge", "Event streams open now.",
                 [&backend] { return static_cast<double>(backend.hub.openStreams()); });
    metrics.show("kelvo_contents_damaged_total", "counter",
                 "Answers refused or cut because the content is damaged, missing or unreadable.",
                 [&backend] { return static_cast<double>(backend.integrity.damagedReads()); });
    metrics.show("kelvo_disk_reserve_bytes", "gauge", "Size of the disk reserve.",
                 [&backend] { return static_cast<double>(backend.reserve.sizeBytes()); });
    metrics.show("kelvo_disk_reserve_used_bytes", "gauge",
                 "Part of the disk reserve that the database uses.", [&backend] {
                     return static_cast<double>(backend.reserve.sizeBytes() -
                                                backend.reserve.heldBytes());
                 });
    metrics.show("kelvo_clock_leaps_total", "counter",
                 "Jumps of the machine's clock: more than a day ahead or an hour back.",
                 [&backend] { return static_cast<double>(backend.clock.leaps()); });
    metrics.show("kelvo_clock_wait_seconds", "gauge",
                 "Run time until data is removed by its age again; 0 while the clock is trusted.",
                 [&backend] { return static_cast<double>(backend.clock.waitS()); });
    metrics.show("kelvo_cleanups_total", "counter", "Finished rounds of the clean-up.",
                 [&janitor] { return static_cast<double>(janitor.rounds()); });
    metrics.show({"kelvo_cleanup_held_back", "gauge",
                  "Rows that the clean-up does not remove while the clock is not trusted.",
                  [&held = backend.heldBack] {
                      return std::vector<metrics::Metrics::Sample>{
                          {"kind=\"session\"", static_cast<double>(held.sessions)},
                          {"kind=\"upload\"", static_cast<double>(held.uploads)},
                          {"kind=\"binned-file\"", static_cast<double>(held.binnedFiles)}};
                  }});
}

std::vector<Readiness::Check> readinessChecks(Backend& backend,
                                              const tls::CertificateKeeper& certificate)
{
    // The reserve comes first: its check makes the reserve whole if the disk has room again, and
    // the check of the database does not use it up on a full disk.
    return {{"disk reserve",
             [&backend] {
                 backend.reserve.requireRoom(0);
                 return std::string();
             }},
            {"database",
             [&backend] {
                 store::probe(*backend.database);
                 return std::string();
             }},
            {"content store",
             [&backend] {
                 backend.home->probe();
                 return std::string();
             }},
            {"certificate", [&backend, &certificate] {
                 const bool isValid =
                     backend.clock.expiryNowMs() / 1000 < certificate.certificateEndS();
                 return std::string(isValid ? "" : "has ended");
             }}};
}

/** Sets `isRunning` when requests are answered. */
void serve(const ServeOptions& options, bool& isRunning)
{
    const StopSignals stopSignals;
    DataFolder folder(options.dataFolder, logAndWait());
    Backend backend(options, folder);
    metrics::Metrics metrics;
    api::ApiApplication api(backend.context, metrics);
    const auto page = makePage(options, api);
    http::Application& application = page ? static_cast<http::Application&>(*page) : api;

    const auto certificate = keepCertificate(options, folder, backend.clock);
    ServiceState state(*backend.database, folder.path(), options.quotas.farm, options.shownFarms);
    Readiness readiness(readinessChecks(backend, *certificate));
    metrics::MonitorApplication monitor(metrics, [&readiness] { return readiness.ask(); });
    IoThreads threads;
    const auto apiListener = listen(
        threads, options.listen, [&certificate] { return certificate->context(); }, application,
        limitsOf(options));
    const auto monitorListener = listen(threads, options.metricsListen, {}, monitor, {});
    Janitor janitor(backend.janitorParts(), janitorSettings(options));
    backend.home->showIn(metrics);
    showState(metrics, backend, janitor);
    showNetwork(metrics, *certificate, *apiListener);
    state.showIn(metrics);
    metrics::showProcess(metrics);
    state.sample();
    apiListener->start();
    monitorListener->start();
    threads.start();

    announce(folder, apiListener->address().text(), monitorListener->address().text());
    logInfo("started");
    isRunning = true;
    WorkPool sampler{1}; // a disk that hangs must not keep the signals waiting
    stopSignals.wait([&janitor, &certificate, &state, &sampler](bool isReload) {
        certificate->refresh(isReload);
        state.sampleOn(sampler);
        if (isReload) {
            janitor.wake();
        }
    });
    logInfo("stopping");
    backend.home->beginStop();
    threads.drain({apiListener.get(), monitorListener.get()}, transferGrace);
    backend.home->finish(); // a running call uses its request
    logInfo("stopped");
}

} // namespace

void runService(const ServeOptions& options)
{
    bool isRunning = false;
    try {
        serve(options, isRunning);
    } catch (const StartRefused&) {
        throw;
    } catch (const std::exception& error) {
        if (!isRunning) {
            throw StartRefused(error.what());
        }
        throw;
    }
}

} // namespace kelvo
