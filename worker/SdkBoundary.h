// Converts between the plug-in's Qt types and the SDK's wide strings, error records and times.
#pragma once

#include "kesdk/api/CErrorMsg.h"
#include "kesdk/api/xal_list.h"

#include <QtCore/QString>

// The operator's text for the newest record of `errors`, as plain text: what happened and, on a
// second line, what to do. Null for an empty list; otherwise never empty. The text has no zero
// characters. Files that the markup names are not read.
QString GetLastErrorMsg(const xal_list<kesdk::api::CErrorMsg>& errors);

// Copies `text` into `buffer` of `bufferSize` characters, cut if it is longer, always with a
// terminator. Returns the number of characters without the terminator.
int QStringToTCHAR(QString text, wchar_t* buffer, int bufferSize);

// Milliseconds since 1970-01-01 00:00 UTC by the system's clock.
qint64 getPosixCurrentTime();
