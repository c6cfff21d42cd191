#include "base/Catalogue.h"

#include <dlfcn.h>
#include <libintl.h>
#include <locale.h>

#include <cstdlib>
#include <memory>

namespace kesdk::impl {

namespace {

constexpr const char* kDomain = "kesdk";

// gettext translates only in a locale other than C. The language comes from LANGUAGE, so any of
// these locales serves. From glibc 2.39 on, C.UTF-8 no longer serves.
constexpr const char* kLocales[] = {"en_US.UTF-8", "de_DE.UTF-8", "fr_FR.UTF-8", "es_ES.UTF-8",
                                    "pt_BR.UTF-8", "pl_PL.UTF-8", "C.UTF-8"};

locale_t MakeLocale()
{
    for (const char* const name : kLocales) {
        if (const locale_t locale = newlocale(LC_MESSAGES_MASK, name, locale_t{}))
            return locale;
    }
    return {};
}

// Gives the calling thread a locale in which gettext translates, while the object exists.
class TranslatingLocale
{
public:
    TranslatingLocale()
    {
        static const locale_t locale = MakeLocale(); // for the life of the process
        const char* const language = std::getenv("LANGUAGE");
        if (locale && language && *language != '\0')
            m_before = uselocale(locale);
    }
    ~TranslatingLocale()
    {
        if (m_before)
            uselocale(m_before);
    }
    TranslatingLocale(const TranslatingLocale&) = delete;
    TranslatingLocale& operator=(const TranslatingLocale&) = delete;

    bool IsSet() const { return m_before != locale_t{}; }

private:
    locale_t m_before{};
};

} // namespace

std::string FolderOfCatalogues()
{
    Dl_info library{};
    if (!dladdr(reinterpret_cast<const void*>(&FolderOfCatalogues), &library))
        return {};
    const std::unique_ptr<char, void (*)(void*)> path(realpath(library.dli_fname, nullptr), &free);
    if (!path)
        return {};
    const std::string text(path.get());
    return text.substr(0, text.rfind('/') + 1) + "locale";
}

void UseCatalogues(const std::string& folder)
{
    bindtextdomain(kDomain, folder.c_str());
    bind_textdomain_codeset(kDomain, "UTF-8");
}

std::string Translate(const char* text)
{
    const TranslatingLocale locale;
    return locale.IsSet() ? dgettext(kDomain, text) : text;
}

std::string TranslateCount(const char* one, const char* many, unsigned long number)
{
    const TranslatingLocale locale;
    if (!locale.IsSet())
        return number == 1 ? one : many;
    return dngettext(kDomain, one, many, number);
}

} // namespace kesdk::impl
