#include "service/Service.h"

#include "service/Backend.h"
#include "service/DataFolder.h"
#include "service/Drain.h"
#include "service/IoThreads.h"
#include "service/Janitor.h"
#include "service/NetworkMetrics.h"
#include "service/OpenDatabase.h"
#include "service/Readiness.h"
#include "service/ServiceManager.h"
#include "service/ServiceState.h"
#include "service/StopDeadline.h"
#include "service/StopSignals.h"
#include "service/api/ApiApplication.h"
#include "service/base/Log.h"
#include "service/events/NoticeListener.h"
#include "service/http/Listener.h"
#include "service/metrics/Metrics.h"
#include "service/metrics/MonitorApplication.h"
#include "service/metrics/ProcessMetrics.h"
#include "service/store/StateQueries.h"
#include "service/tls/CertificateKeeper.h"
#include "service/web/WebApplication.h"

#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace kelvo {

namespace {

using namespace std::chrono_literals;

constexpr auto transferGrace = 5s;   // the time for running transfers when the service stops
constexpr auto stopLimit = 25s;      // of the whole stop; the packaged unit kills after 30 s
constexpr int abandoned = 3;         // exit code; a failure while the service ran
constexpr unsigned fewestHeads = 16; // unfinished heads of one address, or of the proxies

/** The names in the service's own certificate. */
std::vector<std::string> ownNames(const ServeOptions& options)
{
    std::vector<std::string> names{"localhost", "127.0.0.1", "::1"};
    const auto add = [&names](const std::string& name) {
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    };
    const std::string host = http::HostPort::parse(options.listen).host;
    if (host != "0.0.0.0" && host != "::" && host != "*") {
        add(host);
    }
    std::for_each(options.names.begin(), options.names.end(), add);
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

LockWait logAndWait()
{
    return [wait = waitTenSeconds(), isLogged = false]() mutable {
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
    } catch (const boost::system::system_error& error) { // its what() names a place in the source
        throw StartRefused("cannot listen on " + address + ": " + error.code().message());
    } catch (const std::exception& error) {
        throw StartRefused("cannot listen on " + address + ": " + error.what());
    }
}

/** Null without `--web`. */
std::unique_ptr<web::WebApplication> makePage(const ServeOptions& options, http::Application& api,
                                              const std::string& imageOrigin)
{
    if (options.webFolder.empty()) {
        return nullptr;
    }
    try {
        return std::make_unique<web::WebApplication>(api, web::WebFiles(options.webFolder),
                                                     imageOrigin);
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
    limits.headsOfProxies = std::max(fewestHeads, options.connections / 2);
    limits.trustedProxies = http::AddressList(options.trustedProxies);
    limits.proxyProtocol = options.proxyProtocol;
    limits.headTime = std::chrono::seconds(options.headSeconds);
    limits.idleTime = std::chrono::seconds(options.idleSeconds);
    limits.bodyStall = std::chrono::seconds(options.stallSeconds);
    limits.proxyStall = 60 * limits.bodyStall;
    return limits;
}

void announce(DataFolder& folder, const std::string& api, const std::string& monitor)
{
    folder.announce(api, monitor);
    std::printf("kelvo-service: listening on https://%s, metrics on http://%s\n", api.c_str(),
                monitor.c_str());
    std::fflush(stdout);
    tellServiceManager("READY=1");
}

/** The folder of the contents; empty if it is on the disk of the data folder. */
std::filesystem::path ownDisk(ContentsHome& home)
{
    return home.scratchReserve() == nullptr ? home.scratchFolder() : std::filesystem::path();
}

/** Only transfers with an object store need memory of this kind. */
void showTransfers(metrics::Metrics& metrics, const api::TransferMemory& memory)
{
    metrics.show("kelvo_transfer_memory_bytes", "gauge", "Memory that running transfers hold.",
                 [&memory] { return static_cast<double>(memory.usedBytes()); });
    metrics.show("kelvo_transfers_refused_total", "counter",
                 "Transfers that were refused because no memory was left for them.",
                 [&memory] { return static_cast<double>(memory.refused()); });
}

/** Adds the metrics whose values the parts of the service know. */
void showState(metrics::Metrics& metrics, const Backend& backend, const Janitor& janitor)
{
    metrics.show("kelvo_event_streams_open", "gauge", "Event streams open now.",
                 [&backend] { return static_cast<double>(backend.broker.openStreams()); });
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
    metrics.show("kelvo_clock_jumps_total", "counter",
                 "Jumps of the machine's clock: more than a day ahead or an hour back.",
                 [&backend] { return static_cast<double>(backend.clock.jumps()); });
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
            {"clock", [&backend] { return wrongClock(*backend.database, backend.machineClock); }},
            {"content store",
             [&backend] {
                 backend.home->probe();
                 return std::string();
             }},
            {"certificate", [&certificate] { return certificate.failure(); }}};
}

/**
 * Called when jobs do not end. No part that a job may use is destroyed. Nothing acknowledged is
 * lost: a change is acknowledged after its commit.
 */
void abandonStop()
{
    logError("stop-abandoned", "the disk, the database or the object store does not answer");
    std::_Exit(abandoned);
}

/** Sets `isRunning` when requests are answered. */
void serve(const ServeOptions& options, bool& isRunning)
{
    StopDeadline stopDeadline; // the first part: the other parts may wait when they are destroyed
    const StopSignals stopSignals;
    DataFolder folder(options.dataFolder, logAndWait());
    Backend backend(options, folder);
    metrics::Metrics metrics;
    api::ApiApplication api(backend.context, metrics);
    const auto page = makePage(options, api, api::originOf(backend.context.settings.baseMap));
    http::Application& application = page ? static_cast<http::Application&>(*page) : api;

    const auto certificate = keepCertificate(options, folder, backend.clock);
    ServiceState state(*backend.database, folder.path(), ownDisk(*backend.home),
                       options.quotas.farm, options.shownFarms);
    Readiness readiness(readinessChecks(backend, *certificate));
    metrics::MonitorApplication monitor(metrics, [&readiness] { return readiness.ask(); });
    IoThreads threads;
    const auto apiListener = listen(
        threads, options.listen, [&certificate] { return certificate->context(); }, application,
        limitsOf(options));
    const auto monitorListener = listen(threads, options.metricsListen, {}, monitor, {});
    Janitor janitor(backend.janitorParts(), janitorSettings(options));
    backend.home->showIn(metrics);
    if (backend.home->folder() == nullptr) {
        showTransfers(metrics, backend.transferMemory);
    }
    showState(metrics, backend, janitor);
    showNetwork(metrics, *certificate, *apiListener);
    state.showIn(metrics);
    metrics::showProcess(metrics);
    state.sample();
    std::optional<events::NoticeListener> notices;
    if (options.database.isOnServer()) {
        notices.emplace(*backend.database, backend.broker);
    }
    apiListener->start();
    monitorListener->start();
    threads.start();

    announce(folder, apiListener->address().text(), monitorListener->address().text());
    logInfo("started");
    isRunning = true;
    WorkPool sampler{2}; // a disk that hangs must not keep the signals waiting
    stopSignals.wait([&](bool isReload) {
        certificate->refreshOn(sampler, isReload);
        state.sampleOn(sampler);
        if (threads.haveAnswered()) {
            tellServiceManager("WATCHDOG=1");
        }
        if (isReload) {
            janitor.wake();
        }
    });
    logInfo("stopping");
    tellServiceManager("STOPPING=1");
    readiness.beginStop();
    drain(std::chrono::seconds(options.drainSeconds), stopSignals, *apiListener, backend.broker);
    stopDeadline.start(stopLimit, abandonStop);
    backend.home->beginStop();
    threads.drain({apiListener.get(), monitorListener.get()}, transferGrace);
    sampler.stop();
    backend.finish(janitor);
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
