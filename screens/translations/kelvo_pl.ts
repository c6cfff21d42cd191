<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl_PL" sourcelanguage="en_US">
<context>
    <name>QObject</name>
    <message>
        <source>KELVO Application</source>
        <comment>ToolTip</comment>
        <translation>Aplikacja KELVO</translation>
    </message>
</context>
<context>
    <name>TKelvoFileControlWidget</name>
    <message>
        <source>Download started</source>
        <translation>Rozpoczęto pobieranie</translation>
    </message>
    <message>
        <source>Upload started</source>
        <translation>Rozpoczęto wysyłanie</translation>
    </message>
    <message>
        <source>Delete started</source>
        <translation>Rozpoczęto usuwanie</translation>
    </message>
    <message>
        <source>Downloading %1</source>
        <translation>Pobieranie %1</translation>
    </message>
    <message>
        <source>Uploading %1</source>
        <translation>Wysyłanie %1</translation>
    </message>
    <message>
        <source>Deleting %1</source>
        <translation>Usuwanie %1</translation>
    </message>
    <message>
        <source>Download complete.</source>
        <translation>Pobieranie zakończone.</translation>
    </message>
    <message>
        <source>A problem occurred with: %1</source>
        <comment>%1 is a filename that failed to download correctly</comment>
        <translation>Wystąpił problem z plikiem: %1</translation>
    </message>
    <message>
        <source>Upload complete.</source>
        <translation>Wysyłanie zakończone.</translation>
    </message>
    <message>
        <source>%1 failed to upload.</source>
        <translation>Nie udało się wysłać pliku %1.</translation>
    </message>
    <message>
        <source>Delete complete.</source>
        <translation>Usuwanie zakończone.</translation>
    </message>
    <message>
        <source>%1 failed to delete.</source>
        <translation>Nie udało się usunąć pliku %1.</translation>
    </message>
    <message>
        <source>Cancelling file operation ...</source>
        <translation>Anulowanie operacji na plikach ...</translation>
    </message>
    <message>
        <source>Cancelling delete operation ...</source>
        <translation>Anulowanie usuwania ...</translation>
    </message>
    <message>
        <source>Prescription Maps</source>
        <translation>Mapy aplikacyjne</translation>
    </message>
    <message>
        <source>Job Reports</source>
        <translation>Raporty z prac</translation>
    </message>
    <message>
        <source>AB Lines</source>
        <translation>Linie AB</translation>
    </message>
    <message>
        <source>Curves</source>
        <translation>Krzywe</translation>
    </message>
    <message>
        <source>Pivots</source>
        <translation>Okręgi</translation>
    </message>
    <message>
        <source>Optimal Lines</source>
        <translation>Linie optymalne</translation>
    </message>
    <message>
        <source>Project Lines</source>
        <translation>Linie projektu</translation>
    </message>
    <message>
        <source>KELVO</source>
        <translation>KELVO</translation>
    </message>
    <message>
        <source>Files to Upload</source>
        <translation>Pliki do wysłania</translation>
    </message>
    <message>
        <source>Downloaded Files</source>
        <translation>Pobrane pliki</translation>
    </message>
    <message>
        <source>Error </source>
        <translation>Błąd </translation>
    </message>
    <message>
        <source>No files selected</source>
        <translation>Nie wybrano plików</translation>
    </message>
    <message>
        <source>File Transfer</source>
        <translation>Przesyłanie plików</translation>
    </message>
    <message>
        <source>Delete Warning</source>
        <translation>Ostrzeżenie przed usunięciem</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the selected files?</source>
        <translation>Czy na pewno usunąć wybrane pliki?</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Usuwanie</translation>
    </message>
    <message>
        <source>Category</source>
        <translation>Kategoria</translation>
    </message>
    <message>
        <source>Select the type of items to manage</source>
        <comment>ToolTip</comment>
        <translation>Wybierz rodzaj elementów</translation>
    </message>
    <message>
        <source>Download selected files</source>
        <comment>ToolTip</comment>
        <translation>Pobierz wybrane pliki</translation>
    </message>
    <message>
        <source>Upload selected files</source>
        <comment>ToolTip</comment>
        <translation>Wyślij wybrane pliki</translation>
    </message>
    <message>
        <source>Delete selected files</source>
        <comment>ToolTip</comment>
        <translation>Usuń wybrane pliki</translation>
    </message>
    <message>
        <source>Browse</source>
        <translation>Przeglądaj</translation>
    </message>
    <message>
        <source>Select the location of files to view</source>
        <comment>ToolTip</comment>
        <translation>Wybierz miejsce wyświetlanych plików</translation>
    </message>
</context>
<context>
    <name>TKelvoFullView</name>
    <message>
        <source>KELVO File Controller</source>
        <translation>KELVO: menedżer plików</translation>
    </message>
</context>
<context>
    <name>TKelvoMiniView</name>
    <message>
        <source>Login to Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Zaloguj się do Kelvo</translation>
    </message>
    <message>
        <source>Logout of Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Wyloguj się z Kelvo</translation>
    </message>
    <message>
        <source>KELVO Login Error</source>
        <translation>Błąd logowania do KELVO</translation>
    </message>
    <message>
        <source>Logging out....</source>
        <translation>Wylogowywanie....</translation>
    </message>
    <message>
        <source>Logging in....</source>
        <translation>Logowanie....</translation>
    </message>
    <message>
        <source>Logged in</source>
        <translation>Zalogowano</translation>
    </message>
    <message>
        <source>Login</source>
        <translation>Zaloguj</translation>
    </message>
    <message>
        <source>Processing, please wait</source>
        <translation>Proszę czekać</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>Wyloguj</translation>
    </message>
    <message>
        <source>Unable to login to KELVO.</source>
        <translation>Nie można zalogować się do KELVO.</translation>
    </message>
    <message>
        <source>Please enter a valid username and password.</source>
        <translation>Podaj prawidłową nazwę użytkownika i hasło.</translation>
    </message>
    <message>
        <source>USERNAME</source>
        <translation>UŻYTKOWNIK</translation>
    </message>
    <message>
        <source>PASSWORD</source>
        <translation>HASŁO</translation>
    </message>
    <message>
        <source>STATUS</source>
        <translation>STAN</translation>
    </message>
    <message>
        <source>Login to KELVO</source>
        <comment>ToolTip</comment>
        <translation>Zaloguj się do KELVO</translation>
    </message>
    <message>
        <source>Configure Kelvo Account</source>
        <translation>Konfiguracja konta Kelvo</translation>
    </message>
    <message>
        <source>Configuring Kelvo Account</source>
        <translation>Trwa konfiguracja konta Kelvo</translation>
    </message>
    <message>
        <source>You will be automatically logged out of Kelvo once completed</source>
        <translation>Po zakończeniu nastąpi automatyczne wylogowanie z Kelvo</translation>
    </message>
    <message>
        <source>Configuration complete</source>
        <translation>Konfiguracja zakończona</translation>
    </message>
    <message>
        <source>Configuration complete with errors</source>
        <translation>Konfiguracja zakończona z błędami</translation>
    </message>
</context>
<context>
    <name>TKelvoThreadObject</name>
    <message>
        <source>%1 File no longer exists. File index not found.</source>
        <translation>%1 Plik już nie istnieje. Nie znaleziono indeksu pliku.</translation>
    </message>
    <message>
        <source>%1 File no longer exists. File Index not found</source>
        <translation>%1 Plik już nie istnieje. Nie znaleziono indeksu pliku</translation>
    </message>
    <message>
        <source>File no longer exists.</source>
        <translation>Plik już nie istnieje.</translation>
    </message>
    <message>
        <source>Failed to unzip file</source>
        <translation>Nie udało się rozpakować pliku</translation>
    </message>
    <message>
        <source>All files</source>
        <translation>Wszystkie pliki</translation>
    </message>
    <message>
        <source>Creation of user folder &apos;%1&apos; failed</source>
        <translation>Nie udało się utworzyć folderu użytkownika &apos;%1&apos;</translation>
    </message>
    <message>
        <source>User folder &apos;%1&apos; created but reported as not found. Log out, re-login and retry uploading files</source>
        <translation>Folder użytkownika &apos;%1&apos; został utworzony, ale nie można go znaleźć. Wyloguj się, zaloguj ponownie i jeszcze raz wyślij pliki</translation>
    </message>
</context>
</TS>
