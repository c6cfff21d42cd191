<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR" sourcelanguage="en_US">
<context>
    <name>QObject</name>
    <message>
        <source>KELVO Application</source>
        <comment>ToolTip</comment>
        <translation>Application KELVO</translation>
    </message>
</context>
<context>
    <name>TKelvoFileControlWidget</name>
    <message>
        <source>Download started</source>
        <translation>Téléchargement démarré</translation>
    </message>
    <message>
        <source>Upload started</source>
        <translation>Envoi démarré</translation>
    </message>
    <message>
        <source>Delete started</source>
        <translation>Suppression démarrée</translation>
    </message>
    <message>
        <source>Downloading %1</source>
        <translation>Téléchargement de %1</translation>
    </message>
    <message>
        <source>Uploading %1</source>
        <translation>Envoi de %1</translation>
    </message>
    <message>
        <source>Deleting %1</source>
        <translation>Suppression de %1</translation>
    </message>
    <message>
        <source>Download complete.</source>
        <translation>Téléchargement terminé.</translation>
    </message>
    <message>
        <source>A problem occurred with: %1</source>
        <comment>%1 is a filename that failed to download correctly</comment>
        <translation>Un problème est survenu avec : %1</translation>
    </message>
    <message>
        <source>Upload complete.</source>
        <translation>Envoi terminé.</translation>
    </message>
    <message>
        <source>%1 failed to upload.</source>
        <translation>Échec de l&apos;envoi de %1.</translation>
    </message>
    <message>
        <source>Delete complete.</source>
        <translation>Suppression terminée.</translation>
    </message>
    <message>
        <source>%1 failed to delete.</source>
        <translation>Échec de la suppression de %1.</translation>
    </message>
    <message>
        <source>Cancelling file operation ...</source>
        <translation>Annulation de l&apos;opération sur les fichiers ...</translation>
    </message>
    <message>
        <source>Cancelling delete operation ...</source>
        <translation>Annulation de la suppression ...</translation>
    </message>
    <message>
        <source>Prescription Maps</source>
        <translation>Cartes de préconisation</translation>
    </message>
    <message>
        <source>Job Reports</source>
        <translation>Rapports de travail</translation>
    </message>
    <message>
        <source>AB Lines</source>
        <translation>Lignes AB</translation>
    </message>
    <message>
        <source>Curves</source>
        <translation>Courbes</translation>
    </message>
    <message>
        <source>Pivots</source>
        <translation>Pivots</translation>
    </message>
    <message>
        <source>Optimal Lines</source>
        <translation>Lignes optimales</translation>
    </message>
    <message>
        <source>Project Lines</source>
        <translation>Lignes de projet</translation>
    </message>
    <message>
        <source>KELVO</source>
        <translation>KELVO</translation>
    </message>
    <message>
        <source>Files to Upload</source>
        <translation>Fichiers à envoyer</translation>
    </message>
    <message>
        <source>Downloaded Files</source>
        <translation>Fichiers téléchargés</translation>
    </message>
    <message>
        <source>Error </source>
        <translation>Erreur </translation>
    </message>
    <message>
        <source>No files selected</source>
        <translation>Aucun fichier sélectionné</translation>
    </message>
    <message>
        <source>File Transfer</source>
        <translation>Transfert de fichiers</translation>
    </message>
    <message>
        <source>Delete Warning</source>
        <translation>Avertissement de suppression</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the selected files?</source>
        <translation>Voulez-vous vraiment supprimer les fichiers sélectionnés ?</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Supprimer</translation>
    </message>
    <message>
        <source>Category</source>
        <translation>Catégorie</translation>
    </message>
    <message>
        <source>Select the type of items to manage</source>
        <comment>ToolTip</comment>
        <translation>Choisir le type d&apos;éléments à gérer</translation>
    </message>
    <message>
        <source>Download selected files</source>
        <comment>ToolTip</comment>
        <translation>Télécharger les fichiers sélectionnés</translation>
    </message>
    <message>
        <source>Upload selected files</source>
        <comment>ToolTip</comment>
        <translation>Envoyer les fichiers sélectionnés</translation>
    </message>
    <message>
        <source>Delete selected files</source>
        <comment>ToolTip</comment>
        <translation>Supprimer les fichiers sélectionnés</translation>
    </message>
    <message>
        <source>Browse</source>
        <translation>Parcourir</translation>
    </message>
    <message>
        <source>Select the location of files to view</source>
        <comment>ToolTip</comment>
        <translation>Choisir l&apos;emplacement des fichiers à afficher</translation>
    </message>
</context>
<context>
    <name>TKelvoFullView</name>
    <message>
        <source>KELVO File Controller</source>
        <translation>KELVO : gestion des fichiers</translation>
    </message>
</context>
<context>
    <name>TKelvoMiniView</name>
    <message>
        <source>Login to Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Se connecter à Kelvo</translation>
    </message>
    <message>
        <source>Logout of Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Se déconnecter de Kelvo</translation>
    </message>
    <message>
        <source>KELVO Login Error</source>
        <translation>Erreur de connexion à KELVO</translation>
    </message>
    <message>
        <source>Logging out....</source>
        <translation>Déconnexion....</translation>
    </message>
    <message>
        <source>Logging in....</source>
        <translation>Connexion....</translation>
    </message>
    <message>
        <source>Logged in</source>
        <translation>Connecté</translation>
    </message>
    <message>
        <source>Login</source>
        <translation>Connexion</translation>
    </message>
    <message>
        <source>Processing, please wait</source>
        <translation>Veuillez patienter</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>Déconnexion</translation>
    </message>
    <message>
        <source>Unable to login to KELVO.</source>
        <translation>Connexion à KELVO impossible.</translation>
    </message>
    <message>
        <source>Please enter a valid username and password.</source>
        <translation>Veuillez saisir un nom d&apos;utilisateur et un mot de passe valides.</translation>
    </message>
    <message>
        <source>USERNAME</source>
        <translation>NOM D&apos;UTILISATEUR</translation>
    </message>
    <message>
        <source>PASSWORD</source>
        <translation>MOT DE PASSE</translation>
    </message>
    <message>
        <source>STATUS</source>
        <translation>ÉTAT</translation>
    </message>
    <message>
        <source>Login to KELVO</source>
        <comment>ToolTip</comment>
        <translation>Se connecter à KELVO</translation>
    </message>
    <message>
        <source>Configure Kelvo Account</source>
        <translation>Configurer le compte Kelvo</translation>
    </message>
    <message>
        <source>Configuring Kelvo Account</source>
        <translation>Configuration du compte Kelvo</translation>
    </message>
    <message>
        <source>You will be automatically logged out of Kelvo once completed</source>
        <translation>Vous serez ensuite automatiquement déconnecté de Kelvo</translation>
    </message>
    <message>
        <source>Configuration complete</source>
        <translation>Configuration terminée</translation>
    </message>
    <message>
        <source>Configuration complete with errors</source>
        <translation>Configuration terminée avec des erreurs</translation>
    </message>
</context>
<context>
    <name>TKelvoThreadObject</name>
    <message>
        <source>%1 File no longer exists. File index not found.</source>
        <translation>%1 Le fichier n&apos;existe plus. Index du fichier introuvable.</translation>
    </message>
    <message>
        <source>%1 File no longer exists. File Index not found</source>
        <translation>%1 Le fichier n&apos;existe plus. Index du fichier introuvable</translation>
    </message>
    <message>
        <source>File no longer exists.</source>
        <translation>Le fichier n&apos;existe plus.</translation>
    </message>
    <message>
        <source>Failed to unzip file</source>
        <translation>Impossible de décompresser le fichier</translation>
    </message>
    <message>
        <source>All files</source>
        <translation>Tous les fichiers</translation>
    </message>
    <message>
        <source>Creation of user folder &apos;%1&apos; failed</source>
        <translation>La création du dossier utilisateur &apos;%1&apos; a échoué</translation>
    </message>
    <message>
        <source>User folder &apos;%1&apos; created but reported as not found. Log out, re-login and retry uploading files</source>
        <translation>Le dossier utilisateur &apos;%1&apos; a été créé, mais il est introuvable. Déconnectez-vous, reconnectez-vous et renvoyez les fichiers</translation>
    </message>
</context>
</TS>
