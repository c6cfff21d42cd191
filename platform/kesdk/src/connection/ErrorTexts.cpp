#include "connection/ErrorTexts.h"

#include "base/Text.h"
#include "client/RetryingClient.h"

#include <iterator>

namespace kesdk::impl {

namespace {

struct TextRow
{
    EErrorCode code;
    const wchar_t* whatHappened;
    const wchar_t* whatToDo;
};

// {file}: the file or folder. {wait}: the pause that the service asks for.
constexpr TextRow kTexts[] = {
    {EErrorCode::eNotLoggedIn, L"You are not logged in.", L"Log in and try again."},
    {EErrorCode::eAborted, L"The operation was stopped before it was done.",
     L"Start it again if you still need it."},
    {EErrorCode::eInvalidArgument, L"The console asked for something impossible.",
     L"Please report this to your dealer."},
    {EErrorCode::eInternal, L"The console could not do this.",
     L"Restart the console and try again."},

    {EErrorCode::eUnknownHost, L"The service was not found on the internet.",
     L"Check that the console has an internet connection, then try again."},
    {EErrorCode::eRefused, L"The service does not answer.",
     L"It may be down for a short time. Try again in a few minutes."},
    {EErrorCode::eUnreachable, L"There is no way to the service.",
     L"Check the modem and the mobile signal, then try again."},
    {EErrorCode::eConnectTimeout, L"The service could not be reached in time.",
     L"The mobile signal may be weak. Try again where it is better."},
    {EErrorCode::eTimeout, L"The service did not answer in time.",
     L"The mobile signal may be weak. Try again where it is better."},
    {EErrorCode::eDropped, L"The connection to the service was lost.",
     L"The mobile signal may be weak. Try again where it is better."},
    {EErrorCode::eUnknownAuthority, L"The service could not prove its identity.",
     L"Log in to this network first if it wants that, or use another one. If it stays so, ask your "
     L"dealer to check the console's certificates."},
    {EErrorCode::eCertificateExpired, L"The service's certificate has expired.",
     L"Check the console's date and time. If they are right, ask your dealer."},
    {EErrorCode::eCertificateNotYetValid, L"The service's certificate is not valid yet.",
     L"Check the console's date and time."},
    {EErrorCode::eWrongHostName, L"The server that answered is not the service.",
     L"Log in to this network first if it wants that, or use another one. If it stays so, ask your "
     L"dealer."},
    {EErrorCode::eTls, L"No secure connection to the service could be made.",
     L"Try again later. If it stays so, ask your dealer."},

    {EErrorCode::eNoProgress, L"No data got through for a while.",
     L"The mobile signal may be weak. Try again where it is better."},
    {EErrorCode::eClockWrong, L"The console's date and time are wrong.",
     L"Set the console's date and time, then try again."},
    {EErrorCode::eCaptivePortal, L"This network shows a page of its own instead of the service.",
     L"Log in to the network first, or use another one, then try again."},

    {EErrorCode::eBadReply, L"The console did not understand the service's answer.",
     L"Try again later. If it stays so, the console may need an update."},
    {EErrorCode::eInvalidCredentials, L"The user name or the password is wrong.",
     L"Check both and log in again."},
    {EErrorCode::eAccountDisabled, L"This account is disabled.",
     L"Ask your farm office to enable it."},
    {EErrorCode::eLoginThrottled, L"Too many failed logins: the account is locked for {wait}.",
     L"Wait {wait}, then log in with the right password."},
    {EErrorCode::eSessionEnded, L"Your session has ended.", L"Log in again."},
    {EErrorCode::eForbidden, L"You are not allowed to do this.",
     L"Ask your farm office if you should be."},
    {EErrorCode::eNotFound, L"The service does not have this any more.",
     L"Look at the list again."},
    {EErrorCode::eFileGone, L"File no longer exists.",
     L"Someone else may have removed it. Look at the list again."},
    {EErrorCode::eFolderGone, L"The folder on the service does not exist.",
     L"Log out, log in again and retry."},
    {EErrorCode::eConflict, L"The service is already busy with {file}.",
     L"Try again in a few minutes."},
    {EErrorCode::eTooLarge, L"{file} is too large for the service.",
     L"Send smaller files, or ask your farm office."},
    {EErrorCode::eServiceFull, L"The service has no space left.",
     L"Delete files that are no longer needed from the service, or ask your farm office."},
    {EErrorCode::eServiceBusy, L"The service is busy.", L"Try again in {wait}."},
    {EErrorCode::eServiceError, L"The service had a problem of its own.",
     L"Try again later. If it stays so, ask your farm office."},
    {EErrorCode::eRefusedByService, L"The service did not accept {file}.",
     L"Check its name, then try again."},

    {EErrorCode::eFileMissing, L"{file} is not on the console.", L"Look at the list again."},
    {EErrorCode::eFileUnreadable, L"{file} could not be read.",
     L"Check the storage it is on, then try again."},
    {EErrorCode::eNotAFile, L"{file} is not a file.", L"Only files can be sent."},
    {EErrorCode::eFileChanged, L"{file} changed while it was being sent.",
     L"Wait until it is complete, then send it again."},
    {EErrorCode::eUnusableServiceName, L"{file} has a name that the console cannot use.",
     L"Ask your farm office to rename it."},
    {EErrorCode::eUnusableFileName, L"{file} cannot be saved under its name.",
     L"Ask your farm office to give it a shorter or another name."},
    {EErrorCode::eDiskFull, L"The console's storage is full.",
     L"Delete files that are no longer needed from the console, then try again."},
    {EErrorCode::eCannotWrite, L"{file} could not be saved on the console.",
     L"Check the console's storage, then try again."},
    {EErrorCode::eDamaged, L"{file} arrived damaged and was not kept.",
     L"Try again. If it stays so, ask your farm office to send it again."},
};

constexpr TextRow kUnknown{EErrorCode::eNone, L"Something went wrong.", L"Try again later."};

const TextRow& RowOf(EErrorCode code)
{
    for (const TextRow& row : kTexts) {
        if (row.code == code)
            return row;
    }
    return kUnknown;
}

std::wstring WaitText(const Failure& failure)
{
    if (!failure.retryAfter)
        return L"a few minutes";
    const auto seconds = failure.retryAfter->count();
    if (seconds <= 1)
        return L"1 second";
    if (seconds < 120)
        return std::to_wstring(seconds) + L" seconds";
    const auto minutes = (seconds + 59) / 60;
    return minutes < 120 ? std::to_wstring(minutes) + L" minutes"
                         : std::to_wstring((minutes + 59) / 60) + L" hours";
}

std::wstring Fill(std::wstring text, std::wstring_view placeholder, const std::wstring& value)
{
    for (std::size_t at = text.find(placeholder); at != std::wstring::npos;
         at = text.find(placeholder, at + value.size()))
        text.replace(at, placeholder.size(), value);
    return text;
}

} // namespace

api::CErrorMsg Describe(const Failure& failure, const std::wstring& subject)
{
    const TextRow& row = RowOf(failure.code);
    const std::wstring file = subject.empty() ? L"The file" : EscapeHtml(subject);
    const std::wstring wait = WaitText(failure);
    // The subject last: a file may be called "{wait}".
    const auto fill = [&](const wchar_t* text) {
        return Fill(Fill(text, L"{wait}", wait), L"{file}", file);
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
