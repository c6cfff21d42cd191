// All events of a hub: the effect of each event on the flags, and the emitted signals.
#pragma once

#include "core/TKelvoInterface.h"

#include <QtCore/QList>
#include <QtCore/QStringList>

#include <functional>

enum class EEffect { eNone, eSets, eClears };

inline bool After(EEffect effect, bool before)
{
    return effect == EEffect::eNone ? before : effect == EEffect::eSets;
}

struct HubEvent
{
    const char* name;
    std::function<void(TKelvoInterface&)> happen;
    EEffect loggedIn;
    EEffect loginInProgress;
    EEffect fileOperationInProgress;
    EEffect cancelRequested;
    QStringList emittedLoggedOut; // when the hub was logged out before
    QStringList emittedLoggedIn;
};

inline QList<HubEvent> HubEvents()
{
    const EEffect n = EEffect::eNone;
    const EEffect s = EEffect::eSets;
    const EEffect c = EEffect::eClears;
    const KelvoFileTransferErrorDetailsList errors{
        {QStringLiteral("a.zip"), QStringLiteral("lost")}};
    const QStringList names{QStringLiteral("a.zip"), QStringLiteral("b.zip")};
    KelvoFileInfoList files;
    files.fileIds = {7L};
    files.fileNames = QStringList{QStringLiteral("a.zip")};

    QList<HubEvent> events;
    const auto add = [&events](const char* name, std::function<void(TKelvoInterface&)> happen,
                               EEffect loggedIn, EEffect inProgress, EEffect operation,
                               EEffect cancel, const QStringList& emitted) {
        events.append({name, happen, loggedIn, inProgress, operation, cancel, emitted, emitted});
    };
    const auto text = [](const char* t) { return QString::fromLatin1(t); };

    events.append({"login requested",
                   [](TKelvoInterface& h) { h.OnLoginToKelvoRequested(); },
                   n,
                   n,
                   n,
                   c,
                   {text("KelvoLoginRequested()")},
                   {text("KelvoLoggedIn()")}});
    add("cancel login requested", [](TKelvoInterface& h) { h.OnCancelLoginToKelvoRequested(); }, n,
        n, n, n, {text("KelvoCancelLoginRequested()")});
    events.append({"logout requested",
                   [](TKelvoInterface& h) { h.OnLogoutFromKelvoRequested(); },
                   n,
                   n,
                   n,
                   n,
                   {text("KelvoLoggedOut()")},
                   {text("KelvoLogoutRequested()")}});
    add("upload requested",
        [names](TKelvoInterface& h) { h.OnUploadToKelvoRequested(eCurves, names); }, n, n, s, c,
        {text("KelvoFileOperationInProgress()"), text("KelvoUploadRequested(3,[a.zip b.zip])")});
    add("download requested",
        [names](TKelvoInterface& h) { h.OnDownloadFromKelvoRequested(ePivots, names); }, n, n, s, c,
        {text("KelvoFileOperationInProgress()"),
         text("KelvoDownloadRequested(4,[a.zip b.zip],[])")});
    add("delete requested",
        [names](TKelvoInterface& h) { h.OnDeleteFilesRequested(eABLines, names); }, n, n, s, c,
        {text("KelvoFileOperationInProgress()"),
         text("KelvoDeleteFilesRequested(2,[a.zip b.zip],[])")});
    add("cancel requested", [](TKelvoInterface& h) { h.OnCancelCurrentOperationRequested(); }, n, n,
        n, s, {});
    add("cancel reverted", [](TKelvoInterface& h) { h.RevertCancelCurrentOperation(); }, n, n, n, c,
        {});
    add("worker: login in progress", [](TKelvoInterface& h) { h.OnLoggingIntoKelvo(); }, n, s, n, n,
        {text("KelvoLoginInProgress()")});
    add("worker: logged in", [](TKelvoInterface& h) { h.OnLoggedIntoKelvo(); }, s, c, n, n,
        {text("KelvoLoggedIn()")});
    add("worker: logged out", [](TKelvoInterface& h) { h.OnLoggedOutOfKelvo(); }, c, n, n, s,
        {text("KelvoLoggedOut()")});
    add("worker: login failed",
        [](TKelvoInterface& h) { h.OnLoginToKelvoFailed(QStringLiteral("why")); }, c, c, n, n,
        {text("KelvoLoginFailed(why)")});
    add("worker: checks start", [](TKelvoInterface& h) { h.OnPostLoginChecksInProgress(); }, n, n,
        s, n, {text("KelvoFileOperationInProgress()")});
    add("worker: checks end", [](TKelvoInterface& h) { h.OnPostLoginChecksComplete(); }, n, n, c, n,
        {text("KelvoFileOperationComplete()")});
    add("worker: inbox set-up progress",
        [](TKelvoInterface& h) { h.OnKelvoUserInboxSetupInProgress(33); }, n, n, s, c,
        {text("KelvoFileOperationInProgress()"), text("KelvoUserInboxSetupInProgress(33)")});
    add("worker: inbox set-up complete",
        [errors](TKelvoInterface& h) { h.OnKelvoUserInboxSetupComplete(errors); }, n, n, c, n,
        {text("KelvoFileOperationComplete()"), text("KelvoUserInboxSetupComplete([a.zip:lost])")});
    add("worker: upload complete",
        [errors](TKelvoInterface& h) { h.OnKelvoUploadComplete(eCurves, errors); }, n, n, c, n,
        {text("KelvoUploadComplete(3,[a.zip:lost])"), text("KelvoFileOperationComplete()")});
    add("worker: download complete",
        [errors](TKelvoInterface& h) { h.OnKelvoDownloadComplete(ePivots, errors); }, n, n, c, n,
        {text("KelvoDownloadComplete(4,[a.zip:lost])"), text("KelvoFileOperationComplete()")});
    add("worker: delete complete",
        [errors](TKelvoInterface& h) { h.OnKelvoDeleteComplete(eABLines, errors); }, n, n, c, n,
        {text("KelvoDeleteComplete(2,[a.zip:lost])"), text("KelvoFileOperationComplete()")});
    add("worker: new listing",
        [files](TKelvoInterface& h) { h.OnNewKelvoProjectFilesList(ePrescriptionMaps, files); }, n,
        n, n, n, {text("NewKelvoProjectFilesList(0,[7:a.zip])")});
    return events;
}
