// The operator's texts in other languages, from the catalogues of gettext.
#pragma once

#include <string>

namespace kesdk::impl {

// The folder `locale` beside the library that holds this code. Empty if the library has no path.
std::string FolderOfCatalogues();

// Names the folder of the catalogues for the whole process. A missing folder leaves the texts in
// English.
void UseCatalogues(const std::string& folder);

// The text in the language that the environment variable LANGUAGE names, UTF-8. The text itself if
// LANGUAGE is unset, or if its catalogue is missing.
//
// Thread safety: any thread. The process must not change its environment at the same time. The
// locale of the process does not change.
std::string Translate(const char* text);

// The form of the text for this number. The caller replaces {n} by the number.
std::string TranslateCount(const char* one, const char* many, unsigned long number);

} // namespace kesdk::impl
