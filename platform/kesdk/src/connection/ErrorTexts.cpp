#include "connection/ErrorTexts.h"

#include "base/Catalogue.h"
#include "base/Text.h"
#include "client/RetryingClient.h"

#include <algorithm>

namespace kesdk::impl {

namespace {

struct TextRow
{
    EErrorCode code;
    const char* whatHappened;
    const char* whatToDo;
};

// Marks a text for the catalogues: xgettext looks for this name.
constexpr const char* N_(const char* text)
{
    return text;
}

// {file}: the file or folder. {wait}: the pause that the service asks for.
constexpr TextRow kTexts[] = {
    {EErrorCode::eNotLoggedIn, N_("You are not logged in."), N_("Log in and try again.")},
    {EErrorCode::eAborted, N_("The operation was stopped before it was done."),
     N_("Start it again if you still need it.")},
    {EErrorCode::eInvalidArgument, N_("The console asked for something impossible."),
     N_("Please report this to your dealer.")},
    {EErrorCode::eInternal, N_("The console could not do this."),
     N_("Restart the console and try again.")},

    {EErrorCode::eUnknownHost, N_("The service was not found on the internet."),
     N_("Check that the console has an internet connection, then try again.")},
    {EErrorCode::eRefused, N_("The service does not answer."),
     N_("It may be down for a short time. Try again in a few minutes.")},
    {EErrorCode::eUnreachable, N_("There is no way to the service."),
     N_("Check the modem and the mobile signal, then try again.")},
    {EErrorCode::eConnectTimeout, N_("The service could not be reached in time."),
     N_("The mobile signal may be weak. Try again where it is better.")},
    {EErrorCode::eTimeout, N_("The service did not answer in time."),
     N_("The mobile signal may be weak. Try again where it is better.")},
    {EErrorCode::eDropped, N_("The connection to the service was lost."),
     N_("The service may be down, or the mobile signal weak. Try again in a few minutes.")},
    {EErrorCode::eUnknownAuthority, N_("The service could not prove its identity."),
     N_("Log in to this network first if it wants that, or use another one. If it stays so, ask "
        "your dealer to check the console's certificates.")},
    {EErrorCode::eCertificateExpired, N_("The service's certificate has expired."),
     N_("Check the console's date and time. If they are right, ask your dealer.")},
    {EErrorCode::eCertificateNotYetValid, N_("The service's certificate is not valid yet."),
     N_("Check the console's date and time.")},
    {EErrorCode::eWrongHostName, N_("The server that answered is not the service."),
     N_("Log in to this network first if it wants that, or use another one. If it stays so, ask "
        "your dealer.")},
    {EErrorCode::eTls, N_("No secure connection to the service could be made."),
     N_("Try again later. If it stays so, ask your dealer.")},

    {EErrorCode::eNoProgress, N_("No data got through for a while."),
     N_("The mobile signal may be weak. Try again where it is better.")},
    {EErrorCode::eClockWrong, N_("The console's date and time are wrong."),
     N_("Set the console's date and time, then try again.")},
    {EErrorCode::eCaptivePortal, N_("This network shows a page of its own instead of the service."),
     N_("Log in to the network first, or use another one, then try again.")},

    {EErrorCode::eBadAnswer, N_("The console did not understand the service's answer."),
     N_("Try again later. If it stays so, the console may need an update.")},
    {EErrorCode::eInvalidCredentials, N_("The user name or the password is wrong."),
     N_("Check both and log in again.")},
    {EErrorCode::eAccountDisabled, N_("This account is disabled."),
     N_("Ask your farm office to enable it.")},
    {EErrorCode::eLoginThrottled, N_("Too many failed logins: the account is locked for {wait}."),
     N_("Wait {wait}, then log in with the right password.")},
    {EErrorCode::eSessionEnded, N_("Your session has ended."), N_("Log in again.")},
    {EErrorCode::eForbidden, N_("You are not allowed to do this."),
     N_("Ask your farm office if you should be.")},
    {EErrorCode::eNotFound, N_("The service does not have this any more."),
     N_("Look at the list again.")},
    {EErrorCode::eFileGone, N_("File no longer exists."),
     N_("Someone else may have removed it. Look at the list again.")},
    {EErrorCode::eFolderGone, N_("The folder on the service does not exist."),
     N_("Log out, log in again and retry.")},
    {EErrorCode::eConflict, N_("{file} is already in use on the service."),
     N_("Try again in a few minutes.")},
    {EErrorCode::eTooLarge, N_("{file} is too large for the service."),
     N_("Send smaller files, or ask your farm office.")},
    {EErrorCode::eServiceFull, N_("The service has no space left."),
     N_("Delete files that are no longer needed from the service, or ask your farm office.")},
    {EErrorCode::eServiceBusy, N_("The service is busy."), N_("Try again in {wait}.")},
    {EErrorCode::eServiceError, N_("The service had a problem of its own."),
     N_("Try again later. If it stays so, ask your farm office.")},
    {EErrorCode::eRefusedByService, N_("{file} was not accepted by the service."),
     N_("Check its name, then try again.")},

    {EErrorCode::eFileMissing, N_("{file} is not on the console."), N_("Look at the list again.")},
    {EErrorCode::eFileUnreadable, N_("{file} could not be read."),
     N_("Check the storage it is on, then try again.")},
    {EErrorCode::eNotAFile, N_("{file} is not a file."), N_("Only files can be sent.")},
    {EErrorCode::eFileChanged, N_("{file} changed while it was being sent."),
     N_("Wait until it is complete, then send it again.")},
    {EErrorCode::eUnusableServiceName, N_("{file} has a name that the console cannot use."),
     N_("Ask your farm office to rename it.")},
    {EErrorCode::eUnusableFileName, N_("{file} cannot be saved under its name."),
     N_("Ask your farm office to give it a shorter or another name.")},
    {EErrorCode::eDiskFull, N_("The console's storage is full."),
     N_("Delete files that are no longer needed from the console, then try again.")},
    {EErrorCode::eCannotWrite, N_("{file} could not be saved on the console."),
     N_("Check the console's storage, then try again.")},
    {EErrorCode::eDamaged, N_("{file} arrived damaged and was not kept."),
     N_("Try again. If it stays so, ask your farm office to send it again.")},
};

constexpr TextRow kUnknown{EErrorCode::eNone, N_("Something went wrong."), N_("Try again later.")};

const TextRow& RowOf(EErrorCode code)
{
    for (const TextRow& row : kTexts) {
        if (row.code == code)
            return row;
    }
    return kUnknown;
}

std::wstring Fill(std::wstring text, std::wstring_view placeholder, const std::wstring& value)
{
    for (std::size_t at = text.find(placeholder); at != std::wstring::npos;
         at = text.find(placeholder, at + value.size()))
        text.replace(at, placeholder.size(), value);
    return text;
}

std::wstring Count(const char* one, const char* many, unsigned long number)
{
    return Fill(ToWide(TranslateCount(one, many, number)), L"{n}", std::to_wstring(number));
}

std::wstring WaitText(const Failure& failure)
{
    if (!failure.retryAfter)
        return ToWide(Translate("a few minutes"));
    const auto seconds =
        static_cast<unsigned long>(std::max<std::int64_t>(failure.retryAfter->count(), 1));
    if (seconds < 120)
        return Count("{n} second", "{n} seconds", seconds);
    const unsigned long minutes = (seconds + 59) / 60;
    return minutes < 120 ? Count("{n} minute", "{n} minutes", minutes)
                         : Count("{n} hour", "{n} hours", (minutes + 59) / 60);
}

} // namespace

api::CErrorMsg Describe(const Failure& failure, const std::wstring& subject)
{
    const TextRow& row = RowOf(failure.code);
    const std::wstring file = subject.empty() ? ToWide(Translate("The file")) : EscapeHtml(subject);
    const std::wstring wait = WaitText(failure);
    // The subject last: a file may be called "{wait}".
    const auto fill = [&](const char* text) {
        return Fill(Fill(ToWide(Translate(text)), L"{wait}", wait), L"{file}", file);
    };
    api::CErrorMsg message;
    message.text1 = fill(row.whatHappened);
    message.text2 = fill(row.whatToDo);
    message.text3 = EscapeHtml(ToWide(failure.detail));
    message.code = static_cast<std::int32_t>(failure.code);
    message.httpStatus = failure.httpStatus;
    const bool mayPass = MayPass(failure) || failure.Is(EErrorCode::eNoProgress);
    message.severity = mayPass ? 1 : 0;
    return message;
}

} // namespace kesdk::impl
