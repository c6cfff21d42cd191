#include "console/settings/TAboutPage.h"

#include "console/settings/Breakable.h"
#include "console/settings/Scrolling.h"
#include "host/TPushButton.h"
#include "hostimpl/Folders.h"
#include "hostimpl/Theme.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QLocale>
#include <QtCore/QStorageInfo>
#include <QtCore/QSysInfo>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QVBoxLayout>

#include <array>

namespace {

constexpr QSize buttonSize(170, hostimpl::TOUCH_SIZE);
constexpr int margin = 12;
constexpr int logLines = 20;
constexpr qint64 logTailBytes = qint64{16} * 1024; // more than 20 usual lines

struct TLicence
{
    const char* part;
    const char* licence;
};

// The parts that the console and the plug-in load. Names are the same in all languages.
constexpr std::array<TLicence, 11> licences = {{
    {"KELVO", "Apache License 2.0"},
    {"Qt 5", "GNU LGPL 3"},
    {"Qt Virtual Keyboard", "GNU GPL 3"},
    {"libarchive", "BSD 2-Clause"},
    {"libsodium", "ISC"},
    {"libcurl", "curl"},
    {"OpenSSL 3", "Apache License 2.0"},
    {"zlib", "zlib"},
    {"JSON for Modern C++", "MIT"},
    {"Boost", "Boost Software License 1.0"},
    {"DejaVu", "Bitstream Vera"},
}};

// The last lines of the user log, oldest first.
QStringList LastLines()
{
    QFile log(hostimpl::DataFolder() + QStringLiteral("/logs/user.log"));
    if (!log.open(QIODevice::ReadOnly)) {
        return {};
    }
    const bool isCut = log.size() > logTailBytes;
    log.seek(qMax<qint64>(0, log.size() - logTailBytes));
    QStringList lines =
        QString::fromUtf8(log.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (isCut && !lines.isEmpty()) {
        lines.removeFirst(); // its beginning is missing
    }
    return lines.mid(qMax(0, lines.size() - logLines));
}

QString Bold(const QString& text)
{
    return QStringLiteral("<p><b>%1</b></p>").arg(text.toHtmlEscaped());
}

QString Lines(const QStringList& lines)
{
    return QStringLiteral("<p>%1</p>")
        .arg(console::Breakable(lines.join(QLatin1Char('\n')))
                 .toHtmlEscaped()
                 .replace(QLatin1Char('\n'), QLatin1String("<br>")));
}

} // namespace

namespace console {

TAboutPage::TAboutPage(QWidget* parent)
    : QWidget(parent), m_text(new QLabel), m_area(MakeScrollArea(m_text))
{
    m_text->setTextFormat(Qt::RichText);
    m_text->setWordWrap(true);
    m_text->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_text->setMargin(margin);
    m_text->setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_area, 1);
    // The button has the focus, so that the wheel reaches this page.
    auto* const close =
        new TPushButton(this, tr("Close"), buttonSize, {}, 0, tr("Back to the settings"));
    close->setFixedSize(buttonSize);
    column->addWidget(close, 0, Qt::AlignRight);
    connect(close, &TPushButton::clicked, this, &TAboutPage::CloseRequested);
}

TAboutPage::~TAboutPage() = default;

QString TAboutPage::Text() const
{
    return WithoutBreaks(m_text->text());
}

bool TAboutPage::OnWheelTurned(int steps)
{
    QScrollBar& bar = *m_area->verticalScrollBar();
    const int before = bar.value();
    bar.setValue(before + steps * bar.pageStep() / 2);
    return bar.value() != before;
}

void TAboutPage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Read();
}

void TAboutPage::Read()
{
    const QLocale locale;
    const QStorageInfo storage(hostimpl::DataFolder());
    const auto size = [&locale](qint64 bytes) {
        return locale.formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
    };
    QString text = Bold(tr("Versions"));
    text += Lines(
        {tr("Console: %1").arg(QCoreApplication::applicationVersion()),
         tr("System: %1, Linux %2").arg(QSysInfo::prettyProductName(), QSysInfo::kernelVersion()),
         QStringLiteral("Qt: %1").arg(QString::fromLatin1(qVersion()))});
    text += Bold(tr("Storage"));
    text += Lines(
        {tr("Data folder: %1").arg(hostimpl::DataFolder()),
         tr("Free: %1 of %2").arg(size(storage.bytesAvailable()), size(storage.bytesTotal()))});
    text += Bold(tr("Last lines of the log"));
    const QStringList lines = LastLines();
    text += Lines(lines.isEmpty() ? QStringList(tr("The log is empty.")) : lines);
    text += Bold(tr("Licences"));
    QStringList names;
    for (const TLicence& row : licences) {
        names << QStringLiteral("%1: %2").arg(QLatin1String(row.part), QLatin1String(row.licence));
    }
    m_text->setText(text + Lines(names));
}

} // namespace console
