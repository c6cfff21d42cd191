// The languages of the console and their translations.
#pragma once

#include <QtCore/QString>

#include <array>

namespace console {

struct TLanguage
{
    const char* code; // the name of the locale in Qt
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

// The row of the language with this code. An unknown code gives the row of English.
int LanguageRow(const QString& code);

// Whether a translation file exists for the language. Always true for English.
bool IsLanguageInstalled(const QString& code);

// Translates all later texts to this language, as far as there are translations. Call it once,
// before the first screen. The application object owns the translations.
void InstallLanguage(const QString& code);

} // namespace console
