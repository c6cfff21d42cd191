// The command line as a whole: reads it, runs the command, turns failures into messages and exit
// codes.
#pragma once

namespace kelvoctl {

// Results go to stdout, messages to stderr. Returns an ExitCode as an int; throws nothing.
int run(int argc, char** argv);

} // namespace kelvoctl
