// Runs the tool: reads the command line, runs the command, and turns exceptions into messages and
// exit codes.
#pragma once

namespace kelvoctl {

// Results go to stdout, messages to stderr. Returns an ExitCode as an int. Throws nothing.
int run(int argc, char** argv);

} // namespace kelvoctl
