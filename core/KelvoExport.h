// Marks the few names that the plug-in's library exports, all of them unmangled.
#pragma once

#define KELVO_EXPORT __attribute__((visibility("default")))
