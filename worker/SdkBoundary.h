// Between the plug-in's Qt strings and the SDK's wide strings and clocks.
#pragma once

#include "kesdk/api/CErrorMsg.h"
#include "kesdk/api/xal_list.h"

#include <QtCore/QString>

// The operator's text for the newest record of `errors`, HTML reduced to plain text: what happened
// and, on a second line, what to do. Null for an empty list, never empty otherwise. Holds no zero
// characters; files that the markup names are not read.
QString GetLastErrorMsg(const xal_list<kesdk::api::CErrorMsg>& errors);

// Copies `text` into `buffer` of `bufferSize` characters, cut to fit, always with a terminator.
// Returns the number of characters written without it.
int QStringToTCHAR(QString text, wchar_t* buffer, int bufferSize);

// Milliseconds since 1970-01-01 00:00 UTC by the system's clock.
qint64 getPosixCurrentTime();
