// Tells the SDK whether the console could unpack a fetched file. For consoles: the plug-in cannot
// include this header.
#pragma once

namespace kesdkimpl {

// If this console has downloaded the file, also in an earlier run, the SDK reports the result with
// its next report of fetched files. Call this function while the archive still has the path `path`:
// the SDK recognises the file that it wrote, and ignores any other file. `path` has the encoding of
// file names. `errorUtf8` is null if the archive is unpacked. Otherwise it is the reason, of which
// the SDK reports 255 characters. The reason may hold a local path. An empty reason is "unknown".
//
// Thread safety: safe. Sends nothing. Blocks while the SDK writes its journal, without a sync.
// Errors: drops the result if the memory is full.
#if defined(KESDK_BUILDING_LIBRARY)
__attribute__((visibility("default")))
#endif
void NoteUnpacking(const char* path, const char* errorUtf8) noexcept;

} // namespace kesdkimpl
