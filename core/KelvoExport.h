// Marks the names that the plug-in's library exports. All of them are unmangled.
#pragma once

#define KELVO_EXPORT __attribute__((visibility("default")))
