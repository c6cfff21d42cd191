// watch: prints one line for each event. Resumes after cuts without a gap or a repetition.
#include "service/kelvoctl/Backoff.h"
#include "service/kelvoctl/Commands.h"
#include "service/kelvoctl/EventParser.h"
#include "service/kelvoctl/Failures.h"
#include "service/kelvoctl/FileText.h"
#include "service/kelvoctl/Names.h"

#include <iostream>
#include <limits>

namespace kelvoctl {
namespace {

using nlohmann::json;

constexpr int kReconnects = 10;
constexpr std::chrono::seconds kSilence{150}; // the service sends a comment every 60 s

struct WatchOptions
{
    int count = 0; // 0: no limit
    std::string from;
};

std::string summary(const std::string& name, const json& data)
{
    if (name == "file-added" || name == "file-removed") {
        const json& file = data.at("entry");
        return "file " + file.at("id").dump() + " " + file.at("name").get<std::string>() + " (" +
               file.at("size").dump() + " bytes) in inbox " + data.at("container").at("id").dump() +
               senderText(file);
    }
    if (name == "file-fetched") {
        const json& file = data.at("entry");
        return "file " + file.at("id").dump() + " " + file.at("name").get<std::string>() + " " +
               fetchText(file);
    }
    if (name == "inbox-added") {
        return "inbox " + data.at("entry").at("id").dump() + " of " +
               data.at("entry").at("owner").at("name").get<std::string>() + " in project " +
               data.at("container").at("id").dump();
    }
    if (name == "console-moved") {
        return "console " + data.at("console").dump() + " of " +
               data.at("user").at("name").get<std::string>() + " at " + data.at("latitude").dump() +
               " " + data.at("longitude").dump();
    }
    return oneLine(data);
}

class Watch
{
public:
    Watch(CommandContext& context, const WatchOptions& options)
        : m_context(context),
          m_options(options),
          m_parser([this](const Event& event) { take(event); })
    {}

    // Starts at the account's cursor instead of "now". So no event is missing that happens before
    // the stream is open.
    void run()
    {
        m_last = m_options.from.empty()
                     ? m_context.client().call("GET", "/account").at("cursor").get<std::string>()
                     : m_options.from;
        Backoff backoff(kReconnects);
        while (!done()) {
            try {
                connect(backoff);
            } catch (const Unreachable& failure) {
                if (!failure.isRetryable() || (!done() && !backoff.wait())) {
                    throw;
                }
            }
        }
    }

private:
    bool done() const { return m_options.count > 0 && m_seen >= m_options.count; }

    void connect(Backoff& backoff)
    {
        m_parser.reset();
        Request request;
        request.method = "GET";
        request.path = "/events";
        request.headers = {"Last-Event-ID: " + m_last, "Accept: text/event-stream"};
        request.stall = kSilence;
        request.onContent = [&](long, const Headers&, std::string_view bytes) {
            announce();
            backoff.progressed();
            m_parser.feed(bytes);
            return !done();
        };
        m_context.client().expect(request);
        // The service closed the stream, as it does when it stops.
        if (!done() && !backoff.wait()) {
            throw Unreachable("The service closes the event stream repeatedly.", true);
        }
    }

    void announce()
    {
        if (!m_announced) {
            std::cerr << "kelvoctl: watching from " << m_last << std::endl;
            m_announced = true;
        }
    }

    void take(const Event& event)
    {
        if (done()) {
            return;
        }
        const json data = json::parse(event.data);
        if (m_context.json) {
            json line = {{"event", event.name}, {"data", data}};
            if (!event.id.empty()) {
                line["id"] = event.id;
            }
            std::cout << oneLine(line) << std::endl;
        } else {
            std::cout << printable(event.id.empty() ? "-" : event.id) << "  "
                      << printable(event.name) << "  " << printable(summary(event.name, data))
                      << std::endl;
        }
        if (event.name == "session-ended") {
            throw Refused(0, "The session has ended", data.value("reason", ""));
        }
        m_last = event.id.empty() ? m_last : event.id;
        ++m_seen;
    }

    CommandContext& m_context;
    WatchOptions m_options;
    EventParser m_parser;
    std::string m_last;
    int m_seen = 0;
    bool m_announced = false;
};

} // namespace

void addWatchCommand(CLI::App& line, CommandContext& context)
{
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* watch = line.add_subcommand("watch", "Print events as they happen")->fallthrough();
    watch->add_option("--count", options->count, "Stop after N events")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()))
        ->type_name("N");
    watch->add_option("--from", options->from, "Start after this event (default: now)")
        ->type_name("ID")
        ->check([](const std::string& text) {
            return text.find_first_not_of("0123456789") == std::string::npos ? "" : "not an id";
        });
    watch->callback([&context, options] {
        context.action = [&context, options] { Watch(context, *options).run(); };
    });
}

} // namespace kelvoctl
