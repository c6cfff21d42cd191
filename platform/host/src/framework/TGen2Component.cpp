// The phases of a component do nothing by default.
#include "host/TGen2Component.h"

TGen2Component::~TGen2Component() = default;

void TGen2Component::PreInitialise() {}

void TGen2Component::Initialise() {}

void TGen2Component::PostInitialise() {}

void TGen2Component::InitialiseSettings() {}

void TGen2Component::Finalise() {}
