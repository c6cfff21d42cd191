<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en_US">
<context>
    <name>GpsSetting</name>
    <message>
        <source>&quot;%1&quot; is no HOST or HOST:PORT.</source>
        <translation>&quot;%1&quot; ist kein HOST und kein HOST:PORT.</translation>
    </message>
    <message>
        <source>the speed %1 is not from 1 (real time) to %2.</source>
        <translation>die Geschwindigkeit %1 liegt nicht zwischen 1 (Echtzeit) und %2.</translation>
    </message>
    <message>
        <source>the log &quot;%1&quot; cannot be read.</source>
        <translation>die Aufzeichnung &quot;%1&quot; ist nicht lesbar.</translation>
    </message>
    <message>
        <source>serial wants a DEVICE.</source>
        <translation>serial erfordert ein GERÄT.</translation>
    </message>
    <message>
        <source>%1 is no baud rate; there are %2.</source>
        <translation>%1 ist keine Baudrate; möglich sind %2.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is none of gpsd[:HOST[:PORT]], nmea:FILE[@SPEED], serial:DEVICE[@BAUD].</source>
        <translation>&quot;%1&quot; ist nichts von gpsd[:HOST[:PORT]], nmea:DATEI[@TEMPO], serial:GERÄT[@BAUD].</translation>
    </message>
</context>
<context>
    <name>Home</name>
    <message>
        <source>On KELVO: logged out</source>
        <translation>Auf KELVO: abgemeldet</translation>
    </message>
    <message>
        <source>On KELVO: not listed yet</source>
        <translation>Auf KELVO: noch nicht gelistet</translation>
    </message>
    <message>
        <source>On KELVO at %1: %2</source>
        <translation>Auf KELVO um %1: %2</translation>
    </message>
    <message>
        <source>On KELVO: %1</source>
        <translation>Auf KELVO: %1</translation>
    </message>
    <message>
        <source>Downloaded: %1</source>
        <translation>Geladen: %1</translation>
    </message>
    <message>
        <source>Downloaded: not readable</source>
        <translation>Geladen: nicht lesbar</translation>
    </message>
    <message>
        <source>To send: %1</source>
        <translation>Zu senden: %1</translation>
    </message>
    <message>
        <source>To send: not readable</source>
        <translation>Zu senden: nicht lesbar</translation>
    </message>
    <message>
        <source>On the console: not counted</source>
        <translation>Auf der Konsole: nicht gezählt</translation>
    </message>
    <message>
        <source>Last contact: %1</source>
        <translation>Letzter Kontakt: %1</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Verbindung</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Free: %1</source>
        <translation>Frei: %1</translation>
    </message>
    <message>
        <source>Free: not known</source>
        <translation>Frei: nicht bekannt</translation>
    </message>
    <message>
        <source>Position</source>
        <translation>Position</translation>
    </message>
    <message>
        <source>Satellites: %1</source>
        <translation>Satelliten: %1</translation>
    </message>
    <message>
        <source>Speed: %1 km/h</source>
        <translation>Tempo: %1 km/h</translation>
    </message>
    <message>
        <source>Heading: %1°</source>
        <translation>Kurs: %1°</translation>
    </message>
    <message numerus="yes">
        <source>%Ln new</source>
        <translation>
            <numerusform>%Ln neu</numerusform>
            <numerusform>%Ln neu</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>PluginHost</name>
    <message>
        <source>The hub has no signal %1.</source>
        <translation>Dem Hub fehlt das Signal %1.</translation>
    </message>
    <message>
        <source>There is no plug-in %1.</source>
        <translation>Es gibt kein Plug-in %1.</translation>
    </message>
    <message>
        <source>The plug-in %1 cannot be loaded: %2</source>
        <translation>Das Plug-in %1 kann nicht geladen werden: %2</translation>
    </message>
    <message>
        <source>The plug-in %1 lacks the entry point %2.</source>
        <translation>Dem Plug-in %1 fehlt der Einsprungpunkt %2.</translation>
    </message>
    <message>
        <source>The plug-in&apos;s start failed</source>
        <translation>Der Start des Plug-ins ist fehlgeschlagen</translation>
    </message>
    <message>
        <source>The plug-in started, but offers no hub.</source>
        <translation>Das Plug-in läuft, bietet aber keinen Hub.</translation>
    </message>
    <message>
        <source>The plug-in offers no root object, so it has no screens.</source>
        <translation>Das Plug-in bietet kein Stammobjekt und hat darum keine Ansichten.</translation>
    </message>
    <message>
        <source>The plug-in could not build its screens</source>
        <translation>Das Plug-in konnte seine Ansichten nicht aufbauen</translation>
    </message>
</context>
<context>
    <name>QIODevice</name>
    <message>
        <source>Permission denied</source>
        <translation>Zugriff verweigert</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>Kein Speicherplatz mehr</translation>
    </message>
</context>
<context>
    <name>QLibrary</name>
    <message>
        <source>Cannot load library %1: %2</source>
        <translation>Bibliothek %1 kann nicht geladen werden: %2</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Wiederholen</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>&amp;Ausschneiden</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>&amp;Einfügen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
</context>
<context>
    <name>QShortcut</name>
    <message>
        <source>Ctrl</source>
        <translation>Strg</translation>
    </message>
</context>
<context>
    <name>StatusBar</name>
    <message>
        <source>No position source</source>
        <translation>Keine Positionsquelle</translation>
    </message>
    <message>
        <source>Waiting for a receiver</source>
        <translation>Warten auf Empfänger</translation>
    </message>
    <message>
        <source>No position</source>
        <translation>Keine Position</translation>
    </message>
    <message>
        <source>The position log has ended</source>
        <translation>Positionsaufzeichnung zu Ende</translation>
    </message>
    <message>
        <source>no fix</source>
        <translation>kein Fix</translation>
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
        <translation>RTK Float</translation>
    </message>
    <message>
        <source>estimated</source>
        <translation>geschätzt</translation>
    </message>
    <message>
        <source>manual</source>
        <translation>manuell</translation>
    </message>
    <message>
        <source>simulated</source>
        <translation>simuliert</translation>
    </message>
    <message>
        <source>No connection</source>
        <translation>Keine Verbindung</translation>
    </message>
    <message>
        <source>Logged out</source>
        <translation>Abgemeldet</translation>
    </message>
    <message>
        <source>Connecting...</source>
        <translation>Verbinden...</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>Verbunden</translation>
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
        <translation>Position seit %1 verloren</translation>
    </message>
    <message>
        <source>No network</source>
        <translation>Kein Netz</translation>
    </message>
    <message>
        <source>Service does not answer</source>
        <translation>Dienst antwortet nicht</translation>
    </message>
    <message>
        <source>Network wants a login</source>
        <translation>Netz verlangt Anmeldung</translation>
    </message>
    <message>
        <source>Clock is wrong</source>
        <translation>Uhr geht falsch</translation>
    </message>
    <message>
        <source>Service not trusted</source>
        <translation>Dienst nicht sicher</translation>
    </message>
    <message>
        <source>since %1</source>
        <translation>seit %1</translation>
    </message>
    <message>
        <source>at %1</source>
        <translation>um %1</translation>
    </message>
</context>
<context>
    <name>StoredSettings</name>
    <message>
        <source>The service&apos;s certificate %1 cannot be read.</source>
        <translation>Das Zertifikat %1 des Dienstes ist nicht lesbar.</translation>
    </message>
    <message>
        <source>Position source: </source>
        <translation>Positionsquelle: </translation>
    </message>
    <message>
        <source>The data folder %1 cannot be written to.</source>
        <translation>Der Datenordner %1 ist nicht beschreibbar.</translation>
    </message>
    <message>
        <source>The service wants HOST or HOST:PORT.</source>
        <translation>Der Dienst erfordert HOST oder HOST:PORT.</translation>
    </message>
    <message>
        <source>The PIN wants 4 to 8 digits.</source>
        <translation>Die PIN braucht 4 bis 8 Ziffern.</translation>
    </message>
    <message>
        <source>The settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>Die Einstellungen konnten nicht gespeichert werden: %1. Sie gehen verloren, wenn die Konsole endet.</translation>
    </message>
    <message>
        <source>Changes of the user name, the password or the settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>Änderungen von Benutzername, Passwort oder Einstellungen konnten nicht gespeichert werden: %1. Sie gehen verloren, wenn die Konsole endet.</translation>
    </message>
    <message>
        <source>The data folder could not be stored: %1 cannot be written.</source>
        <translation>Der Datenordner konnte nicht gespeichert werden: %1 kann nicht geschrieben werden.</translation>
    </message>
    <message>
        <source>there is no space left</source>
        <translation>es ist kein Platz mehr frei</translation>
    </message>
    <message>
        <source>the storage is read-only</source>
        <translation>der Speicher ist schreibgeschützt</translation>
    </message>
    <message>
        <source>the storage has a fault</source>
        <translation>der Speicher hat einen Fehler</translation>
    </message>
    <message>
        <source>the console may not write them</source>
        <translation>die Konsole darf sie nicht schreiben</translation>
    </message>
    <message>
        <source>their folder is missing</source>
        <translation>ihr Ordner fehlt</translation>
    </message>
    <message>
        <source>the password cannot be encrypted</source>
        <translation>das Passwort kann nicht verschlüsselt werden</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>Fehler %1</translation>
    </message>
</context>
<context>
    <name>TChoicePopup</name>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
</context>
<context>
    <name>TListWidget</name>
    <message>
        <source>Search names</source>
        <translation>Namen suchen</translation>
    </message>
    <message>
        <source>%1 of %2 selected</source>
        <translation>%1 von %2 gewählt</translation>
    </message>
    <message>
        <source>%1 found: %2</source>
        <translation>%1 gefunden: %2</translation>
    </message>
    <message>
        <source>%1 hidden</source>
        <translation>%1 verdeckt</translation>
    </message>
    <message>
        <source>Left out, because the search hides them: %1</source>
        <translation>Ausgelassen, weil die Suche sie verdeckt: %1</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>All</source>
        <translation>Alle</translation>
    </message>
    <message>
        <source>Select no name</source>
        <translation>Keinen Namen wählen</translation>
    </message>
    <message>
        <source>Select all shown names</source>
        <translation>Alle gezeigten Namen wählen</translation>
    </message>
    <message>
        <source>Show all names again</source>
        <translation>Wieder alle Namen zeigen</translation>
    </message>
    <message>
        <source>Show only names with a text</source>
        <translation>Nur Namen mit einem Text zeigen</translation>
    </message>
    <message>
        <source>There is nothing here.</source>
        <translation>Hier ist nichts.</translation>
    </message>
    <message>
        <source>There is nothing here.
Log in to see the service&apos;s files.</source>
        <translation>Hier ist nichts.
Melden Sie sich an, um die Dateien des Dienstes zu sehen.</translation>
    </message>
    <message>
        <source>There is nothing here yet.
The service has not listed its files yet.</source>
        <translation>Hier ist noch nichts.
Der Dienst hat seine Dateien noch nicht aufgelistet.</translation>
    </message>
    <message>
        <source>No name has the text &quot;%1&quot;.</source>
        <translation>Kein Name enthält den Text &quot;%1&quot;.</translation>
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
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nein</translation>
    </message>
</context>
<context>
    <name>TProgressBar</name>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
</context>
<context>
    <name>TProgressDialog</name>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>TPropertyWidget</name>
    <message>
        <source>Show the text</source>
        <translation>Text anzeigen</translation>
    </message>
    <message>
        <source>Hide the text</source>
        <translation>Text verbergen</translation>
    </message>
    <message>
        <source>Clear the text</source>
        <translation>Text löschen</translation>
    </message>
</context>
<context>
    <name>Transfer</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message>
        <source>%1 s left</source>
        <translation>noch %1 s</translation>
    </message>
    <message>
        <source>%1 min left</source>
        <translation>noch %1 min</translation>
    </message>
    <message>
        <source>%1 h left</source>
        <translation>noch %1 h</translation>
    </message>
    <message>
        <source>file %1 of %2</source>
        <translation>Datei %1 von %2</translation>
    </message>
    <message>
        <source>Nothing moves</source>
        <translation>Es kommt nichts an</translation>
    </message>
    <message>
        <source>%1. Waiting until %2.</source>
        <translation>%1. Warte bis %2.</translation>
    </message>
    <message>
        <source>Checking the file...</source>
        <translation>Datei wird geprüft...</translation>
    </message>
    <message>
        <source>Unpacking...</source>
        <translation>Wird entpackt...</translation>
    </message>
    <message>
        <source>Unpacking %1...</source>
        <translation>%1 wird entpackt...</translation>
    </message>
    <message>
        <source>ends after this file</source>
        <translation>endet nach dieser Datei</translation>
    </message>
    <message>
        <source>Ended after %1 of %2 files.</source>
        <translation>Beendet nach %1 von %2 Dateien.</translation>
    </message>
    <message>
        <source>The disk is too full to unpack: %1</source>
        <translation>Zu wenig Speicherplatz zum Entpacken: %1</translation>
    </message>
    <message>
        <source>ends when all are unpacked</source>
        <translation>endet, wenn alle entpackt sind</translation>
    </message>
    <message>
        <source>%1/s</source>
        <translation>%1/s</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
    <message>
        <source>until %1</source>
        <translation>bis %1</translation>
    </message>
</context>
<context>
    <name>console::TAboutPage</name>
    <message>
        <source>Versions</source>
        <translation>Versionen</translation>
    </message>
    <message>
        <source>Console: %1</source>
        <translation>Konsole: %1</translation>
    </message>
    <message>
        <source>System: %1, Linux %2</source>
        <translation>System: %1, Linux %2</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Data folder: %1</source>
        <translation>Datenordner: %1</translation>
    </message>
    <message>
        <source>Free: %1 of %2</source>
        <translation>Frei: %1 von %2</translation>
    </message>
    <message>
        <source>Last lines of the log</source>
        <translation>Letzte Zeilen des Protokolls</translation>
    </message>
    <message>
        <source>The log is empty.</source>
        <translation>Das Protokoll ist leer.</translation>
    </message>
    <message>
        <source>Licences</source>
        <translation>Lizenzen</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Back to the settings</source>
        <translation>Zurück zum Setup</translation>
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
        <translation>Setup</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Nacht</translation>
    </message>
    <message>
        <source>The overview</source>
        <translation>Die Übersicht</translation>
    </message>
    <message>
        <source>Set up the console</source>
        <translation>Konsole einrichten</translation>
    </message>
    <message>
        <source>Colours for day or night</source>
        <translation>Farben für Tag oder Nacht</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Tag</translation>
    </message>
</context>
<context>
    <name>console::TLinkBanner</name>
    <message>
        <source>The connection to the service has ended. Log in again to go on.</source>
        <translation>Die Verbindung zum Dienst ist beendet. Zum Fortfahren neu anmelden.</translation>
    </message>
    <message>
        <source>The login has failed.</source>
        <translation>Die Anmeldung ist fehlgeschlagen.</translation>
    </message>
</context>
<context>
    <name>console::TMainWindow</name>
    <message>
        <source>Ending...</source>
        <translation>Wird beendet...</translation>
    </message>
</context>
<context>
    <name>console::TPluginScreens</name>
    <message>
        <source>unknown</source>
        <translation>unbekannt</translation>
    </message>
    <message>
        <source>A screen of the plug-in could not be set up: %1</source>
        <translation>Eine Ansicht des Plug-ins konnte nicht eingerichtet werden: %1</translation>
    </message>
</context>
<context>
    <name>console::TSettingsPage</name>
    <message>
        <source>Service</source>
        <translation>Dienst</translation>
    </message>
    <message>
        <source>Host and port; empty for the usual one</source>
        <translation>Host und Port; leer für den üblichen</translation>
    </message>
    <message>
        <source>Service&apos;s certificate</source>
        <translation>Zertifikat des Dienstes</translation>
    </message>
    <message>
        <source>A file with the authority to trust besides the system&apos;s</source>
        <translation>Datei mit der Zertifizierungsstelle, der außer denen des Systems vertraut wird</translation>
    </message>
    <message>
        <source>Position source</source>
        <translation>Positionsquelle</translation>
    </message>
    <message>
        <source>gpsd:HOST:PORT, serial:DEVICE@BAUD or nmea:FILE; empty for none</source>
        <translation>gpsd:HOST:PORT, serial:GERÄT@BAUD oder nmea:DATEI; leer für keine</translation>
    </message>
    <message>
        <source>Data folder</source>
        <translation>Datenordner</translation>
    </message>
    <message>
        <source>Folder of the received files</source>
        <translation>Hier wird alles Empfangene abgelegt</translation>
    </message>
    <message>
        <source>Colours</source>
        <translation>Farben</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Tag</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Nacht</translation>
    </message>
    <message>
        <source>User level</source>
        <translation>Benutzerstufe</translation>
    </message>
    <message>
        <source>Driver: no data exchange</source>
        <translation>Fahrer: kein Datenaustausch</translation>
    </message>
    <message>
        <source>Operator: everything</source>
        <translation>Bediener: alles</translation>
    </message>
    <message>
        <source>Screen</source>
        <translation>Bildschirm</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Fenster</translation>
    </message>
    <message>
        <source>Full screen</source>
        <translation>Vollbild</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Keep what is shown</source>
        <translation>Das Angezeigte behalten</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Verwerfen</translation>
    </message>
    <message>
        <source>Show what was kept</source>
        <translation>Das Gespeicherte anzeigen</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>The usual one</source>
        <translation>Der übliche</translation>
    </message>
    <message>
        <source>Only the system&apos;s</source>
        <translation>Nur die des Systems</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>In use: %1</source>
        <translation>In Gebrauch: %1</translation>
    </message>
    <message>
        <source>Receiver</source>
        <translation>Empfänger</translation>
    </message>
    <message>
        <source>gpsd on this console</source>
        <translation>gpsd auf dieser Konsole</translation>
    </message>
    <message>
        <source>Another, as entered below</source>
        <translation>Andere, wie unten eingetragen</translation>
    </message>
    <message>
        <source>There is no %1 now.</source>
        <translation>%1 ist gerade nicht vorhanden.</translation>
    </message>
    <message>
        <source>Text size</source>
        <translation>Textgröße</translation>
    </message>
    <message>
        <source>Normal</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>Large</source>
        <translation>Groß</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>Über diese Konsole</translation>
    </message>
    <message>
        <source>Versions, free space, log and licences</source>
        <translation>Versionen, freier Platz, Protokoll und Lizenzen</translation>
    </message>
    <message>
        <source>Restart now</source>
        <translation>Neu starten</translation>
    </message>
    <message>
        <source>Start the console anew with what was kept</source>
        <translation>Die Konsole mit den gespeicherten Werten neu starten</translation>
    </message>
    <message>
        <source>Installer&apos;s PIN</source>
        <translation>PIN des Installateurs</translation>
    </message>
    <message>
        <source>Enter the PIN to change what is off.</source>
        <translation>Zum Ändern der gesperrten Werte die PIN eingeben.</translation>
    </message>
    <message>
        <source>4 to 8 digits. Without a PIN, everyone can change everything.</source>
        <translation>4 bis 8 Ziffern. Ohne PIN kann jeder alles ändern.</translation>
    </message>
    <message>
        <source>The PIN is wrong.</source>
        <translation>Die PIN ist falsch.</translation>
    </message>
    <message>
        <source>New installer&apos;s PIN</source>
        <translation>Neue PIN des Installateurs</translation>
    </message>
    <message>
        <source>Unchanged</source>
        <translation>Unverändert</translation>
    </message>
    <message>
        <source>Remove the PIN</source>
        <translation>PIN entfernen</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>After Save, everyone can change everything.</source>
        <translation>Nach dem Speichern kann jeder alles ändern.</translation>
    </message>
    <message>
        <source>The settings are unlocked. To change the PIN, enter 4 to 8 digits.</source>
        <translation>Das Setup ist entsperrt. Zum Ändern der PIN 4 bis 8 Ziffern eingeben.</translation>
    </message>
    <message>
        <source>The command line sets %1. A restart does not change this.</source>
        <translation>Die Befehlszeile legt %1 fest. Ein Neustart ändert das nicht.</translation>
    </message>
    <message>
        <source>At the next start the command line sets the source again.</source>
        <translation>Beim nächsten Start legt die Befehlszeile die Quelle wieder fest.</translation>
    </message>
</context>
<context>
    <name>console::TWindowSession</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Kept. It applies from the next start of the console on.</source>
        <translation>Gespeichert. Gilt ab dem nächsten Start der Konsole.</translation>
    </message>
    <message>
        <source>Log out before you choose a user level without data exchange.</source>
        <translation>Vor der Wahl einer Benutzerstufe ohne Datenaustausch abmelden.</translation>
    </message>
    <message>
        <source>Kept.</source>
        <translation>Gespeichert.</translation>
    </message>
    <message>
        <source>The plug-in does not take requests; is the service&apos;s address usable?</source>
        <translation>Das Plug-in nimmt keine Aufträge an; stimmt die Adresse des Dienstes?</translation>
    </message>
    <message>
        <source>Plug-in</source>
        <translation>Plug-in</translation>
    </message>
    <message>
        <source>Some changes are not saved. Leave the settings without these changes?</source>
        <translation>Einige Änderungen sind nicht gespeichert. Das Setup ohne diese Änderungen verlassen?</translation>
    </message>
    <message>
        <source>An upload, download or deletion is running. After the restart, log in, select its files and start it again. Restart now?</source>
        <translation>Dateien werden gesendet, heruntergeladen oder gelöscht. Nach dem Neustart anmelden, die Dateien wieder auswählen und noch einmal beginnen. Jetzt neu starten?</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>Über diese Konsole</translation>
    </message>
</context>
</TS>
