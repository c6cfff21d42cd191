#include "console/window/TransferTexts.h"

#include "console/settings/Breakable.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QStringList>

#include <algorithm>
#include <cstdint>

namespace {

using console::NumberText;
using console::TFileCount;
using kesdkimpl::EPhase;
using kesdkimpl::LinkStatus;
using kesdkimpl::TransferStatus;

struct TTexts
{
    Q_DECLARE_TR_FUNCTIONS(Transfer)
};

QString Size(std::int64_t bytes)
{
    return QLocale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

// For example "1.2 of 2.8 MB". Both numbers have the unit of the total size.
QString SizeText(const TransferStatus& transfer)
{
    constexpr std::int64_t step = 1000;
    std::int64_t unit = 1;
    while (transfer.totalBytes / unit >= step) {
        unit *= step;
    }
    const double done = static_cast<double>(transfer.doneBytes) / static_cast<double>(unit);
    return TTexts::tr("%1 of %2")
        .arg(QLocale().toString(done, 'f', unit == 1 ? 0 : 1), Size(transfer.totalBytes));
}

QString TimeLeftText(const TransferStatus& transfer)
{
    constexpr std::int64_t minute = 60;
    constexpr std::int64_t hour = 60 * minute;
    const std::int64_t left = transfer.totalBytes - transfer.doneBytes;
    const std::int64_t seconds = (left + *transfer.bytesPerSecond - 1) / *transfer.bytesPerSecond;
    if (seconds < 2 * minute) {
        return TTexts::tr("%1 s left").arg(NumberText(seconds));
    }
    return seconds < 2 * hour
               ? TTexts::tr("%1 min left").arg(NumberText((seconds + minute - 1) / minute))
               : TTexts::tr("%1 h left").arg(NumberText((seconds + hour - 1) / hour));
}

// With the time left; empty if the rate is not known yet.
QString RateText(const TransferStatus& transfer)
{
    return transfer.bytesPerSecond ? TTexts::tr("%1/s").arg(Size(*transfer.bytesPerSecond)) +
                                         QStringLiteral("  ") + TimeLeftText(transfer)
                                   : QString();
}

// A transfer may be on the board before the hub has told its file.
int CurrentFile(const TFileCount& files)
{
    return std::max(1, files.Current());
}

// When a cancelled operation ends; otherwise the place of the file, which is empty for a single
// file and for a file of another operation.
QString FileText(int number, const TFileCount& files, const QString& endText)
{
    if (files.IsCancelled()) {
        return endText;
    }
    return files.Count() < 2 || number < 1
               ? QString()
               : TTexts::tr("file %1 of %2").arg(NumberText(number), NumberText(files.Count()));
}

// A long name must leave room for the buttons on a low display. The suffix stays.
QString ShortName(const QString& name)
{
    constexpr int most = 60; // letters
    const QString shown =
        name.size() <= most ? name : name.left(most / 2) + QChar(0x2026) + name.right(most / 2 - 1);
    return console::Breakable(shown);
}

QString ProblemOf(const LinkStatus& status)
{
    return status.problem == kesdkimpl::EProblem::eNone ? TTexts::tr("Nothing moves")
                                                        : console::ProblemText(status.problem);
}

QString Joined(QStringList parts)
{
    parts.removeAll(QString());
    return parts.join(QStringLiteral("  "));
}

int Percent(const TransferStatus& transfer)
{
    return transfer.totalBytes <= 0
               ? 0
               : static_cast<int>(transfer.doneBytes * 100 / transfer.totalBytes);
}

// What happens now; empty if the rate is not known yet.
QString ActivityText(const LinkStatus& status)
{
    const TransferStatus& transfer = *status.transfer;
    switch (transfer.phase) {
    case EPhase::eWaits:
        return TTexts::tr("%1. Waiting until %2.")
            .arg(ProblemOf(status), console::TimeText(transfer.waitsUntilS));
    case EPhase::eVerifies:
        return TTexts::tr("Checking the file...");
    case EPhase::eMoves:
        break;
    }
    return RateText(transfer);
}

} // namespace

namespace console {

TStatusWords ConnectionWords(const LinkStatus& status)
{
    if (!status.transfer || status.transfer->phase != EPhase::eWaits) {
        return LinkWords(status);
    }
    return {QStringLiteral("link-down"),
            ProblemOf(status) + QLatin1Char('\n') +
                TTexts::tr("until %1").arg(TimeText(status.transfer->waitsUntilS))};
}

TStatusWords TransferWords(const LinkStatus& status, const TFileCount& files)
{
    const TransferStatus& transfer = *status.transfer;
    if (transfer.phase == EPhase::eWaits) {
        return ConnectionWords(status);
    }
    const QString percent = TTexts::tr("%1 %").arg(Percent(transfer));
    // A low display has no room for words.
    const QString file = files.Count() < 2
                             ? QString()
                             : QStringLiteral("%1/%2").arg(NumberText(CurrentFile(files)),
                                                           NumberText(files.Count()));
    const QString more = Joined({RateText(transfer), file});
    return {QStringLiteral("link-up"), Joined({percent, SizeText(transfer)}) +
                                           (more.isEmpty() ? more : QLatin1Char('\n') + more)};
}

// Always two lines, so that the dialog keeps its size.
hostimpl::TTransferState TransferProgress(const LinkStatus& status, const TFileCount& files)
{
    const TransferStatus& transfer = *status.transfer;
    const QString size = Joined({SizeText(transfer), FileText(CurrentFile(files), files,
                                                              TTexts::tr("ends after this file"))});
    return {Percent(transfer), size + QLatin1Char('\n') + ActivityText(status),
            transfer.phase != EPhase::eWaits};
}

TStatusWords WorkWords(const LinkStatus& status, const QString& archive)
{
    const TStatusWords link = LinkWords(status);
    return archive.isEmpty() ? link : TStatusWords{link.iconName, TTexts::tr("Unpacking...")};
}

std::optional<hostimpl::TTransferState>
WorkProgress(const LinkStatus& status, const QString& archive, const TFileCount& files)
{
    if (!archive.isEmpty()) {
        const QString file =
            FileText(files.NumberOf(archive), files, TTexts::tr("ends when all are unpacked"));
        return hostimpl::TTransferState{
            {}, Joined({TTexts::tr("Unpacking %1...").arg(ShortName(archive)), file}), true};
    }
    if (status.problem != kesdkimpl::EProblem::eNone) {
        return hostimpl::TTransferState{{}, ProblemText(status.problem), false};
    }
    return std::nullopt;
}

std::optional<hostimpl::TTransferState> ResultState(const TFileCount& files,
                                                    const QStringList& withoutSpace)
{
    constexpr int mostNames = 3;
    QStringList lines;
    if (files.IsCancelled() && files.Current() < files.Count()) {
        lines << TTexts::tr("Ended after %1 of %2 files.")
                     .arg(NumberText(files.Current()), NumberText(files.Count()));
    }
    if (!withoutSpace.isEmpty()) {
        QStringList names;
        for (const QString& name : withoutSpace.mid(0, mostNames)) {
            names << ShortName(name);
        }
        if (withoutSpace.size() > mostNames) {
            names << QString(QChar(0x2026));
        }
        lines << TTexts::tr("The disk is too full to unpack: %1")
                     .arg(names.join(QStringLiteral(", ")));
    }
    if (lines.isEmpty()) {
        return std::nullopt;
    }
    return hostimpl::TTransferState{{}, lines.join(QLatin1Char('\n')), false, true};
}

} // namespace console
