<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES" sourcelanguage="en_US">
<context>
    <name>QObject</name>
    <message>
        <source>KELVO Application</source>
        <comment>ToolTip</comment>
        <translation>Aplicación KELVO</translation>
    </message>
</context>
<context>
    <name>TKelvoFileControlWidget</name>
    <message>
        <source>Download started</source>
        <translation>Descarga iniciada</translation>
    </message>
    <message>
        <source>Upload started</source>
        <translation>Envío iniciado</translation>
    </message>
    <message>
        <source>Delete started</source>
        <translation>Eliminación iniciada</translation>
    </message>
    <message>
        <source>Downloading %1</source>
        <translation>Descargando %1</translation>
    </message>
    <message>
        <source>Uploading %1</source>
        <translation>Enviando %1</translation>
    </message>
    <message>
        <source>Deleting %1</source>
        <translation>Eliminando %1</translation>
    </message>
    <message>
        <source>Download complete.</source>
        <translation>Descarga completada.</translation>
    </message>
    <message>
        <source>A problem occurred with: %1</source>
        <comment>%1 is a filename that failed to download correctly</comment>
        <translation>Se produjo un problema con: %1</translation>
    </message>
    <message>
        <source>Upload complete.</source>
        <translation>Envío completado.</translation>
    </message>
    <message>
        <source>%1 failed to upload.</source>
        <translation>No se pudo enviar %1.</translation>
    </message>
    <message>
        <source>Delete complete.</source>
        <translation>Eliminación completada.</translation>
    </message>
    <message>
        <source>%1 failed to delete.</source>
        <translation>No se pudo eliminar %1.</translation>
    </message>
    <message>
        <source>Cancelling file operation ...</source>
        <translation>Cancelando la operación de archivos ...</translation>
    </message>
    <message>
        <source>Cancelling delete operation ...</source>
        <translation>Cancelando la eliminación ...</translation>
    </message>
    <message>
        <source>Prescription Maps</source>
        <translation>Mapas de prescripción</translation>
    </message>
    <message>
        <source>Job Reports</source>
        <translation>Informes de trabajo</translation>
    </message>
    <message>
        <source>AB Lines</source>
        <translation>Líneas AB</translation>
    </message>
    <message>
        <source>Curves</source>
        <translation>Curvas</translation>
    </message>
    <message>
        <source>Pivots</source>
        <translation>Pivotes</translation>
    </message>
    <message>
        <source>Optimal Lines</source>
        <translation>Líneas óptimas</translation>
    </message>
    <message>
        <source>Project Lines</source>
        <translation>Líneas de proyecto</translation>
    </message>
    <message>
        <source>KELVO</source>
        <translation>KELVO</translation>
    </message>
    <message>
        <source>Files to Upload</source>
        <translation>Archivos por enviar</translation>
    </message>
    <message>
        <source>Downloaded Files</source>
        <translation>Archivos descargados</translation>
    </message>
    <message>
        <source>Error </source>
        <translation>Error </translation>
    </message>
    <message>
        <source>No files selected</source>
        <translation>No hay archivos seleccionados</translation>
    </message>
    <message>
        <source>File Transfer</source>
        <translation>Transferencia de archivos</translation>
    </message>
    <message>
        <source>Delete Warning</source>
        <translation>Aviso de eliminación</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the selected files?</source>
        <translation>¿Seguro que desea eliminar los archivos seleccionados?</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>Category</source>
        <translation>Categoría</translation>
    </message>
    <message>
        <source>Select the type of items to manage</source>
        <comment>ToolTip</comment>
        <translation>Seleccionar el tipo de elementos que se gestionan</translation>
    </message>
    <message>
        <source>Download selected files</source>
        <comment>ToolTip</comment>
        <translation>Descargar los archivos seleccionados</translation>
    </message>
    <message>
        <source>Upload selected files</source>
        <comment>ToolTip</comment>
        <translation>Enviar los archivos seleccionados</translation>
    </message>
    <message>
        <source>Delete selected files</source>
        <comment>ToolTip</comment>
        <translation>Eliminar los archivos seleccionados</translation>
    </message>
    <message>
        <source>Browse</source>
        <translation>Examinar</translation>
    </message>
    <message>
        <source>Select the location of files to view</source>
        <comment>ToolTip</comment>
        <translation>Seleccionar la ubicación de los archivos que se muestran</translation>
    </message>
</context>
<context>
    <name>TKelvoFullView</name>
    <message>
        <source>KELVO File Controller</source>
        <translation>KELVO: gestión de archivos</translation>
    </message>
</context>
<context>
    <name>TKelvoMiniView</name>
    <message>
        <source>Login to Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Iniciar sesión en Kelvo</translation>
    </message>
    <message>
        <source>Logout of Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Cerrar la sesión de Kelvo</translation>
    </message>
    <message>
        <source>KELVO Login Error</source>
        <translation>Error de inicio de sesión en KELVO</translation>
    </message>
    <message>
        <source>Logging out....</source>
        <translation>Cerrando sesión....</translation>
    </message>
    <message>
        <source>Logging in....</source>
        <translation>Iniciando sesión....</translation>
    </message>
    <message>
        <source>Logged in</source>
        <translation>Sesión iniciada</translation>
    </message>
    <message>
        <source>Login</source>
        <translation>Iniciar sesión</translation>
    </message>
    <message>
        <source>Processing, please wait</source>
        <translation>Procesando, espere</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>Cerrar sesión</translation>
    </message>
    <message>
        <source>Unable to login to KELVO.</source>
        <translation>No se pudo iniciar sesión en KELVO.</translation>
    </message>
    <message>
        <source>Please enter a valid username and password.</source>
        <translation>Introduzca un nombre de usuario y una contraseña válidos.</translation>
    </message>
    <message>
        <source>USERNAME</source>
        <translation>USUARIO</translation>
    </message>
    <message>
        <source>PASSWORD</source>
        <translation>CONTRASEÑA</translation>
    </message>
    <message>
        <source>STATUS</source>
        <translation>ESTADO</translation>
    </message>
    <message>
        <source>Login to KELVO</source>
        <comment>ToolTip</comment>
        <translation>Iniciar sesión en KELVO</translation>
    </message>
    <message>
        <source>Configure Kelvo Account</source>
        <translation>Configurar la cuenta de Kelvo</translation>
    </message>
    <message>
        <source>Configuring Kelvo Account</source>
        <translation>Configurando la cuenta de Kelvo</translation>
    </message>
    <message>
        <source>You will be automatically logged out of Kelvo once completed</source>
        <translation>Al terminar se cerrará automáticamente la sesión de Kelvo</translation>
    </message>
    <message>
        <source>Configuration complete</source>
        <translation>Configuración completada</translation>
    </message>
    <message>
        <source>Configuration complete with errors</source>
        <translation>Configuración completada con errores</translation>
    </message>
</context>
<context>
    <name>TKelvoThreadObject</name>
    <message>
        <source>%1 File no longer exists. File index not found.</source>
        <translation>%1 El archivo ya no existe. No se encontró el índice del archivo.</translation>
    </message>
    <message>
        <source>%1 File no longer exists. File Index not found</source>
        <translation>%1 El archivo ya no existe. No se encontró el índice del archivo</translation>
    </message>
    <message>
        <source>File no longer exists.</source>
        <translation>El archivo ya no existe.</translation>
    </message>
    <message>
        <source>Failed to unzip file</source>
        <translation>No se pudo descomprimir el archivo</translation>
    </message>
    <message>
        <source>All files</source>
        <translation>Todos los archivos</translation>
    </message>
    <message>
        <source>Creation of user folder &apos;%1&apos; failed</source>
        <translation>No se pudo crear la carpeta de usuario &apos;%1&apos;</translation>
    </message>
    <message>
        <source>User folder &apos;%1&apos; created but reported as not found. Log out, re-login and retry uploading files</source>
        <translation>Se creó la carpeta de usuario &apos;%1&apos;, pero no se encuentra. Cierre la sesión, iníciela de nuevo y vuelva a enviar los archivos</translation>
    </message>
</context>
</TS>
