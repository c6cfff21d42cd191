<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en_US">
<context>
    <name>GpsSetting</name>
    <message>
        <source>&quot;%1&quot; is no HOST or HOST:PORT.</source>
        <translation>&quot;%1&quot; n&apos;est ni HÔTE ni HÔTE:PORT.</translation>
    </message>
    <message>
        <source>the speed %1 is not from 1 (real time) to %2.</source>
        <translation>la vitesse %1 n&apos;est pas comprise entre 1 (temps réel) et %2.</translation>
    </message>
    <message>
        <source>the log &quot;%1&quot; cannot be read.</source>
        <translation>le journal &quot;%1&quot; est illisible.</translation>
    </message>
    <message>
        <source>serial wants a DEVICE.</source>
        <translation>serial exige un APPAREIL.</translation>
    </message>
    <message>
        <source>%1 is no baud rate; there are %2.</source>
        <translation>%1 n&apos;est pas un débit en bauds ; possibles&#xa0;: %2.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is none of gpsd[:HOST[:PORT]], nmea:FILE[@SPEED], serial:DEVICE[@BAUD].</source>
        <translation>&quot;%1&quot; n&apos;est ni gpsd[:HÔTE[:PORT]], ni nmea:FICHIER[@VITESSE], ni serial:APPAREIL[@BAUD].</translation>
    </message>
</context>
<context>
    <name>Home</name>
    <message>
        <source>On KELVO: logged out</source>
        <translation>Sur KELVO&#xa0;: déconnecté</translation>
    </message>
    <message>
        <source>On KELVO: not listed yet</source>
        <translation>Sur KELVO&#xa0;: pas encore listé</translation>
    </message>
    <message>
        <source>On KELVO at %1: %2</source>
        <translation>Sur KELVO à %1&#xa0;: %2</translation>
    </message>
    <message>
        <source>On KELVO: %1</source>
        <translation>Sur KELVO&#xa0;: %1</translation>
    </message>
    <message>
        <source>Downloaded: %1</source>
        <translation>Téléchargés&#xa0;: %1</translation>
    </message>
    <message>
        <source>Downloaded: not readable</source>
        <translation>Téléchargés&#xa0;: illisible</translation>
    </message>
    <message>
        <source>To send: %1</source>
        <translation>À envoyer&#xa0;: %1</translation>
    </message>
    <message>
        <source>To send: not readable</source>
        <translation>À envoyer&#xa0;: illisible</translation>
    </message>
    <message>
        <source>On the console: not counted</source>
        <translation>Sur la console&#xa0;: non compté</translation>
    </message>
    <message>
        <source>Last contact: %1</source>
        <translation>Dernier contact&#xa0;: %1</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Connexion</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Stockage</translation>
    </message>
    <message>
        <source>Free: %1</source>
        <translation>Libre&#xa0;: %1</translation>
    </message>
    <message>
        <source>Free: not known</source>
        <translation>Libre&#xa0;: inconnu</translation>
    </message>
    <message>
        <source>Position</source>
        <translation>Position</translation>
    </message>
    <message>
        <source>Satellites: %1</source>
        <translation>Satellites&#xa0;: %1</translation>
    </message>
    <message>
        <source>Speed: %1 km/h</source>
        <translation>Vitesse&#xa0;: %1 km/h</translation>
    </message>
    <message>
        <source>Heading: %1°</source>
        <translation>Cap&#xa0;: %1°</translation>
    </message>
    <message numerus="yes">
        <source>%Ln new</source>
        <translation>
            <numerusform>%Ln nouveau</numerusform>
            <numerusform>%Ln nouveaux</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>PluginHost</name>
    <message>
        <source>The hub has no signal %1.</source>
        <translation>Le signal %1 manque au hub.</translation>
    </message>
    <message>
        <source>There is no plug-in %1.</source>
        <translation>Il n&apos;y a pas de plug-in %1.</translation>
    </message>
    <message>
        <source>The plug-in %1 cannot be loaded: %2</source>
        <translation>Impossible de charger le plug-in %1&#xa0;: %2</translation>
    </message>
    <message>
        <source>The plug-in %1 lacks the entry point %2.</source>
        <translation>Le point d&apos;entrée %2 manque au plug-in %1.</translation>
    </message>
    <message>
        <source>The plug-in&apos;s start failed</source>
        <translation>Échec du démarrage du plug-in</translation>
    </message>
    <message>
        <source>The plug-in started, but offers no hub.</source>
        <translation>Le plug-in a démarré, mais n&apos;offre pas de hub.</translation>
    </message>
    <message>
        <source>The plug-in offers no root object, so it has no screens.</source>
        <translation>Le plug-in n&apos;offre pas d&apos;objet racine, donc pas d&apos;écrans.</translation>
    </message>
    <message>
        <source>The plug-in could not build its screens</source>
        <translation>Le plug-in n&apos;a pas pu créer ses écrans</translation>
    </message>
</context>
<context>
    <name>QIODevice</name>
    <message>
        <source>Permission denied</source>
        <translation>Accès refusé</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>Plus d’espace disponible</translation>
    </message>
</context>
<context>
    <name>QLibrary</name>
    <message>
        <source>Cannot load library %1: %2</source>
        <translation>Impossible de charger la bibliothèque %1&#xa0;: %2</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Annuler</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Rétablir</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>Co&amp;uper</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Copier</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>C&amp;oller</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Tout sélectionner</translation>
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
        <translation>Aucune source de position</translation>
    </message>
    <message>
        <source>Waiting for a receiver</source>
        <translation>Attente du récepteur</translation>
    </message>
    <message>
        <source>No position</source>
        <translation>Pas de position</translation>
    </message>
    <message>
        <source>The position log has ended</source>
        <translation>Fin du journal de positions</translation>
    </message>
    <message>
        <source>no fix</source>
        <translation>pas de fix</translation>
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
        <translation>RTK flottant</translation>
    </message>
    <message>
        <source>estimated</source>
        <translation>estimée</translation>
    </message>
    <message>
        <source>manual</source>
        <translation>manuelle</translation>
    </message>
    <message>
        <source>simulated</source>
        <translation>simulée</translation>
    </message>
    <message>
        <source>No connection</source>
        <translation>Pas de connexion</translation>
    </message>
    <message>
        <source>Logged out</source>
        <translation>Déconnecté</translation>
    </message>
    <message>
        <source>Connecting...</source>
        <translation>Connexion...</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>Connecté</translation>
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
        <translation>Position perdue depuis %1</translation>
    </message>
    <message>
        <source>No network</source>
        <translation>Pas de réseau</translation>
    </message>
    <message>
        <source>Service does not answer</source>
        <translation>Le service ne répond pas</translation>
    </message>
    <message>
        <source>Network wants a login</source>
        <translation>Réseau à connexion requise</translation>
    </message>
    <message>
        <source>Clock is wrong</source>
        <translation>Horloge fausse</translation>
    </message>
    <message>
        <source>Service not trusted</source>
        <translation>Service non fiable</translation>
    </message>
    <message>
        <source>since %1</source>
        <translation>depuis %1</translation>
    </message>
    <message>
        <source>at %1</source>
        <translation>à %1</translation>
    </message>
</context>
<context>
    <name>StoredSettings</name>
    <message>
        <source>The service&apos;s certificate %1 cannot be read.</source>
        <translation>Le certificat %1 du service est illisible.</translation>
    </message>
    <message>
        <source>Position source: </source>
        <translation>Source de position&#xa0;: </translation>
    </message>
    <message>
        <source>The data folder %1 cannot be written to.</source>
        <translation>Impossible d&apos;écrire dans le dossier de données %1.</translation>
    </message>
    <message>
        <source>The service wants HOST or HOST:PORT.</source>
        <translation>Le service exige HÔTE ou HÔTE:PORT.</translation>
    </message>
    <message>
        <source>The PIN wants 4 to 8 digits.</source>
        <translation>Le code PIN doit avoir de 4 à 8 chiffres.</translation>
    </message>
    <message>
        <source>The settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>Les réglages n’ont pas pu être enregistrés&#xa0;: %1. Ils seront perdus à l’arrêt de la console.</translation>
    </message>
    <message>
        <source>Changes of the user name, the password or the settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>Les modifications du nom d’utilisateur, du mot de passe ou des réglages n’ont pas pu être enregistrées&#xa0;: %1. Elles seront perdues à l’arrêt de la console.</translation>
    </message>
    <message>
        <source>The data folder could not be stored: %1 cannot be written.</source>
        <translation>Le dossier de données n’a pas pu être enregistré&#xa0;: impossible d’écrire %1.</translation>
    </message>
    <message>
        <source>there is no space left</source>
        <translation>il n&apos;y a plus de place</translation>
    </message>
    <message>
        <source>the storage is read-only</source>
        <translation>le stockage est en lecture seule</translation>
    </message>
    <message>
        <source>the storage has a fault</source>
        <translation>le stockage a un défaut</translation>
    </message>
    <message>
        <source>the console may not write them</source>
        <translation>la console n&apos;a pas le droit de les écrire</translation>
    </message>
    <message>
        <source>their folder is missing</source>
        <translation>leur dossier manque</translation>
    </message>
    <message>
        <source>the password cannot be encrypted</source>
        <translation>le mot de passe ne peut pas être chiffré</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>erreur %1</translation>
    </message>
</context>
<context>
    <name>TChoicePopup</name>
    <message>
        <source>Back</source>
        <translation>Retour</translation>
    </message>
</context>
<context>
    <name>TListWidget</name>
    <message>
        <source>Search names</source>
        <translation>Chercher un nom</translation>
    </message>
    <message>
        <source>%1 of %2 selected</source>
        <translation>%1 sur %2 choisis</translation>
    </message>
    <message>
        <source>%1 found: %2</source>
        <translation>Trouvés&#xa0;: %1 (%2)</translation>
    </message>
    <message>
        <source>%1 hidden</source>
        <translation>Cachés&#xa0;: %1</translation>
    </message>
    <message>
        <source>Left out, because the search hides them: %1</source>
        <translation>Laissés de côté, car la recherche les cache&#xa0;: %1</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Aucun</translation>
    </message>
    <message>
        <source>All</source>
        <translation>Tous</translation>
    </message>
    <message>
        <source>Select no name</source>
        <translation>Ne choisir aucun nom</translation>
    </message>
    <message>
        <source>Select all shown names</source>
        <translation>Choisir tous les noms affichés</translation>
    </message>
    <message>
        <source>Show all names again</source>
        <translation>Afficher de nouveau tous les noms</translation>
    </message>
    <message>
        <source>Show only names with a text</source>
        <translation>N&apos;afficher que les noms avec un texte</translation>
    </message>
    <message>
        <source>There is nothing here.</source>
        <translation>Il n&apos;y a rien ici.</translation>
    </message>
    <message>
        <source>There is nothing here.
Log in to see the service&apos;s files.</source>
        <translation>Il n&apos;y a rien ici.
Connectez-vous pour voir les fichiers du service.</translation>
    </message>
    <message>
        <source>There is nothing here yet.
The service has not listed its files yet.</source>
        <translation>Il n&apos;y a encore rien ici.
Le service n&apos;a pas encore listé ses fichiers.</translation>
    </message>
    <message>
        <source>No name has the text &quot;%1&quot;.</source>
        <translation>Aucun nom ne contient le texte &quot;%1&quot;.</translation>
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
        <translation>Fermer</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Oui</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Non</translation>
    </message>
</context>
<context>
    <name>TProgressBar</name>
    <message>
        <source>%1 %</source>
        <translation>%1&#xa0;%</translation>
    </message>
</context>
<context>
    <name>TProgressDialog</name>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
</context>
<context>
    <name>TPropertyWidget</name>
    <message>
        <source>Show the text</source>
        <translation>Afficher le texte</translation>
    </message>
    <message>
        <source>Hide the text</source>
        <translation>Masquer le texte</translation>
    </message>
    <message>
        <source>Clear the text</source>
        <translation>Effacer le texte</translation>
    </message>
</context>
<context>
    <name>Transfer</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 sur %2</translation>
    </message>
    <message>
        <source>%1 s left</source>
        <translation>encore %1 s</translation>
    </message>
    <message>
        <source>%1 min left</source>
        <translation>encore %1 min</translation>
    </message>
    <message>
        <source>%1 h left</source>
        <translation>encore %1 h</translation>
    </message>
    <message>
        <source>file %1 of %2</source>
        <translation>fichier %1 sur %2</translation>
    </message>
    <message>
        <source>Nothing moves</source>
        <translation>Rien ne passe</translation>
    </message>
    <message>
        <source>%1. Waiting until %2.</source>
        <translation>%1. Attente jusqu&apos;à %2.</translation>
    </message>
    <message>
        <source>Checking the file...</source>
        <translation>Vérification du fichier...</translation>
    </message>
    <message>
        <source>Unpacking...</source>
        <translation>Décompression...</translation>
    </message>
    <message>
        <source>Unpacking %1...</source>
        <translation>Décompression de %1...</translation>
    </message>
    <message>
        <source>ends after this file</source>
        <translation>fin après ce fichier</translation>
    </message>
    <message>
        <source>Ended after %1 of %2 files.</source>
        <translation>Arrêté après %1 fichiers sur %2.</translation>
    </message>
    <message>
        <source>The disk is too full to unpack: %1</source>
        <translation>Pas assez de place pour décompresser&#xa0;: %1</translation>
    </message>
    <message>
        <source>ends when all are unpacked</source>
        <translation>fin quand tout est décompressé</translation>
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
        <translation>jusqu&apos;à %1</translation>
    </message>
</context>
<context>
    <name>console::TAboutPage</name>
    <message>
        <source>Versions</source>
        <translation>Versions</translation>
    </message>
    <message>
        <source>Console: %1</source>
        <translation>Console&#xa0;: %1</translation>
    </message>
    <message>
        <source>System: %1, Linux %2</source>
        <translation>Système&#xa0;: %1, Linux %2</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Stockage</translation>
    </message>
    <message>
        <source>Data folder: %1</source>
        <translation>Dossier de données&#xa0;: %1</translation>
    </message>
    <message>
        <source>Free: %1 of %2</source>
        <translation>Libre&#xa0;: %1 sur %2</translation>
    </message>
    <message>
        <source>Last lines of the log</source>
        <translation>Dernières lignes du journal</translation>
    </message>
    <message>
        <source>The log is empty.</source>
        <translation>Le journal est vide.</translation>
    </message>
    <message>
        <source>Licences</source>
        <translation>Licences</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fermer</translation>
    </message>
    <message>
        <source>Back to the settings</source>
        <translation>Retour aux réglages</translation>
    </message>
</context>
<context>
    <name>console::TLauncherBar</name>
    <message>
        <source>Home</source>
        <translation>Accueil</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Réglages</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Nuit</translation>
    </message>
    <message>
        <source>The overview</source>
        <translation>La vue d’ensemble</translation>
    </message>
    <message>
        <source>Set up the console</source>
        <translation>Régler la console</translation>
    </message>
    <message>
        <source>Colours for day or night</source>
        <translation>Couleurs de jour ou de nuit</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Jour</translation>
    </message>
</context>
<context>
    <name>console::TLinkBanner</name>
    <message>
        <source>The connection to the service has ended. Log in again to go on.</source>
        <translation>La connexion au service a pris fin. Reconnectez-vous pour continuer.</translation>
    </message>
    <message>
        <source>The login has failed.</source>
        <translation>La connexion a échoué.</translation>
    </message>
</context>
<context>
    <name>console::TMainWindow</name>
    <message>
        <source>Ending...</source>
        <translation>Arrêt en cours...</translation>
    </message>
</context>
<context>
    <name>console::TPluginScreens</name>
    <message>
        <source>unknown</source>
        <translation>inconnue</translation>
    </message>
    <message>
        <source>A screen of the plug-in could not be set up: %1</source>
        <translation>Impossible de préparer un écran du plug-in&#xa0;: %1</translation>
    </message>
</context>
<context>
    <name>console::TSettingsPage</name>
    <message>
        <source>Service</source>
        <translation>Service</translation>
    </message>
    <message>
        <source>Host and port; empty for the usual one</source>
        <translation>Hôte et port&#xa0;; vide pour celui par défaut</translation>
    </message>
    <message>
        <source>Service&apos;s certificate</source>
        <translation>Certificat du service</translation>
    </message>
    <message>
        <source>A file with the authority to trust besides the system&apos;s</source>
        <translation>Fichier de l&apos;autorité à approuver en plus de celles du système</translation>
    </message>
    <message>
        <source>Position source</source>
        <translation>Source de position</translation>
    </message>
    <message>
        <source>gpsd:HOST:PORT, serial:DEVICE@BAUD or nmea:FILE; empty for none</source>
        <translation>gpsd:HÔTE:PORT, serial:APPAREIL@BAUD ou nmea:FICHIER&#xa0;; vide pour aucune</translation>
    </message>
    <message>
        <source>Data folder</source>
        <translation>Dossier de données</translation>
    </message>
    <message>
        <source>Folder of the received files</source>
        <translation>Où tout ce qui est reçu est conservé</translation>
    </message>
    <message>
        <source>Colours</source>
        <translation>Couleurs</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Jour</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Nuit</translation>
    </message>
    <message>
        <source>User level</source>
        <translation>Niveau d&apos;utilisateur</translation>
    </message>
    <message>
        <source>Driver: no data exchange</source>
        <translation>Conducteur&#xa0;: sans échange</translation>
    </message>
    <message>
        <source>Operator: everything</source>
        <translation>Opérateur&#xa0;: tout</translation>
    </message>
    <message>
        <source>Screen</source>
        <translation>Écran</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Fenêtre</translation>
    </message>
    <message>
        <source>Full screen</source>
        <translation>Plein écran</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Enregistrer</translation>
    </message>
    <message>
        <source>Keep what is shown</source>
        <translation>Conserver ce qui est affiché</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Annuler</translation>
    </message>
    <message>
        <source>Show what was kept</source>
        <translation>Afficher ce qui a été enregistré</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Langue</translation>
    </message>
    <message>
        <source>The usual one</source>
        <translation>Le serveur habituel</translation>
    </message>
    <message>
        <source>Only the system&apos;s</source>
        <translation>Ceux du système</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Aucune</translation>
    </message>
    <message>
        <source>In use: %1</source>
        <translation>Utilisé&#xa0;: %1</translation>
    </message>
    <message>
        <source>Receiver</source>
        <translation>Récepteur</translation>
    </message>
    <message>
        <source>gpsd on this console</source>
        <translation>gpsd sur cette console</translation>
    </message>
    <message>
        <source>Another, as entered below</source>
        <translation>Autre, comme saisi ci-dessous</translation>
    </message>
    <message>
        <source>There is no %1 now.</source>
        <translation>%1 n&apos;existe pas en ce moment.</translation>
    </message>
    <message>
        <source>Text size</source>
        <translation>Taille du texte</translation>
    </message>
    <message>
        <source>Normal</source>
        <translation>Normale</translation>
    </message>
    <message>
        <source>Large</source>
        <translation>Grande</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>À propos de cette console</translation>
    </message>
    <message>
        <source>Versions, free space, log and licences</source>
        <translation>Versions, place libre, journal et licences</translation>
    </message>
    <message>
        <source>Restart now</source>
        <translation>Redémarrer</translation>
    </message>
    <message>
        <source>Start the console anew with what was kept</source>
        <translation>Redémarrer la console avec ce qui a été enregistré</translation>
    </message>
    <message>
        <source>Installer&apos;s PIN</source>
        <translation>Code PIN de l&apos;installateur</translation>
    </message>
    <message>
        <source>Enter the PIN to change what is off.</source>
        <translation>Saisir le code PIN pour modifier ce qui est verrouillé.</translation>
    </message>
    <message>
        <source>4 to 8 digits. Without a PIN, everyone can change everything.</source>
        <translation>4 à 8 chiffres. Sans code PIN, tout le monde peut tout modifier.</translation>
    </message>
    <message>
        <source>The PIN is wrong.</source>
        <translation>Le code PIN est faux.</translation>
    </message>
    <message>
        <source>New installer&apos;s PIN</source>
        <translation>Nouveau code PIN de l&apos;installateur</translation>
    </message>
    <message>
        <source>Unchanged</source>
        <translation>Inchangé</translation>
    </message>
    <message>
        <source>Remove the PIN</source>
        <translation>Supprimer le code PIN</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Non</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Oui</translation>
    </message>
    <message>
        <source>After Save, everyone can change everything.</source>
        <translation>Après l&apos;enregistrement, tout le monde peut tout modifier.</translation>
    </message>
    <message>
        <source>The settings are unlocked. To change the PIN, enter 4 to 8 digits.</source>
        <translation>Les réglages sont déverrouillés. Pour changer le code PIN, saisir 4 à 8 chiffres.</translation>
    </message>
    <message>
        <source>The command line sets %1. A restart does not change this.</source>
        <translation>La ligne de commande impose %1. Un redémarrage n’y change rien.</translation>
    </message>
    <message>
        <source>At the next start the command line sets the source again.</source>
        <translation>Au prochain démarrage, la ligne de commande impose à nouveau la source.</translation>
    </message>
</context>
<context>
    <name>console::TWindowSession</name>
    <message>
        <source>Settings</source>
        <translation>Réglages</translation>
    </message>
    <message>
        <source>Kept. It applies from the next start of the console on.</source>
        <translation>Enregistré. Valable au prochain démarrage de la console.</translation>
    </message>
    <message>
        <source>Log out before you choose a user level without data exchange.</source>
        <translation>Se déconnecter avant de choisir un niveau d&apos;utilisateur sans échange de données.</translation>
    </message>
    <message>
        <source>Kept.</source>
        <translation>Enregistré.</translation>
    </message>
    <message>
        <source>The plug-in does not take requests; is the service&apos;s address usable?</source>
        <translation>Le plug-in n&apos;accepte pas de demandes&#xa0;; l&apos;adresse du service est-elle correcte&#xa0;?</translation>
    </message>
    <message>
        <source>Plug-in</source>
        <translation>Plug-in</translation>
    </message>
    <message>
        <source>Some changes are not saved. Leave the settings without these changes?</source>
        <translation>Des modifications ne sont pas enregistrées. Quitter les réglages sans ces modifications&#xa0;?</translation>
    </message>
    <message>
        <source>An upload, download or deletion is running. After the restart, log in, select its files and start it again. Restart now?</source>
        <translation>Un envoi, un téléchargement ou une suppression est en cours. Après le redémarrage, se connecter, sélectionner les fichiers et recommencer. Redémarrer maintenant&#xa0;?</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>À propos de cette console</translation>
    </message>
</context>
</TS>
