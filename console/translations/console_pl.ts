<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl_PL" sourcelanguage="en_US">
<context>
    <name>GpsSetting</name>
    <message>
        <source>&quot;%1&quot; is no HOST or HOST:PORT.</source>
        <translation>&quot;%1&quot; to nie HOST ani HOST:PORT.</translation>
    </message>
    <message>
        <source>the speed %1 is not from 1 (real time) to %2.</source>
        <translation>prędkość %1 nie mieści się między 1 (czas rzeczywisty) a %2.</translation>
    </message>
    <message>
        <source>the log &quot;%1&quot; cannot be read.</source>
        <translation>nie można odczytać zapisu &quot;%1&quot;.</translation>
    </message>
    <message>
        <source>serial wants a DEVICE.</source>
        <translation>serial wymaga URZĄDZENIA.</translation>
    </message>
    <message>
        <source>%1 is no baud rate; there are %2.</source>
        <translation>%1 to nie prędkość transmisji; możliwe: %2.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is none of gpsd[:HOST[:PORT]], nmea:FILE[@SPEED], serial:DEVICE[@BAUD].</source>
        <translation>&quot;%1&quot; to nie gpsd[:HOST[:PORT]], nmea:PLIK[@PRĘDKOŚĆ] ani serial:URZĄDZENIE[@BAUD].</translation>
    </message>
</context>
<context>
    <name>Home</name>
    <message>
        <source>On KELVO: logged out</source>
        <translation>W KELVO: wylogowano</translation>
    </message>
    <message>
        <source>On KELVO: not listed yet</source>
        <translation>W KELVO: jeszcze bez listy</translation>
    </message>
    <message>
        <source>On KELVO at %1: %2</source>
        <translation>W KELVO o %1: %2</translation>
    </message>
    <message>
        <source>On KELVO: %1</source>
        <translation>W KELVO: %1</translation>
    </message>
    <message>
        <source>Downloaded: %1</source>
        <translation>Pobrane: %1</translation>
    </message>
    <message>
        <source>Downloaded: not readable</source>
        <translation>Pobrane: nieczytelne</translation>
    </message>
    <message>
        <source>To send: %1</source>
        <translation>Do wysłania: %1</translation>
    </message>
    <message>
        <source>To send: not readable</source>
        <translation>Do wysłania: nieczytelne</translation>
    </message>
    <message>
        <source>On the console: not counted</source>
        <translation>W konsoli: nie policzono</translation>
    </message>
    <message>
        <source>Last contact: %1</source>
        <translation>Ostatni kontakt: %1</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Połączenie</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Pamięć</translation>
    </message>
    <message>
        <source>Free: %1</source>
        <translation>Wolne: %1</translation>
    </message>
    <message>
        <source>Free: not known</source>
        <translation>Wolne: nie wiadomo</translation>
    </message>
    <message>
        <source>Position</source>
        <translation>Pozycja</translation>
    </message>
    <message>
        <source>Satellites: %1</source>
        <translation>Satelity: %1</translation>
    </message>
    <message>
        <source>Speed: %1 km/h</source>
        <translation>Prędkość: %1 km/h</translation>
    </message>
    <message>
        <source>Heading: %1°</source>
        <translation>Kurs: %1°</translation>
    </message>
    <message numerus="yes">
        <source>%Ln new</source>
        <translation>
            <numerusform>%Ln nowy</numerusform>
            <numerusform>%Ln nowe</numerusform>
            <numerusform>%Ln nowych</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>PluginHost</name>
    <message>
        <source>The hub has no signal %1.</source>
        <translation>W hubie brakuje sygnału %1.</translation>
    </message>
    <message>
        <source>There is no plug-in %1.</source>
        <translation>Nie ma wtyczki %1.</translation>
    </message>
    <message>
        <source>The plug-in %1 cannot be loaded: %2</source>
        <translation>Nie można załadować wtyczki %1: %2</translation>
    </message>
    <message>
        <source>The plug-in %1 lacks the entry point %2.</source>
        <translation>We wtyczce %1 brakuje punktu wejścia %2.</translation>
    </message>
    <message>
        <source>The plug-in&apos;s start failed</source>
        <translation>Nie udało się uruchomić wtyczki</translation>
    </message>
    <message>
        <source>The plug-in started, but offers no hub.</source>
        <translation>Wtyczka działa, ale nie udostępnia huba.</translation>
    </message>
    <message>
        <source>The plug-in offers no root object, so it has no screens.</source>
        <translation>Wtyczka nie udostępnia obiektu głównego, więc nie ma ekranów.</translation>
    </message>
    <message>
        <source>The plug-in could not build its screens</source>
        <translation>Wtyczka nie mogła utworzyć swoich ekranów</translation>
    </message>
</context>
<context>
    <name>QIODevice</name>
    <message>
        <source>Permission denied</source>
        <translation>Brak dostępu</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>Brak wolnego miejsca</translation>
    </message>
</context>
<context>
    <name>QLibrary</name>
    <message>
        <source>Cannot load library %1: %2</source>
        <translation>Nie można załadować biblioteki %1: %2</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Cofnij</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Ponów</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>Wy&amp;tnij</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopiuj</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>Wk&amp;lej</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Usuń</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Zaznacz wszystko</translation>
    </message>
</context>
<context>
    <name>QShortcut</name>
    <message>
        <source>Ctrl</source>
        <translation>Ctrl</translation>
    </message>
</context>
<context>
    <name>StatusBar</name>
    <message>
        <source>No position source</source>
        <translation>Brak źródła pozycji</translation>
    </message>
    <message>
        <source>Waiting for a receiver</source>
        <translation>Oczekiwanie na odbiornik</translation>
    </message>
    <message>
        <source>No position</source>
        <translation>Brak pozycji</translation>
    </message>
    <message>
        <source>The position log has ended</source>
        <translation>Koniec zapisu pozycji</translation>
    </message>
    <message>
        <source>no fix</source>
        <translation>brak fix</translation>
    </message>
    <message>
        <source>GPS</source>
        <translation>GPS</translation>
    </message>
    <message>
        <source>DGPS</source>
        <translation>DGPS</translation>
    </message>
    <message>
        <source>PPS</source>
        <translation>PPS</translation>
    </message>
    <message>
        <source>RTK</source>
        <translation>RTK</translation>
    </message>
    <message>
        <source>RTK float</source>
        <translation>RTK float</translation>
    </message>
    <message>
        <source>estimated</source>
        <translation>szacowana</translation>
    </message>
    <message>
        <source>manual</source>
        <translation>ręczna</translation>
    </message>
    <message>
        <source>simulated</source>
        <translation>symulowana</translation>
    </message>
    <message>
        <source>No connection</source>
        <translation>Brak połączenia</translation>
    </message>
    <message>
        <source>Logged out</source>
        <translation>Wylogowano</translation>
    </message>
    <message>
        <source>Connecting...</source>
        <translation>Łączenie...</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>Połączono</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min</source>
        <translation>%1 min</translation>
    </message>
    <message>
        <source>Position lost %1 ago</source>
        <translation>Pozycja utracona %1 temu</translation>
    </message>
    <message>
        <source>No network</source>
        <translation>Brak sieci</translation>
    </message>
    <message>
        <source>Service does not answer</source>
        <translation>Usługa nie odpowiada</translation>
    </message>
    <message>
        <source>Network wants a login</source>
        <translation>Sieć wymaga logowania</translation>
    </message>
    <message>
        <source>Clock is wrong</source>
        <translation>Zegar jest błędny</translation>
    </message>
    <message>
        <source>Service not trusted</source>
        <translation>Usługa niezaufana</translation>
    </message>
    <message>
        <source>since %1</source>
        <translation>od %1</translation>
    </message>
    <message>
        <source>at %1</source>
        <translation>o %1</translation>
    </message>
</context>
<context>
    <name>StoredSettings</name>
    <message>
        <source>The service&apos;s certificate %1 cannot be read.</source>
        <translation>Nie można odczytać certyfikatu %1 usługi.</translation>
    </message>
    <message>
        <source>Position source: </source>
        <translation>Źródło pozycji: </translation>
    </message>
    <message>
        <source>The data folder %1 cannot be written to.</source>
        <translation>Nie można zapisywać w folderze danych %1.</translation>
    </message>
    <message>
        <source>The service wants HOST or HOST:PORT.</source>
        <translation>Usługa wymaga HOST lub HOST:PORT.</translation>
    </message>
    <message>
        <source>The PIN wants 4 to 8 digits.</source>
        <translation>PIN musi mieć od 4 do 8 cyfr.</translation>
    </message>
    <message>
        <source>The settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>Nie można zapisać ustawień: %1. Zostaną utracone po zamknięciu konsoli.</translation>
    </message>
    <message>
        <source>Changes of the user name, the password or the settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>Nie można zapisać zmian nazwy użytkownika, hasła lub ustawień: %1. Zostaną utracone po zamknięciu konsoli.</translation>
    </message>
    <message>
        <source>The data folder could not be stored: %1 cannot be written.</source>
        <translation>Nie można zapisać folderu danych: nie można zapisać pliku %1.</translation>
    </message>
    <message>
        <source>there is no space left</source>
        <translation>nie ma już miejsca</translation>
    </message>
    <message>
        <source>the storage is read-only</source>
        <translation>pamięć jest tylko do odczytu</translation>
    </message>
    <message>
        <source>the storage has a fault</source>
        <translation>pamięć jest uszkodzona</translation>
    </message>
    <message>
        <source>the console may not write them</source>
        <translation>konsola nie może ich zapisać</translation>
    </message>
    <message>
        <source>their folder is missing</source>
        <translation>brakuje ich folderu</translation>
    </message>
    <message>
        <source>the password cannot be encrypted</source>
        <translation>nie można zaszyfrować hasła</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>błąd %1</translation>
    </message>
</context>
<context>
    <name>TChoicePopup</name>
    <message>
        <source>Back</source>
        <translation>Wstecz</translation>
    </message>
</context>
<context>
    <name>TListWidget</name>
    <message>
        <source>Search names</source>
        <translation>Szukaj nazw</translation>
    </message>
    <message>
        <source>%1 of %2 selected</source>
        <translation>Wybrano %1 z %2</translation>
    </message>
    <message>
        <source>%1 found: %2</source>
        <translation>Znaleziono %1: %2</translation>
    </message>
    <message>
        <source>%1 hidden</source>
        <translation>Ukryte: %1</translation>
    </message>
    <message>
        <source>Left out, because the search hides them: %1</source>
        <translation>Pominięto, bo wyszukiwanie je ukrywa: %1</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Nic</translation>
    </message>
    <message>
        <source>All</source>
        <translation>Całość</translation>
    </message>
    <message>
        <source>Select no name</source>
        <translation>Nie wybieraj żadnej nazwy</translation>
    </message>
    <message>
        <source>Select all shown names</source>
        <translation>Wybierz wszystkie widoczne nazwy</translation>
    </message>
    <message>
        <source>Show all names again</source>
        <translation>Pokaż znowu wszystkie nazwy</translation>
    </message>
    <message>
        <source>Show only names with a text</source>
        <translation>Pokaż tylko nazwy z danym tekstem</translation>
    </message>
    <message>
        <source>There is nothing here.</source>
        <translation>Nic tu nie ma.</translation>
    </message>
    <message>
        <source>There is nothing here.
Log in to see the service&apos;s files.</source>
        <translation>Nic tu nie ma.
Zaloguj się, aby zobaczyć pliki usługi.</translation>
    </message>
    <message>
        <source>There is nothing here yet.
The service has not listed its files yet.</source>
        <translation>Nic tu jeszcze nie ma.
Usługa nie podała jeszcze listy plików.</translation>
    </message>
    <message>
        <source>No name has the text &quot;%1&quot;.</source>
        <translation>Żadna nazwa nie zawiera tekstu &quot;%1&quot;.</translation>
    </message>
</context>
<context>
    <name>TMessageDialog</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Zamknij</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Tak</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nie</translation>
    </message>
</context>
<context>
    <name>TProgressBar</name>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
</context>
<context>
    <name>TProgressDialog</name>
    <message>
        <source>Close</source>
        <translation>Zamknij</translation>
    </message>
</context>
<context>
    <name>TPropertyWidget</name>
    <message>
        <source>Show the text</source>
        <translation>Pokaż tekst</translation>
    </message>
    <message>
        <source>Hide the text</source>
        <translation>Ukryj tekst</translation>
    </message>
    <message>
        <source>Clear the text</source>
        <translation>Wyczyść tekst</translation>
    </message>
</context>
<context>
    <name>Transfer</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 z %2</translation>
    </message>
    <message>
        <source>%1 s left</source>
        <translation>jeszcze %1 s</translation>
    </message>
    <message>
        <source>%1 min left</source>
        <translation>jeszcze %1 min</translation>
    </message>
    <message>
        <source>%1 h left</source>
        <translation>jeszcze %1 h</translation>
    </message>
    <message>
        <source>file %1 of %2</source>
        <translation>plik %1 z %2</translation>
    </message>
    <message>
        <source>Nothing moves</source>
        <translation>Brak przepływu danych</translation>
    </message>
    <message>
        <source>%1. Waiting until %2.</source>
        <translation>%1. Czekam do %2.</translation>
    </message>
    <message>
        <source>Checking the file...</source>
        <translation>Sprawdzanie pliku...</translation>
    </message>
    <message>
        <source>Unpacking...</source>
        <translation>Rozpakowywanie...</translation>
    </message>
    <message>
        <source>Unpacking %1...</source>
        <translation>Rozpakowywanie %1...</translation>
    </message>
    <message>
        <source>ends after this file</source>
        <translation>koniec po tym pliku</translation>
    </message>
    <message>
        <source>Ended after %1 of %2 files.</source>
        <translation>Zakończono po %1 z %2 plików.</translation>
    </message>
    <message>
        <source>The disk is too full to unpack: %1</source>
        <translation>Za mało miejsca, aby rozpakować: %1</translation>
    </message>
    <message>
        <source>ends when all are unpacked</source>
        <translation>koniec po rozpakowaniu wszystkich</translation>
    </message>
    <message>
        <source>%1/s</source>
        <translation>%1/s</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message>
        <source>until %1</source>
        <translation>do %1</translation>
    </message>
</context>
<context>
    <name>console::TAboutPage</name>
    <message>
        <source>Versions</source>
        <translation>Wersje</translation>
    </message>
    <message>
        <source>Console: %1</source>
        <translation>Konsola: %1</translation>
    </message>
    <message>
        <source>System: %1, Linux %2</source>
        <translation>System: %1, Linux %2</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Pamięć</translation>
    </message>
    <message>
        <source>Data folder: %1</source>
        <translation>Folder danych: %1</translation>
    </message>
    <message>
        <source>Free: %1 of %2</source>
        <translation>Wolne: %1 z %2</translation>
    </message>
    <message>
        <source>Last lines of the log</source>
        <translation>Ostatnie wiersze dziennika</translation>
    </message>
    <message>
        <source>The log is empty.</source>
        <translation>Dziennik jest pusty.</translation>
    </message>
    <message>
        <source>Licences</source>
        <translation>Licencje</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Zamknij</translation>
    </message>
    <message>
        <source>Back to the settings</source>
        <translation>Powrót do opcji</translation>
    </message>
</context>
<context>
    <name>console::TLauncherBar</name>
    <message>
        <source>Home</source>
        <translation>Start</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Opcje</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Noc</translation>
    </message>
    <message>
        <source>The overview</source>
        <translation>Przegląd</translation>
    </message>
    <message>
        <source>Set up the console</source>
        <translation>Konfiguracja konsoli</translation>
    </message>
    <message>
        <source>Colours for day or night</source>
        <translation>Kolory na dzień lub noc</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Dzień</translation>
    </message>
</context>
<context>
    <name>console::TLinkBanner</name>
    <message>
        <source>The connection to the service has ended. Log in again to go on.</source>
        <translation>Połączenie z usługą zostało zakończone. Zaloguj się ponownie, aby kontynuować.</translation>
    </message>
    <message>
        <source>The login has failed.</source>
        <translation>Logowanie nie powiodło się.</translation>
    </message>
</context>
<context>
    <name>console::TMainWindow</name>
    <message>
        <source>Ending...</source>
        <translation>Zamykanie...</translation>
    </message>
</context>
<context>
    <name>console::TPluginScreens</name>
    <message>
        <source>unknown</source>
        <translation>nieznany powód</translation>
    </message>
    <message>
        <source>A screen of the plug-in could not be set up: %1</source>
        <translation>Nie udało się przygotować ekranu wtyczki: %1</translation>
    </message>
</context>
<context>
    <name>console::TSettingsPage</name>
    <message>
        <source>Service</source>
        <translation>Usługa</translation>
    </message>
    <message>
        <source>Host and port; empty for the usual one</source>
        <translation>Host i port; puste oznacza zwykły</translation>
    </message>
    <message>
        <source>Service&apos;s certificate</source>
        <translation>Certyfikat usługi</translation>
    </message>
    <message>
        <source>A file with the authority to trust besides the system&apos;s</source>
        <translation>Plik urzędu certyfikacji zaufanego oprócz systemowych</translation>
    </message>
    <message>
        <source>Position source</source>
        <translation>Źródło pozycji</translation>
    </message>
    <message>
        <source>gpsd:HOST:PORT, serial:DEVICE@BAUD or nmea:FILE; empty for none</source>
        <translation>gpsd:HOST:PORT, serial:URZĄDZENIE@BAUD lub nmea:PLIK; puste oznacza brak</translation>
    </message>
    <message>
        <source>Data folder</source>
        <translation>Folder danych</translation>
    </message>
    <message>
        <source>Folder of the received files</source>
        <translation>Tu trafia wszystko, co zostało odebrane</translation>
    </message>
    <message>
        <source>Colours</source>
        <translation>Kolory</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Dzień</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Noc</translation>
    </message>
    <message>
        <source>User level</source>
        <translation>Poziom użytkownika</translation>
    </message>
    <message>
        <source>Driver: no data exchange</source>
        <translation>Kierowca: bez wymiany danych</translation>
    </message>
    <message>
        <source>Operator: everything</source>
        <translation>Operator: wszystko</translation>
    </message>
    <message>
        <source>Screen</source>
        <translation>Ekran</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Okno</translation>
    </message>
    <message>
        <source>Full screen</source>
        <translation>Pełny ekran</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Zapisz</translation>
    </message>
    <message>
        <source>Keep what is shown</source>
        <translation>Zachowaj to, co widać</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Odrzuć</translation>
    </message>
    <message>
        <source>Show what was kept</source>
        <translation>Pokaż to, co zapisano</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Język</translation>
    </message>
    <message>
        <source>The usual one</source>
        <translation>Zwykła</translation>
    </message>
    <message>
        <source>Only the system&apos;s</source>
        <translation>Tylko systemowe</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Brak</translation>
    </message>
    <message>
        <source>In use: %1</source>
        <translation>W użyciu: %1</translation>
    </message>
    <message>
        <source>Receiver</source>
        <translation>Odbiornik</translation>
    </message>
    <message>
        <source>gpsd on this console</source>
        <translation>gpsd na tej konsoli</translation>
    </message>
    <message>
        <source>Another, as entered below</source>
        <translation>Inne, jak podano niżej</translation>
    </message>
    <message>
        <source>There is no %1 now.</source>
        <translation>%1 teraz nie istnieje.</translation>
    </message>
    <message>
        <source>Text size</source>
        <translation>Wielkość tekstu</translation>
    </message>
    <message>
        <source>Normal</source>
        <translation>Normalna</translation>
    </message>
    <message>
        <source>Large</source>
        <translation>Duża</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>O tej konsoli</translation>
    </message>
    <message>
        <source>Versions, free space, log and licences</source>
        <translation>Wersje, wolne miejsce, dziennik i licencje</translation>
    </message>
    <message>
        <source>Restart now</source>
        <translation>Restart</translation>
    </message>
    <message>
        <source>Start the console anew with what was kept</source>
        <translation>Uruchom konsolę ponownie z zapisanymi wartościami</translation>
    </message>
    <message>
        <source>Installer&apos;s PIN</source>
        <translation>PIN instalatora</translation>
    </message>
    <message>
        <source>Enter the PIN to change what is off.</source>
        <translation>Wpisz PIN, aby zmienić zablokowane ustawienia.</translation>
    </message>
    <message>
        <source>4 to 8 digits. Without a PIN, everyone can change everything.</source>
        <translation>Od 4 do 8 cyfr. Bez PIN-u każdy może zmienić wszystko.</translation>
    </message>
    <message>
        <source>The PIN is wrong.</source>
        <translation>PIN jest błędny.</translation>
    </message>
    <message>
        <source>New installer&apos;s PIN</source>
        <translation>Nowy PIN instalatora</translation>
    </message>
    <message>
        <source>Unchanged</source>
        <translation>Bez zmian</translation>
    </message>
    <message>
        <source>Remove the PIN</source>
        <translation>Usuń PIN</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nie</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Tak</translation>
    </message>
    <message>
        <source>After Save, everyone can change everything.</source>
        <translation>Po zapisaniu każdy może zmienić wszystko.</translation>
    </message>
    <message>
        <source>The settings are unlocked. To change the PIN, enter 4 to 8 digits.</source>
        <translation>Opcje są odblokowane. Aby zmienić PIN, wpisz od 4 do 8 cyfr.</translation>
    </message>
    <message>
        <source>The command line sets %1. A restart does not change this.</source>
        <translation>Wiersz poleceń ustawia %1. Ponowne uruchomienie tego nie zmieni.</translation>
    </message>
    <message>
        <source>At the next start the command line sets the source again.</source>
        <translation>Przy następnym uruchomieniu wiersz poleceń ponownie ustawi źródło.</translation>
    </message>
</context>
<context>
    <name>console::TWindowSession</name>
    <message>
        <source>Settings</source>
        <translation>Ustawienia</translation>
    </message>
    <message>
        <source>Kept. It applies from the next start of the console on.</source>
        <translation>Zapisano. Obowiązuje od następnego uruchomienia konsoli.</translation>
    </message>
    <message>
        <source>Log out before you choose a user level without data exchange.</source>
        <translation>Wyloguj się przed wyborem poziomu użytkownika bez wymiany danych.</translation>
    </message>
    <message>
        <source>Kept.</source>
        <translation>Zapisano.</translation>
    </message>
    <message>
        <source>The plug-in does not take requests; is the service&apos;s address usable?</source>
        <translation>Wtyczka nie przyjmuje poleceń; czy adres usługi jest poprawny?</translation>
    </message>
    <message>
        <source>Plug-in</source>
        <translation>Wtyczka</translation>
    </message>
    <message>
        <source>Some changes are not saved. Leave the settings without these changes?</source>
        <translation>Niektóre zmiany nie są zapisane. Opuścić opcje bez tych zmian?</translation>
    </message>
    <message>
        <source>An upload, download or deletion is running. After the restart, log in, select its files and start it again. Restart now?</source>
        <translation>Trwa wysyłanie, pobieranie lub usuwanie plików. Po restarcie zaloguj się, wybierz pliki i zacznij od nowa. Uruchomić ponownie teraz?</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>O tej konsoli</translation>
    </message>
</context>
</TS>
