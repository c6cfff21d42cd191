// The result of a run: figures, invariants, what was not checked, and the exit code.
#pragma once

#include "tools/herd/CommandLine.h"
#include "tools/herd/Console.h"
#include "tools/herd/FinalCheck.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace herd {

/** The exit codes of the program. A smaller number hides a larger number, except 0. */
enum class EExit : std::uint8_t {
    AllHold = 0,
    Broken = 1,
    Refused = 2,    // did not start
    Unchecked = 3,  // the checks did not come to their end
    Incomplete = 4, // all that was checked holds
    Unreported = 5, // the report could not be written
};

/** `run` must outlive the report. */
struct Report
{
    const Options& options;
    const Run& run;
    Checked checked;
    bool isChecked = false; // the checks came to their end
    double loadS = 0;       // from the first login to the end of the load
    std::size_t peakKib = 0;
    std::size_t consoleKib = 0; // for each console and each office

    EExit exitCode() const;
    /** For example "2 consoles, 1 upload". Empty: all was checked. */
    std::string notChecked() const;
    /** Throws std::runtime_error with a sentence for the operator. */
    void print(std::ostream& out) const;
    nlohmann::json toJson() const;
    /** The same as JSON; no file if `file` is empty. Throws as print(). */
    void write(const std::string& file) const;
};

/** The largest memory of this process so far, in KiB; 0 if it is unknown. */
std::size_t peakMemoryKib();

} // namespace herd
