// Marks what the host framework's library offers to the plug-in and the console.
#pragma once

// The same on both sides: a class that one library exports must have visible type information in
// every library that uses it.
#define CONSOLEHOST_EXPORT __attribute__((visibility("default")))
