#include "host/TGen2DynamicLibrary.h"

TGen2DynamicLibrary::TGen2DynamicLibrary(QWidget* parentWidget) : m_parentWidget(parentWidget) {}

TGen2DynamicLibrary::~TGen2DynamicLibrary() = default;

void TGen2DynamicLibrary::InitialiseSettings() {}

void TGen2DynamicLibrary::CreateScreens() {}
