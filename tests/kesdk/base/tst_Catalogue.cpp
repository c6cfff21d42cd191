// The operator's texts in each language, with the catalogues of this build.
#include "base/Catalogue.h"
#include "connection/ErrorTexts.h"
#include "tests/support/Variable.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <filesystem>
#include <locale.h>
#include <string>
#include <thread>
#include <vector>

namespace kesdk::impl {

namespace {

constexpr const char* kLanguages[] = {"de", "es", "fr", "pl", "pt_BR"};
constexpr int kCodes = 100; // more than EErrorCode has

// Sets the language until the end of the scope. gettext keeps the texts of the language before
// until the folder of the catalogues changes.
class InLanguage
{
public:
    explicit InLanguage(const char* language) : m_language("LANGUAGE", language)
    {
        UseCatalogues("/nowhere");
        UseCatalogues(KESDK_CATALOGUES);
    }

private:
    kelvo::test::Variable m_language;
};

// A text in all its variants, and the one number in it.
api::CErrorMsg Error(int code)
{
    Failure failure(static_cast<EErrorCode>(code), "technical", 429);
    failure.retryAfter = std::chrono::seconds(45);
    return Describe(failure, L"a.zip");
}

std::vector<api::CErrorMsg> Errors()
{
    std::vector<api::CErrorMsg> errors;
    for (int code = 0; code < kCodes; ++code)
        errors.push_back(Error(code));
    return errors;
}

bool Holds(const std::wstring& text, const std::wstring& part)
{
    return text.find(part) != std::wstring::npos;
}

void ExpectTranslated(const std::wstring& text, const std::wstring& english)
{
    EXPECT_NE(text, english);
    EXPECT_FALSE(text.empty());
    for (const wchar_t* const value : {L"a.zip", L"45 "})
        EXPECT_EQ(Holds(text, value), Holds(english, value)) << testing::PrintToString(text);
    EXPECT_EQ(text.find_first_of(L"{}%<>&\xfffd"), std::wstring::npos)
        << testing::PrintToString(text);
    EXPECT_EQ(text.back(), L'.') << testing::PrintToString(text);
}

std::wstring Wait(std::chrono::seconds wait)
{
    Failure failure(EErrorCode::eServiceBusy);
    failure.retryAfter = wait;
    return Describe(failure, {}).text2;
}

} // namespace

TEST(Catalogue, HasEachErrorInEachLanguage)
{
    const std::vector<api::CErrorMsg> english = [] {
        const InLanguage inLanguage("en");
        return Errors();
    }();
    for (const char* const language : kLanguages) {
        SCOPED_TRACE(language);
        const InLanguage inLanguage(language);
        const std::vector<api::CErrorMsg> translated = Errors();
        for (std::size_t code = 0; code < translated.size(); ++code) {
            SCOPED_TRACE(code);
            ExpectTranslated(translated[code].text1, english[code].text1);
            ExpectTranslated(translated[code].text2, english[code].text2);
            EXPECT_EQ(translated[code].text3, L"technical");
        }
    }
}

TEST(Catalogue, HasTheFormsOfANumber)
{
    const InLanguage inLanguage("pl");
    EXPECT_EQ(Wait(std::chrono::seconds(1)), L"Spróbuj ponownie za 1 sekundę.");
    EXPECT_EQ(Wait(std::chrono::seconds(3)), L"Spróbuj ponownie za 3 sekundy.");
    EXPECT_EQ(Wait(std::chrono::seconds(5)), L"Spróbuj ponownie za 5 sekund.");
    EXPECT_EQ(Wait(std::chrono::minutes(22)), L"Spróbuj ponownie za 22 minuty.");
    EXPECT_EQ(Wait(std::chrono::hours(12)), L"Spróbuj ponownie za 12 godzin.");
}

TEST(Catalogue, HasTheNameOfAnUnnamedFile)
{
    const InLanguage inLanguage("de");
    EXPECT_EQ(Describe(Failure(EErrorCode::eTooLarge), {}).text1,
              L"Die Datei ist zu groß für den Dienst.");
}

TEST(Catalogue, LeavesTheTextInEnglishWithoutACatalogue)
{
    for (const char* const language : {"", "en", "eo"}) {
        const InLanguage inLanguage(language);
        EXPECT_EQ(Translate("Log in again."), "Log in again.") << language;
        EXPECT_EQ(TranslateCount("one", "many", 1), "one");
        EXPECT_EQ(TranslateCount("one", "many", 2), "many");
    }
}

TEST(Catalogue, TakesTheFirstLanguageThatHasACatalogue)
{
    const InLanguage inLanguage("eo:fr:de");
    EXPECT_EQ(Translate("Log in again."), "Reconnectez-vous.");
}

TEST(Catalogue, LeavesTheLocaleOfProcessAndThread)
{
    const InLanguage inLanguage("de");
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const locale_t ofThread = uselocale(locale_t{});
    EXPECT_EQ(Translate("Log in again."), "Melden Sie sich neu an.");
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
    EXPECT_EQ(uselocale(locale_t{}), ofThread);
}

TEST(Catalogue, ServesSeveralThreads)
{
    const InLanguage inLanguage("de");
    const std::vector<api::CErrorMsg> expected = Errors();
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&expected] {
            const std::vector<api::CErrorMsg> errors = Errors();
            for (std::size_t code = 0; code < errors.size(); ++code)
                EXPECT_EQ(errors[code].text1, expected[code].text1);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Catalogue, LiesBesideTheLibrary)
{
    const std::filesystem::path program = std::filesystem::canonical("/proc/self/exe");
    EXPECT_EQ(FolderOfCatalogues(), program.parent_path() / "locale");
}

} // namespace kesdk::impl
