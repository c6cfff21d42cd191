// The names of the projects on the service, by kind of data.
#pragma once

#include "core/KelvoRecords.h"

// Indexed by EKelvoProjects. Matched exactly and never translated.
constexpr const wchar_t* SERVICE_PROJECT_NAMES[KELVO_PROJECT_COUNT] = {
    L"To Console", L"From Console",  L"AB Lines",      L"Curves",
    L"Pivots",     L"Optimal Lines", L"Project Lines",
};

// The kinds that are listed for download, in this order. Job reports are only uploaded.
constexpr EKelvoProjects LISTED_PROJECTS[] = {
    ePrescriptionMaps, eABLines, eCurves, ePivots, eOptimalLines, eProjectLines,
};
