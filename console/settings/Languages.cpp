#include "console/settings/Languages.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QLocale>
#include <QtCore/QTranslator>

#include <memory>

namespace {

// One for the console and the host framework, one for the plug-in.
constexpr std::array<const char*, 2> catalogues = {{"console", "kelvo"}};

QString CatalogueFile(const char* catalogue, const QString& code)
{
    return QStringLiteral("%1/../share/kelvo/translations/%2_%3.qm")
        .arg(QCoreApplication::applicationDirPath(), QLatin1String(catalogue), code);
}

} // namespace

namespace console {

int LanguageRow(const QString& code)
{
    for (std::size_t row = 0; row < languages.size(); ++row) {
        if (code == QLatin1String(languages.at(row).code)) {
            return static_cast<int>(row);
        }
    }
    return 0;
}

bool IsLanguageInstalled(const QString& code)
{
    bool isInstalled = code.isEmpty();
    for (const char* const catalogue : catalogues) {
        isInstalled = isInstalled || QFile::exists(CatalogueFile(catalogue, code));
    }
    return isInstalled;
}

void InstallLanguage(const QString& code)
{
    QLocale::setDefault(code.isEmpty() ? QLocale(QLocale::English) : QLocale(code));
    if (code.isEmpty()) {
        return;
    }
    for (const char* const catalogue : catalogues) {
        auto translator = std::make_unique<QTranslator>(QCoreApplication::instance());
        if (translator->load(CatalogueFile(catalogue, code))) {
            QCoreApplication::installTranslator(translator.release());
        }
    }
}

} // namespace console
