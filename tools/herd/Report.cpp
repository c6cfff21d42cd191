#include "tools/herd/Report.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <iomanip>
#include <ostream>
#include <stdexcept>

namespace herd {

namespace {

std::string counted(std::size_t count, const char* noun)
{
    return count == 0 ? std::string()
                      : std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

} // namespace

EExit Report::exitCode() const
{
    if (run.invariants.broken() > 0) {
        return EExit::Broken;
    }
    if (!isChecked || checked.farms < options.farms) {
        return EExit::Unchecked;
    }
    return notChecked().empty() ? EExit::AllHold : EExit::Incomplete;
}

std::string Report::notChecked() const
{
    const std::string parts[] = {
        counted(options.farms - checked.farms, "farm"),
        counted(checked.consolesOf - checked.consoles, "console"),
        counted(run.uploadsOpen, "upload"),
        counted(checked.contentsOf - checked.contents, "content"),
    };
    std::string all;
    for (const std::string& part : parts) {
        all += all.empty() || part.empty() ? part : ", " + part;
    }
    return all;
}

void Report::print(std::ostream& out) const
{
    out << "kelvo-herd: " << options.consoles << " consoles, " << options.farms << " farms, seed "
        << options.seed << ", load for " << std::fixed << std::setprecision(0) << loadS << " s\n";
    run.network.figures.print(out);
    run.invariants.print(out);
    out << "contents read back: " << checked.contents << " of " << checked.stored << '\n';
    if (const std::string missing = notChecked(); !missing.empty()) {
        out << "NOT CHECKED: " << missing << '\n';
    }
    if (!isChecked) {
        out << "The checks did not come to their end.\n";
    }
    out << "memory: " << peakKib / 1024 << " MiB at its peak, " << consoleKib
        << " KiB for each console\n";
    if (!out.flush()) {
        throw std::runtime_error("The report could not be printed.");
    }
}

nlohmann::json Report::toJson() const
{
    return {
        {"consoles", options.consoles},
        {"farms", options.farms},
        {"seed", options.seed},
        {"load_s", loadS},
        {"exit_code", static_cast<int>(exitCode())},
        {"checked", isChecked},
        {"unchecked_farms", options.farms - checked.farms},
        {"unchecked_consoles", checked.consolesOf - checked.consoles},
        {"open_uploads", run.uploadsOpen},
        {"contents",
         {{"stored", checked.stored}, {"chosen", checked.contentsOf}, {"read", checked.contents}}},
        {"peak_kib", peakKib},
        {"console_kib", consoleKib},
        {"figures", run.network.figures.toJson()},
        {"invariants", run.invariants.toJson()},
    };
}

void Report::write(const std::string& file) const
{
    if (file.empty()) {
        return;
    }
    std::ofstream out(file);
    out << toJson().dump(2) << '\n';
    out.close();
    if (!out) {
        throw std::runtime_error("--report: " + file + " could not be written.");
    }
}

std::size_t peakMemoryKib()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::size_t value = 0;
        if (word == "VmHWM:" && status >> value) {
            return value;
        }
    }
    return 0;
}

} // namespace herd
