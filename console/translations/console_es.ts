<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES" sourcelanguage="en_US">
<context>
    <name>GpsSetting</name>
    <message>
        <source>&quot;%1&quot; is no HOST or HOST:PORT.</source>
        <translation>&quot;%1&quot; no es HOST ni HOST:PUERTO.</translation>
    </message>
    <message>
        <source>the speed %1 is not from 1 (real time) to %2.</source>
        <translation>la velocidad %1 no está entre 1 (tiempo real) y %2.</translation>
    </message>
    <message>
        <source>the log &quot;%1&quot; cannot be read.</source>
        <translation>el registro &quot;%1&quot; no se puede leer.</translation>
    </message>
    <message>
        <source>serial wants a DEVICE.</source>
        <translation>serial requiere un DISPOSITIVO.</translation>
    </message>
    <message>
        <source>%1 is no baud rate; there are %2.</source>
        <translation>%1 no es una velocidad en baudios; las posibles son %2.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is none of gpsd[:HOST[:PORT]], nmea:FILE[@SPEED], serial:DEVICE[@BAUD].</source>
        <translation>&quot;%1&quot; no es gpsd[:HOST[:PUERTO]], nmea:ARCHIVO[@VELOCIDAD] ni serial:DISPOSITIVO[@BAUD].</translation>
    </message>
</context>
<context>
    <name>Home</name>
    <message>
        <source>On KELVO: logged out</source>
        <translation>En KELVO: sesión cerrada</translation>
    </message>
    <message>
        <source>On KELVO: not listed yet</source>
        <translation>En KELVO: aún sin lista</translation>
    </message>
    <message>
        <source>On KELVO at %1: %2</source>
        <translation>En KELVO a las %1: %2</translation>
    </message>
    <message>
        <source>On KELVO: %1</source>
        <translation>En KELVO: %1</translation>
    </message>
    <message>
        <source>Downloaded: %1</source>
        <translation>Descargados: %1</translation>
    </message>
    <message>
        <source>Downloaded: not readable</source>
        <translation>Descargados: ilegible</translation>
    </message>
    <message>
        <source>To send: %1</source>
        <translation>Por enviar: %1</translation>
    </message>
    <message>
        <source>To send: not readable</source>
        <translation>Por enviar: ilegible</translation>
    </message>
    <message>
        <source>On the console: not counted</source>
        <translation>En la consola: sin contar</translation>
    </message>
    <message>
        <source>Last contact: %1</source>
        <translation>Último contacto: %1</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Conexión</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Almacenamiento</translation>
    </message>
    <message>
        <source>Free: %1</source>
        <translation>Libre: %1</translation>
    </message>
    <message>
        <source>Free: not known</source>
        <translation>Libre: no se sabe</translation>
    </message>
    <message>
        <source>Position</source>
        <translation>Posición</translation>
    </message>
    <message>
        <source>Satellites: %1</source>
        <translation>Satélites: %1</translation>
    </message>
    <message>
        <source>Speed: %1 km/h</source>
        <translation>Velocidad: %1 km/h</translation>
    </message>
    <message>
        <source>Heading: %1°</source>
        <translation>Rumbo: %1°</translation>
    </message>
    <message numerus="yes">
        <source>%Ln new</source>
        <translation>
            <numerusform>%Ln nuevo</numerusform>
            <numerusform>%Ln nuevos</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>PluginHost</name>
    <message>
        <source>The hub has no signal %1.</source>
        <translation>Al hub le falta la señal %1.</translation>
    </message>
    <message>
        <source>There is no plug-in %1.</source>
        <translation>No existe el complemento %1.</translation>
    </message>
    <message>
        <source>The plug-in %1 cannot be loaded: %2</source>
        <translation>No se puede cargar el complemento %1: %2</translation>
    </message>
    <message>
        <source>The plug-in %1 lacks the entry point %2.</source>
        <translation>Al complemento %1 le falta el punto de entrada %2.</translation>
    </message>
    <message>
        <source>The plug-in&apos;s start failed</source>
        <translation>No se pudo iniciar el complemento</translation>
    </message>
    <message>
        <source>The plug-in started, but offers no hub.</source>
        <translation>El complemento se inició, pero no ofrece ningún hub.</translation>
    </message>
    <message>
        <source>The plug-in offers no root object, so it has no screens.</source>
        <translation>El complemento no ofrece objeto raíz, por lo que no tiene pantallas.</translation>
    </message>
    <message>
        <source>The plug-in could not build its screens</source>
        <translation>El complemento no pudo crear sus pantallas</translation>
    </message>
</context>
<context>
    <name>QIODevice</name>
    <message>
        <source>Permission denied</source>
        <translation>Permiso denegado</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>No queda espacio</translation>
    </message>
</context>
<context>
    <name>QLibrary</name>
    <message>
        <source>Cannot load library %1: %2</source>
        <translation>No se puede cargar la biblioteca %1: %2</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Deshacer</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Rehacer</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>Cor&amp;tar</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Copiar</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>&amp;Pegar</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Seleccionar todo</translation>
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
        <translation>Sin fuente de posición</translation>
    </message>
    <message>
        <source>Waiting for a receiver</source>
        <translation>Esperando receptor</translation>
    </message>
    <message>
        <source>No position</source>
        <translation>Sin posición</translation>
    </message>
    <message>
        <source>The position log has ended</source>
        <translation>Fin del registro de posiciones</translation>
    </message>
    <message>
        <source>no fix</source>
        <translation>sin fijación</translation>
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
        <translation>RTK flotante</translation>
    </message>
    <message>
        <source>estimated</source>
        <translation>estimada</translation>
    </message>
    <message>
        <source>manual</source>
        <translation>manual</translation>
    </message>
    <message>
        <source>simulated</source>
        <translation>simulada</translation>
    </message>
    <message>
        <source>No connection</source>
        <translation>Sin conexión</translation>
    </message>
    <message>
        <source>Logged out</source>
        <translation>Sesión cerrada</translation>
    </message>
    <message>
        <source>Connecting...</source>
        <translation>Conectando...</translation>
    </message>
    <message>
        <source>Connected</source>
        <translation>Conectado</translation>
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
        <translation>Posición perdida hace %1</translation>
    </message>
    <message>
        <source>No network</source>
        <translation>Sin red</translation>
    </message>
    <message>
        <source>Service does not answer</source>
        <translation>El servicio no responde</translation>
    </message>
    <message>
        <source>Network wants a login</source>
        <translation>La red pide iniciar sesión</translation>
    </message>
    <message>
        <source>Clock is wrong</source>
        <translation>Reloj incorrecto</translation>
    </message>
    <message>
        <source>Service not trusted</source>
        <translation>Servicio no fiable</translation>
    </message>
    <message>
        <source>since %1</source>
        <translation>desde %1</translation>
    </message>
    <message>
        <source>at %1</source>
        <translation>a las %1</translation>
    </message>
</context>
<context>
    <name>StoredSettings</name>
    <message>
        <source>The service&apos;s certificate %1 cannot be read.</source>
        <translation>El certificado %1 del servicio no se puede leer.</translation>
    </message>
    <message>
        <source>Position source: </source>
        <translation>Fuente de posición: </translation>
    </message>
    <message>
        <source>The data folder %1 cannot be written to.</source>
        <translation>No se puede escribir en la carpeta de datos %1.</translation>
    </message>
    <message>
        <source>The service wants HOST or HOST:PORT.</source>
        <translation>El servicio requiere HOST o HOST:PUERTO.</translation>
    </message>
    <message>
        <source>The PIN wants 4 to 8 digits.</source>
        <translation>El PIN debe tener de 4 a 8 cifras.</translation>
    </message>
    <message>
        <source>The settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>No se pudieron guardar los ajustes: %1. Se perderán cuando termine la consola.</translation>
    </message>
    <message>
        <source>Changes of the user name, the password or the settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>No se pudieron guardar los cambios del nombre de usuario, la contraseña o los ajustes: %1. Se perderán cuando termine la consola.</translation>
    </message>
    <message>
        <source>The data folder could not be stored: %1 cannot be written.</source>
        <translation>No se pudo guardar la carpeta de datos: no se puede escribir %1.</translation>
    </message>
    <message>
        <source>there is no space left</source>
        <translation>no queda espacio</translation>
    </message>
    <message>
        <source>the storage is read-only</source>
        <translation>el almacenamiento es de solo lectura</translation>
    </message>
    <message>
        <source>the storage has a fault</source>
        <translation>el almacenamiento tiene un fallo</translation>
    </message>
    <message>
        <source>the console may not write them</source>
        <translation>la consola no puede escribirlos</translation>
    </message>
    <message>
        <source>their folder is missing</source>
        <translation>falta su carpeta</translation>
    </message>
    <message>
        <source>the password cannot be encrypted</source>
        <translation>no se puede cifrar la contraseña</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>error %1</translation>
    </message>
</context>
<context>
    <name>TChoicePopup</name>
    <message>
        <source>Back</source>
        <translation>Volver</translation>
    </message>
</context>
<context>
    <name>TListWidget</name>
    <message>
        <source>Search names</source>
        <translation>Buscar nombres</translation>
    </message>
    <message>
        <source>%1 of %2 selected</source>
        <translation>%1 de %2 elegidos</translation>
    </message>
    <message>
        <source>%1 found: %2</source>
        <translation>Encontrados: %1 (%2)</translation>
    </message>
    <message>
        <source>%1 hidden</source>
        <translation>Ocultos: %1</translation>
    </message>
    <message>
        <source>Left out, because the search hides them: %1</source>
        <translation>Quedan fuera porque la búsqueda los oculta: %1</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Nada</translation>
    </message>
    <message>
        <source>All</source>
        <translation>Todos</translation>
    </message>
    <message>
        <source>Select no name</source>
        <translation>No elegir ningún nombre</translation>
    </message>
    <message>
        <source>Select all shown names</source>
        <translation>Elegir todos los nombres mostrados</translation>
    </message>
    <message>
        <source>Show all names again</source>
        <translation>Mostrar de nuevo todos los nombres</translation>
    </message>
    <message>
        <source>Show only names with a text</source>
        <translation>Mostrar solo los nombres con un texto</translation>
    </message>
    <message>
        <source>There is nothing here.</source>
        <translation>Aquí no hay nada.</translation>
    </message>
    <message>
        <source>There is nothing here.
Log in to see the service&apos;s files.</source>
        <translation>Aquí no hay nada.
Inicie sesión para ver los archivos del servicio.</translation>
    </message>
    <message>
        <source>There is nothing here yet.
The service has not listed its files yet.</source>
        <translation>Aquí no hay nada todavía.
El servicio aún no ha listado sus archivos.</translation>
    </message>
    <message>
        <source>No name has the text &quot;%1&quot;.</source>
        <translation>Ningún nombre contiene el texto &quot;%1&quot;.</translation>
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
        <translation>Cerrar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Sí</translation>
    </message>
    <message>
        <source>No</source>
        <translation>No</translation>
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
        <translation>Cerrar</translation>
    </message>
</context>
<context>
    <name>TPropertyWidget</name>
    <message>
        <source>Show the text</source>
        <translation>Mostrar el texto</translation>
    </message>
    <message>
        <source>Hide the text</source>
        <translation>Ocultar el texto</translation>
    </message>
    <message>
        <source>Clear the text</source>
        <translation>Borrar el texto</translation>
    </message>
</context>
<context>
    <name>Transfer</name>
    <message>
        <source>%1 of %2</source>
        <translation>%1 de %2</translation>
    </message>
    <message>
        <source>%1 s left</source>
        <translation>quedan %1 s</translation>
    </message>
    <message>
        <source>%1 min left</source>
        <translation>quedan %1 min</translation>
    </message>
    <message>
        <source>%1 h left</source>
        <translation>quedan %1 h</translation>
    </message>
    <message>
        <source>file %1 of %2</source>
        <translation>archivo %1 de %2</translation>
    </message>
    <message>
        <source>Nothing moves</source>
        <translation>No llega nada</translation>
    </message>
    <message>
        <source>%1. Waiting until %2.</source>
        <translation>%1. Esperando hasta las %2.</translation>
    </message>
    <message>
        <source>Checking the file...</source>
        <translation>Comprobando el archivo...</translation>
    </message>
    <message>
        <source>Unpacking...</source>
        <translation>Descomprimiendo...</translation>
    </message>
    <message>
        <source>Unpacking %1...</source>
        <translation>Descomprimiendo %1...</translation>
    </message>
    <message>
        <source>ends after this file</source>
        <translation>termina tras este archivo</translation>
    </message>
    <message>
        <source>Ended after %1 of %2 files.</source>
        <translation>Terminado tras %1 de %2 archivos.</translation>
    </message>
    <message>
        <source>The disk is too full to unpack: %1</source>
        <translation>Falta espacio para descomprimir: %1</translation>
    </message>
    <message>
        <source>ends when all are unpacked</source>
        <translation>termina al descomprimir todo</translation>
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
        <translation>hasta las %1</translation>
    </message>
</context>
<context>
    <name>console::TAboutPage</name>
    <message>
        <source>Versions</source>
        <translation>Versiones</translation>
    </message>
    <message>
        <source>Console: %1</source>
        <translation>Consola: %1</translation>
    </message>
    <message>
        <source>System: %1, Linux %2</source>
        <translation>Sistema: %1, Linux %2</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Almacenamiento</translation>
    </message>
    <message>
        <source>Data folder: %1</source>
        <translation>Carpeta de datos: %1</translation>
    </message>
    <message>
        <source>Free: %1 of %2</source>
        <translation>Libre: %1 de %2</translation>
    </message>
    <message>
        <source>Last lines of the log</source>
        <translation>Últimas líneas del registro</translation>
    </message>
    <message>
        <source>The log is empty.</source>
        <translation>El registro está vacío.</translation>
    </message>
    <message>
        <source>Licences</source>
        <translation>Licencias</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Cerrar</translation>
    </message>
    <message>
        <source>Back to the settings</source>
        <translation>Volver a los ajustes</translation>
    </message>
</context>
<context>
    <name>console::TLauncherBar</name>
    <message>
        <source>Home</source>
        <translation>Inicio</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Noche</translation>
    </message>
    <message>
        <source>The overview</source>
        <translation>El resumen</translation>
    </message>
    <message>
        <source>Set up the console</source>
        <translation>Configurar la consola</translation>
    </message>
    <message>
        <source>Colours for day or night</source>
        <translation>Colores de día o de noche</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Día</translation>
    </message>
</context>
<context>
    <name>console::TLinkBanner</name>
    <message>
        <source>The connection to the service has ended. Log in again to go on.</source>
        <translation>La conexión con el servicio ha terminado. Inicie sesión de nuevo para continuar.</translation>
    </message>
    <message>
        <source>The login has failed.</source>
        <translation>El inicio de sesión ha fallado.</translation>
    </message>
</context>
<context>
    <name>console::TMainWindow</name>
    <message>
        <source>Ending...</source>
        <translation>Cerrando...</translation>
    </message>
</context>
<context>
    <name>console::TPluginScreens</name>
    <message>
        <source>unknown</source>
        <translation>desconocido</translation>
    </message>
    <message>
        <source>A screen of the plug-in could not be set up: %1</source>
        <translation>No se pudo preparar una pantalla del complemento: %1</translation>
    </message>
</context>
<context>
    <name>console::TSettingsPage</name>
    <message>
        <source>Service</source>
        <translation>Servicio</translation>
    </message>
    <message>
        <source>Host and port; empty for the usual one</source>
        <translation>Host y puerto; vacío para el habitual</translation>
    </message>
    <message>
        <source>Service&apos;s certificate</source>
        <translation>Certificado del servicio</translation>
    </message>
    <message>
        <source>A file with the authority to trust besides the system&apos;s</source>
        <translation>Archivo con la autoridad de confianza además de las del sistema</translation>
    </message>
    <message>
        <source>Position source</source>
        <translation>Fuente de posición</translation>
    </message>
    <message>
        <source>gpsd:HOST:PORT, serial:DEVICE@BAUD or nmea:FILE; empty for none</source>
        <translation>gpsd:HOST:PUERTO, serial:DISPOSITIVO@BAUD o nmea:ARCHIVO; vacío para ninguna</translation>
    </message>
    <message>
        <source>Data folder</source>
        <translation>Carpeta de datos</translation>
    </message>
    <message>
        <source>Folder of the received files</source>
        <translation>Donde se guarda todo lo recibido</translation>
    </message>
    <message>
        <source>Colours</source>
        <translation>Colores</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Día</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Noche</translation>
    </message>
    <message>
        <source>User level</source>
        <translation>Nivel de usuario</translation>
    </message>
    <message>
        <source>Driver: no data exchange</source>
        <translation>Conductor: sin intercambio</translation>
    </message>
    <message>
        <source>Operator: everything</source>
        <translation>Operador: todo</translation>
    </message>
    <message>
        <source>Screen</source>
        <translation>Pantalla</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Ventana</translation>
    </message>
    <message>
        <source>Full screen</source>
        <translation>Pantalla completa</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Guardar</translation>
    </message>
    <message>
        <source>Keep what is shown</source>
        <translation>Conservar lo que se muestra</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Descartar</translation>
    </message>
    <message>
        <source>Show what was kept</source>
        <translation>Mostrar lo guardado</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Idioma</translation>
    </message>
    <message>
        <source>The usual one</source>
        <translation>El habitual</translation>
    </message>
    <message>
        <source>Only the system&apos;s</source>
        <translation>Solo los del sistema</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Ninguna</translation>
    </message>
    <message>
        <source>In use: %1</source>
        <translation>En uso: %1</translation>
    </message>
    <message>
        <source>Receiver</source>
        <translation>Receptor</translation>
    </message>
    <message>
        <source>gpsd on this console</source>
        <translation>gpsd en esta consola</translation>
    </message>
    <message>
        <source>Another, as entered below</source>
        <translation>Otra, como se indica abajo</translation>
    </message>
    <message>
        <source>There is no %1 now.</source>
        <translation>%1 no existe en este momento.</translation>
    </message>
    <message>
        <source>Text size</source>
        <translation>Tamaño del texto</translation>
    </message>
    <message>
        <source>Normal</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>Large</source>
        <translation>Grande</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>Acerca de esta consola</translation>
    </message>
    <message>
        <source>Versions, free space, log and licences</source>
        <translation>Versiones, espacio libre, registro y licencias</translation>
    </message>
    <message>
        <source>Restart now</source>
        <translation>Reiniciar</translation>
    </message>
    <message>
        <source>Start the console anew with what was kept</source>
        <translation>Reiniciar la consola con lo guardado</translation>
    </message>
    <message>
        <source>Installer&apos;s PIN</source>
        <translation>PIN del instalador</translation>
    </message>
    <message>
        <source>Enter the PIN to change what is off.</source>
        <translation>Introduzca el PIN para cambiar lo que está bloqueado.</translation>
    </message>
    <message>
        <source>4 to 8 digits. Without a PIN, everyone can change everything.</source>
        <translation>De 4 a 8 cifras. Sin PIN, cualquiera puede cambiarlo todo.</translation>
    </message>
    <message>
        <source>The PIN is wrong.</source>
        <translation>El PIN es incorrecto.</translation>
    </message>
    <message>
        <source>New installer&apos;s PIN</source>
        <translation>Nuevo PIN del instalador</translation>
    </message>
    <message>
        <source>Unchanged</source>
        <translation>Sin cambios</translation>
    </message>
    <message>
        <source>Remove the PIN</source>
        <translation>Quitar el PIN</translation>
    </message>
    <message>
        <source>No</source>
        <translation>No</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Sí</translation>
    </message>
    <message>
        <source>After Save, everyone can change everything.</source>
        <translation>Después de guardar, cualquiera puede cambiarlo todo.</translation>
    </message>
    <message>
        <source>The settings are unlocked. To change the PIN, enter 4 to 8 digits.</source>
        <translation>Los ajustes están desbloqueados. Para cambiar el PIN, introduzca de 4 a 8 cifras.</translation>
    </message>
    <message>
        <source>The command line sets %1. A restart does not change this.</source>
        <translation>La línea de comandos fija %1. Un reinicio no lo cambia.</translation>
    </message>
    <message>
        <source>At the next start the command line sets the source again.</source>
        <translation>En el próximo inicio, la línea de comandos vuelve a fijar la fuente.</translation>
    </message>
</context>
<context>
    <name>console::TWindowSession</name>
    <message>
        <source>Settings</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source>Kept. It applies from the next start of the console on.</source>
        <translation>Guardado. Se aplica desde el próximo inicio de la consola.</translation>
    </message>
    <message>
        <source>Log out before you choose a user level without data exchange.</source>
        <translation>Cierre la sesión antes de elegir un nivel de usuario sin intercambio de datos.</translation>
    </message>
    <message>
        <source>Kept.</source>
        <translation>Guardado.</translation>
    </message>
    <message>
        <source>The plug-in does not take requests; is the service&apos;s address usable?</source>
        <translation>El complemento no acepta solicitudes; ¿es correcta la dirección del servicio?</translation>
    </message>
    <message>
        <source>Plug-in</source>
        <translation>Complemento</translation>
    </message>
    <message>
        <source>Some changes are not saved. Leave the settings without these changes?</source>
        <translation>Hay cambios sin guardar. ¿Salir de los ajustes sin estos cambios?</translation>
    </message>
    <message>
        <source>An upload, download or deletion is running. After the restart, log in, select its files and start it again. Restart now?</source>
        <translation>Hay un envío, una descarga o un borrado en curso. Después de reiniciar, inicie sesión, seleccione los archivos y empiece de nuevo. ¿Reiniciar ahora?</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>Acerca de esta consola</translation>
    </message>
</context>
</TS>
