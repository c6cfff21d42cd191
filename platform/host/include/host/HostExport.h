// Marks the classes and functions that the host framework's library exports.
#pragma once

// The library and its users expand the macro in the same way. The type information of an exported
// class must be visible in every library that uses the class.
#define CONSOLEHOST_EXPORT __attribute__((visibility("default")))
