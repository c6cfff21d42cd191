// The languages that the console speaks, where their translations are installed.
#pragma once

#include <QtCore/QString>

#include <array>

namespace console {

struct TLanguage
{
    const char* code; // as Qt names a locale
    const char* name; // in the language itself, UTF-8
};

constexpr std::array<TLanguage, 6> languages = {{
    {"", "English"},
    {"de", "Deutsch"},
    {"fr", "Fran\u00e7ais"},
    {"es", "Espa\u00f1ol"},
    {"pt_BR", "Portugu\u00eas (Brasil)"},
    {"pl", "Polski"},
}};

// Row of the language with this code; that of English for an unknown one.
int LanguageRow(const QString& code);

// Whether there is anything to install for a language. Always for English.
bool IsLanguageInstalled(const QString& code);

// From now on texts are in this language as far as there are translations. Once, before the first
// screen; the application object owns the translations.
void InstallLanguage(const QString& code);

} // namespace console
