<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>QObject</name>
    <message>
        <source>KELVO Application</source>
        <comment>ToolTip</comment>
        <translation>KELVO-Anwendung</translation>
    </message>
</context>
<context>
    <name>TKelvoFileControlWidget</name>
    <message>
        <source>Download started</source>
        <translation>Download gestartet</translation>
    </message>
    <message>
        <source>Upload started</source>
        <translation>Upload gestartet</translation>
    </message>
    <message>
        <source>Delete started</source>
        <translation>Löschen gestartet</translation>
    </message>
    <message>
        <source>Downloading %1</source>
        <translation>%1 wird heruntergeladen</translation>
    </message>
    <message>
        <source>Uploading %1</source>
        <translation>%1 wird hochgeladen</translation>
    </message>
    <message>
        <source>Deleting %1</source>
        <translation>%1 wird gelöscht</translation>
    </message>
    <message>
        <source>Download complete.</source>
        <translation>Download abgeschlossen.</translation>
    </message>
    <message>
        <source>A problem occurred with: %1</source>
        <comment>%1 is a filename that failed to download correctly</comment>
        <translation>Es gab ein Problem mit: %1</translation>
    </message>
    <message>
        <source>Upload complete.</source>
        <translation>Upload abgeschlossen.</translation>
    </message>
    <message>
        <source>%1 failed to upload.</source>
        <translation>%1 konnte nicht hochgeladen werden.</translation>
    </message>
    <message>
        <source>Delete complete.</source>
        <translation>Löschen abgeschlossen.</translation>
    </message>
    <message>
        <source>%1 failed to delete.</source>
        <translation>%1 konnte nicht gelöscht werden.</translation>
    </message>
    <message>
        <source>Cancelling file operation ...</source>
        <translation>Dateivorgang wird abgebrochen ...</translation>
    </message>
    <message>
        <source>Cancelling delete operation ...</source>
        <translation>Löschvorgang wird abgebrochen ...</translation>
    </message>
    <message>
        <source>Prescription Maps</source>
        <translation>Applikationskarten</translation>
    </message>
    <message>
        <source>Job Reports</source>
        <translation>Auftragsberichte</translation>
    </message>
    <message>
        <source>AB Lines</source>
        <translation>AB-Linien</translation>
    </message>
    <message>
        <source>Curves</source>
        <translation>Kurven</translation>
    </message>
    <message>
        <source>Pivots</source>
        <translation>Pivots</translation>
    </message>
    <message>
        <source>Optimal Lines</source>
        <translation>Optimale Linien</translation>
    </message>
    <message>
        <source>Project Lines</source>
        <translation>Projektlinien</translation>
    </message>
    <message>
        <source>KELVO</source>
        <translation>KELVO</translation>
    </message>
    <message>
        <source>Files to Upload</source>
        <translation>Dateien zum Hochladen</translation>
    </message>
    <message>
        <source>Downloaded Files</source>
        <translation>Heruntergeladene Dateien</translation>
    </message>
    <message>
        <source>Error </source>
        <translation>Fehler </translation>
    </message>
    <message>
        <source>No files selected</source>
        <translation>Keine Dateien ausgewählt</translation>
    </message>
    <message>
        <source>File Transfer</source>
        <translation>Dateiübertragung</translation>
    </message>
    <message>
        <source>Delete Warning</source>
        <translation>Warnung vor dem Löschen</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the selected files?</source>
        <translation>Sollen die ausgewählten Dateien wirklich gelöscht werden?</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Category</source>
        <translation>Kategorie</translation>
    </message>
    <message>
        <source>Select the type of items to manage</source>
        <comment>ToolTip</comment>
        <translation>Art der zu verwaltenden Elemente wählen</translation>
    </message>
    <message>
        <source>Download selected files</source>
        <comment>ToolTip</comment>
        <translation>Ausgewählte Dateien herunterladen</translation>
    </message>
    <message>
        <source>Upload selected files</source>
        <comment>ToolTip</comment>
        <translation>Ausgewählte Dateien hochladen</translation>
    </message>
    <message>
        <source>Delete selected files</source>
        <comment>ToolTip</comment>
        <translation>Ausgewählte Dateien löschen</translation>
    </message>
    <message>
        <source>Browse</source>
        <translation>Durchsuchen</translation>
    </message>
    <message>
        <source>Select the location of files to view</source>
        <comment>ToolTip</comment>
        <translation>Speicherort der angezeigten Dateien wählen</translation>
    </message>
</context>
<context>
    <name>TKelvoFullView</name>
    <message>
        <source>KELVO File Controller</source>
        <translation>KELVO-Dateiverwaltung</translation>
    </message>
</context>
<context>
    <name>TKelvoMiniView</name>
    <message>
        <source>Login to Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Bei Kelvo anmelden</translation>
    </message>
    <message>
        <source>Logout of Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Von Kelvo abmelden</translation>
    </message>
    <message>
        <source>KELVO Login Error</source>
        <translation>KELVO-Anmeldefehler</translation>
    </message>
    <message>
        <source>Logging out....</source>
        <translation>Abmeldung läuft....</translation>
    </message>
    <message>
        <source>Logging in....</source>
        <translation>Anmeldung läuft....</translation>
    </message>
    <message>
        <source>Logged in</source>
        <translation>Angemeldet</translation>
    </message>
    <message>
        <source>Login</source>
        <translation>Anmelden</translation>
    </message>
    <message>
        <source>Processing, please wait</source>
        <translation>Bitte warten</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>Abmelden</translation>
    </message>
    <message>
        <source>Unable to login to KELVO.</source>
        <translation>Anmeldung bei KELVO nicht möglich.</translation>
    </message>
    <message>
        <source>Please enter a valid username and password.</source>
        <translation>Bitte gültigen Benutzernamen und gültiges Passwort eingeben.</translation>
    </message>
    <message>
        <source>USERNAME</source>
        <translation>BENUTZERNAME</translation>
    </message>
    <message>
        <source>PASSWORD</source>
        <translation>PASSWORT</translation>
    </message>
    <message>
        <source>STATUS</source>
        <translation>STATUS</translation>
    </message>
    <message>
        <source>Login to KELVO</source>
        <comment>ToolTip</comment>
        <translation>Bei KELVO anmelden</translation>
    </message>
    <message>
        <source>Configure Kelvo Account</source>
        <translation>Kelvo-Konto einrichten</translation>
    </message>
    <message>
        <source>Configuring Kelvo Account</source>
        <translation>Kelvo-Konto wird eingerichtet</translation>
    </message>
    <message>
        <source>You will be automatically logged out of Kelvo once completed</source>
        <translation>Danach werden Sie automatisch von Kelvo abgemeldet</translation>
    </message>
    <message>
        <source>Configuration complete</source>
        <translation>Einrichtung abgeschlossen</translation>
    </message>
    <message>
        <source>Configuration complete with errors</source>
        <translation>Einrichtung mit Fehlern abgeschlossen</translation>
    </message>
</context>
<context>
    <name>TKelvoThreadObject</name>
    <message>
        <source>%1 File no longer exists. File index not found.</source>
        <translation>%1 Die Datei gibt es nicht mehr. Dateiindex nicht gefunden.</translation>
    </message>
    <message>
        <source>%1 File no longer exists. File Index not found</source>
        <translation>%1 Die Datei gibt es nicht mehr. Dateiindex nicht gefunden</translation>
    </message>
    <message>
        <source>File no longer exists.</source>
        <translation>Die Datei gibt es nicht mehr.</translation>
    </message>
    <message>
        <source>Failed to unzip file</source>
        <translation>Die Datei konnte nicht entpackt werden</translation>
    </message>
    <message>
        <source>All files</source>
        <translation>Alle Dateien</translation>
    </message>
    <message>
        <source>Creation of user folder &apos;%1&apos; failed</source>
        <translation>Der Benutzerordner &apos;%1&apos; konnte nicht angelegt werden</translation>
    </message>
    <message>
        <source>User folder &apos;%1&apos; created but reported as not found. Log out, re-login and retry uploading files</source>
        <translation>Der Benutzerordner &apos;%1&apos; wurde angelegt, aber nicht gefunden. Melden Sie sich ab und wieder an und laden Sie die Dateien erneut hoch</translation>
    </message>
</context>
</TS>
