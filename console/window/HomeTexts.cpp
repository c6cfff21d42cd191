#include "console/window/HomeTexts.h"

#include "console/session/Categories.h"
#include "console/window/StatusTexts.h"
#include "console/window/TransferTexts.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QStringList>

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace {

using console::NumberText;
using console::THomeCard;
using console::THomeState;
using kesdkimpl::EProblem;

struct TTexts
{
    Q_DECLARE_TR_FUNCTIONS(Home)
};

// If the service does not answer, its figures date from the event stream's last bytes.
QString ServiceLine(const THomeState& state, std::size_t project)
{
    const auto& count = state.service.at(project);
    if (!state.isLoggedIn) {
        return TTexts::tr("On KELVO: logged out");
    }
    if (!count) {
        return TTexts::tr("On KELVO: not listed yet");
    }
    if (state.link.problem != EProblem::eNone && state.link.listsCurrentAt) {
        return TTexts::tr("On KELVO at %1: %2")
            .arg(console::TimeText(state.link.listsCurrentAt->wallS), NumberText(count->files));
    }
    return TTexts::tr("On KELVO: %1").arg(NumberText(count->files));
}

// A line breaks neither in the name of a figure nor before a number.
QString Unbroken(QString text)
{
    const bool isNumber = !text.isEmpty() && text.back().isDigit();
    const int end = isNumber ? text.size() : std::max(0, text.indexOf(QLatin1Char(':')));
    return text.replace(0, end, text.left(end).replace(QLatin1Char(' '), QChar(QChar::Nbsp)));
}

QString DownloadedLine(const std::optional<int>& count)
{
    return count ? TTexts::tr("Downloaded: %1").arg(NumberText(*count))
                 : TTexts::tr("Downloaded: not readable");
}

QString ToSendLine(const std::optional<int>& count)
{
    return count ? TTexts::tr("To send: %1").arg(NumberText(*count))
                 : TTexts::tr("To send: not readable");
}

QStringList FolderLines(const THomeState& state, std::size_t project)
{
    const console::TCategory& category = console::categories.at(project);
    if (!state.folders) {
        return {TTexts::tr("On the console: not counted")};
    }
    QStringList lines;
    if (category.download != nullptr) {
        lines << Unbroken(DownloadedLine(state.folders->categories.at(project).downloaded));
    }
    if (category.upload != nullptr) {
        lines << Unbroken(ToSendLine(state.folders->categories.at(project).toSend));
    }
    return lines;
}

THomeCard LinkCard(const THomeState& state)
{
    QString text =
        console::ConnectionWords(state.link).text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    if (state.link.lastContact) {
        text +=
            QLatin1Char('\n') +
            TTexts::tr("Last contact: %1").arg(console::TimeText(state.link.lastContact->wallS));
    }
    return {TTexts::tr("Connection"), QString(), text};
}

THomeCard StorageCard(const THomeState& state)
{
    const bool isKnown = state.folders && state.folders->freeBytes;
    return {TTexts::tr("Storage"), QString(),
            isKnown ? TTexts::tr("Free: %1")
                          .arg(QLocale().formattedDataSize(*state.folders->freeBytes, 1,
                                                           QLocale::DataSizeSIFormat))
                    : TTexts::tr("Free: not known")};
}

// The heading of a standing vehicle is noise.
QString MotionText(const console::TReceivedFix& fix)
{
    constexpr double leastKmh = 0.5;
    QStringList parts;
    if (fix.speedKmh) {
        parts << Unbroken(
            TTexts::tr("Speed: %1 km/h").arg(QLocale().toString(*fix.speedKmh, 'f', 1)));
    }
    if (fix.headingDegrees && fix.speedKmh.value_or(0.0) >= leastKmh) {
        parts << TTexts::tr("Heading: %1\u00b0")
                     .arg(NumberText(qRound(*fix.headingDegrees) % 360))
                     .replace(QLatin1Char(' '), QChar(QChar::Nbsp));
    }
    return parts.join(QStringLiteral("   "));
}

THomeCard PositionCard(const THomeState& state)
{
    const QString title = TTexts::tr("Position");
    const console::TReceivedFix& fix = state.position.fix;
    if (state.position.state != console::EPositionState::eFix) {
        return {title, QString(), console::PositionWords(state.position).text};
    }
    QString quality = console::QualityText(fix.quality);
    if (fix.satellites) {
        quality += QStringLiteral("   ") +
                   Unbroken(TTexts::tr("Satellites: %1").arg(NumberText(*fix.satellites)));
    }
    QStringList lines{quality, console::PlaceText(fix), MotionText(fix)};
    lines.removeAll(QString());
    return {title, QString(), lines.join(QLatin1Char('\n'))};
}

} // namespace

namespace console {

int THomeState::NewFiles() const
{
    int sum = 0;
    for (const auto& count : service) {
        sum += count ? count->isNew : 0;
    }
    return sum;
}

bool THomeCard::operator==(const THomeCard& other) const
{
    return std::tie(title, badge, text) == std::tie(other.title, other.badge, other.text);
}

QString BadgeText(int isNew)
{
    return isNew == 0 ? QString() : TTexts::tr("%Ln new", nullptr, isNew);
}

QVector<THomeCard> CategoryCards(const THomeState& state)
{
    QVector<THomeCard> cards;
    for (std::size_t project = 0; project < categories.size(); ++project) {
        const auto& count = state.service.at(project);
        QStringList lines;
        if (categories.at(project).download != nullptr) {
            lines << ServiceLine(state, project);
        }
        lines << FolderLines(state, project).join(QStringLiteral("   "));
        cards << THomeCard{
            QCoreApplication::translate("TKelvoFileControlWidget", categories.at(project).name),
            BadgeText(count ? count->isNew : 0), lines.join(QLatin1Char('\n'))};
    }
    return cards;
}

QVector<THomeCard> StateCards(const THomeState& state)
{
    return {LinkCard(state), PositionCard(state), StorageCard(state)};
}

} // namespace console
