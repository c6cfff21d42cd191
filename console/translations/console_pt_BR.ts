<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR" sourcelanguage="en_US">
<context>
    <name>GpsSetting</name>
    <message>
        <source>&quot;%1&quot; is no HOST or HOST:PORT.</source>
        <translation>&quot;%1&quot; não é HOST nem HOST:PORTA.</translation>
    </message>
    <message>
        <source>the speed %1 is not from 1 (real time) to %2.</source>
        <translation>a velocidade %1 não está entre 1 (tempo real) e %2.</translation>
    </message>
    <message>
        <source>the log &quot;%1&quot; cannot be read.</source>
        <translation>o registro &quot;%1&quot; não pode ser lido.</translation>
    </message>
    <message>
        <source>serial wants a DEVICE.</source>
        <translation>serial requer um DISPOSITIVO.</translation>
    </message>
    <message>
        <source>%1 is no baud rate; there are %2.</source>
        <translation>%1 não é uma taxa de baud; as possíveis são %2.</translation>
    </message>
    <message>
        <source>&quot;%1&quot; is none of gpsd[:HOST[:PORT]], nmea:FILE[@SPEED], serial:DEVICE[@BAUD].</source>
        <translation>&quot;%1&quot; não é gpsd[:HOST[:PORTA]], nmea:ARQUIVO[@VELOCIDADE] nem serial:DISPOSITIVO[@BAUD].</translation>
    </message>
</context>
<context>
    <name>Home</name>
    <message>
        <source>On KELVO: logged out</source>
        <translation>No KELVO: desconectado</translation>
    </message>
    <message>
        <source>On KELVO: not listed yet</source>
        <translation>No KELVO: ainda sem lista</translation>
    </message>
    <message>
        <source>On KELVO at %1: %2</source>
        <translation>No KELVO às %1: %2</translation>
    </message>
    <message>
        <source>On KELVO: %1</source>
        <translation>No KELVO: %1</translation>
    </message>
    <message>
        <source>Downloaded: %1</source>
        <translation>Baixados: %1</translation>
    </message>
    <message>
        <source>Downloaded: not readable</source>
        <translation>Baixados: ilegível</translation>
    </message>
    <message>
        <source>To send: %1</source>
        <translation>A enviar: %1</translation>
    </message>
    <message>
        <source>To send: not readable</source>
        <translation>A enviar: ilegível</translation>
    </message>
    <message>
        <source>On the console: not counted</source>
        <translation>No console: não contado</translation>
    </message>
    <message>
        <source>Last contact: %1</source>
        <translation>Último contato: %1</translation>
    </message>
    <message>
        <source>Connection</source>
        <translation>Conexão</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Armazenamento</translation>
    </message>
    <message>
        <source>Free: %1</source>
        <translation>Livre: %1</translation>
    </message>
    <message>
        <source>Free: not known</source>
        <translation>Livre: desconhecido</translation>
    </message>
    <message>
        <source>Position</source>
        <translation>Posição</translation>
    </message>
    <message>
        <source>Satellites: %1</source>
        <translation>Satélites: %1</translation>
    </message>
    <message>
        <source>Speed: %1 km/h</source>
        <translation>Velocidade: %1 km/h</translation>
    </message>
    <message>
        <source>Heading: %1°</source>
        <translation>Rumo: %1°</translation>
    </message>
    <message numerus="yes">
        <source>%Ln new</source>
        <translation>
            <numerusform>%Ln novo</numerusform>
            <numerusform>%Ln novos</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>PluginHost</name>
    <message>
        <source>The hub has no signal %1.</source>
        <translation>Falta ao hub o sinal %1.</translation>
    </message>
    <message>
        <source>There is no plug-in %1.</source>
        <translation>Não existe o plug-in %1.</translation>
    </message>
    <message>
        <source>The plug-in %1 cannot be loaded: %2</source>
        <translation>Não é possível carregar o plug-in %1: %2</translation>
    </message>
    <message>
        <source>The plug-in %1 lacks the entry point %2.</source>
        <translation>Falta ao plug-in %1 o ponto de entrada %2.</translation>
    </message>
    <message>
        <source>The plug-in&apos;s start failed</source>
        <translation>Falha ao iniciar o plug-in</translation>
    </message>
    <message>
        <source>The plug-in started, but offers no hub.</source>
        <translation>O plug-in iniciou, mas não oferece um hub.</translation>
    </message>
    <message>
        <source>The plug-in offers no root object, so it has no screens.</source>
        <translation>O plug-in não oferece objeto raiz, por isso não tem telas.</translation>
    </message>
    <message>
        <source>The plug-in could not build its screens</source>
        <translation>O plug-in não pôde criar suas telas</translation>
    </message>
</context>
<context>
    <name>QIODevice</name>
    <message>
        <source>Permission denied</source>
        <translation>Permissão negada</translation>
    </message>
    <message>
        <source>No space left on device</source>
        <translation>Não há mais espaço</translation>
    </message>
</context>
<context>
    <name>QLibrary</name>
    <message>
        <source>Cannot load library %1: %2</source>
        <translation>Não é possível carregar a biblioteca %1: %2</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Desfazer</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Refazer</translation>
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
        <translation>C&amp;olar</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Excluir</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Selecionar tudo</translation>
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
        <translation>Sem fonte de posição</translation>
    </message>
    <message>
        <source>Waiting for a receiver</source>
        <translation>Aguardando receptor</translation>
    </message>
    <message>
        <source>No position</source>
        <translation>Sem posição</translation>
    </message>
    <message>
        <source>The position log has ended</source>
        <translation>Fim do registro de posições</translation>
    </message>
    <message>
        <source>no fix</source>
        <translation>sem fix</translation>
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
        <translation>RTK flutuante</translation>
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
        <translation>Sem conexão</translation>
    </message>
    <message>
        <source>Logged out</source>
        <translation>Desconectado</translation>
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
        <translation>Posição perdida há %1</translation>
    </message>
    <message>
        <source>No network</source>
        <translation>Sem rede</translation>
    </message>
    <message>
        <source>Service does not answer</source>
        <translation>O serviço não responde</translation>
    </message>
    <message>
        <source>Network wants a login</source>
        <translation>A rede exige login</translation>
    </message>
    <message>
        <source>Clock is wrong</source>
        <translation>Relógio errado</translation>
    </message>
    <message>
        <source>Service not trusted</source>
        <translation>Serviço não confiável</translation>
    </message>
    <message>
        <source>since %1</source>
        <translation>desde %1</translation>
    </message>
    <message>
        <source>at %1</source>
        <translation>às %1</translation>
    </message>
</context>
<context>
    <name>StoredSettings</name>
    <message>
        <source>The service&apos;s certificate %1 cannot be read.</source>
        <translation>O certificado %1 do serviço não pode ser lido.</translation>
    </message>
    <message>
        <source>Position source: </source>
        <translation>Fonte de posição: </translation>
    </message>
    <message>
        <source>The data folder %1 cannot be written to.</source>
        <translation>Não é possível gravar na pasta de dados %1.</translation>
    </message>
    <message>
        <source>The service wants HOST or HOST:PORT.</source>
        <translation>O serviço requer HOST ou HOST:PORTA.</translation>
    </message>
    <message>
        <source>The PIN wants 4 to 8 digits.</source>
        <translation>O PIN deve ter de 4 a 8 dígitos.</translation>
    </message>
    <message>
        <source>The settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>Não foi possível salvar os ajustes: %1. Eles serão perdidos quando o console encerrar.</translation>
    </message>
    <message>
        <source>Changes of the user name, the password or the settings could not be stored: %1. They are lost when the console ends.</source>
        <translation>Não foi possível salvar as alterações do nome de usuário, da senha ou dos ajustes: %1. Elas serão perdidas quando o console encerrar.</translation>
    </message>
    <message>
        <source>The data folder could not be stored: %1 cannot be written.</source>
        <translation>Não foi possível salvar a pasta de dados: não é possível gravar %1.</translation>
    </message>
    <message>
        <source>there is no space left</source>
        <translation>não há mais espaço</translation>
    </message>
    <message>
        <source>the storage is read-only</source>
        <translation>o armazenamento é somente leitura</translation>
    </message>
    <message>
        <source>the storage has a fault</source>
        <translation>o armazenamento tem um defeito</translation>
    </message>
    <message>
        <source>the console may not write them</source>
        <translation>o console não pode gravá-las</translation>
    </message>
    <message>
        <source>their folder is missing</source>
        <translation>a pasta delas não existe</translation>
    </message>
    <message>
        <source>the password cannot be encrypted</source>
        <translation>não é possível criptografar a senha</translation>
    </message>
    <message>
        <source>error %1</source>
        <translation>erro %1</translation>
    </message>
</context>
<context>
    <name>TChoicePopup</name>
    <message>
        <source>Back</source>
        <translation>Voltar</translation>
    </message>
</context>
<context>
    <name>TListWidget</name>
    <message>
        <source>Search names</source>
        <translation>Procurar nomes</translation>
    </message>
    <message>
        <source>%1 of %2 selected</source>
        <translation>%1 de %2 escolhidos</translation>
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
        <translation>Ficam de fora porque a pesquisa os oculta: %1</translation>
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
        <translation>Não escolher nenhum nome</translation>
    </message>
    <message>
        <source>Select all shown names</source>
        <translation>Escolher todos os nomes mostrados</translation>
    </message>
    <message>
        <source>Show all names again</source>
        <translation>Mostrar de novo todos os nomes</translation>
    </message>
    <message>
        <source>Show only names with a text</source>
        <translation>Mostrar só os nomes com um texto</translation>
    </message>
    <message>
        <source>There is nothing here.</source>
        <translation>Não há nada aqui.</translation>
    </message>
    <message>
        <source>There is nothing here.
Log in to see the service&apos;s files.</source>
        <translation>Não há nada aqui.
Entre para ver os arquivos do serviço.</translation>
    </message>
    <message>
        <source>There is nothing here yet.
The service has not listed its files yet.</source>
        <translation>Ainda não há nada aqui.
O serviço ainda não listou seus arquivos.</translation>
    </message>
    <message>
        <source>No name has the text &quot;%1&quot;.</source>
        <translation>Nenhum nome contém o texto &quot;%1&quot;.</translation>
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
        <translation>Fechar</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Sim</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Não</translation>
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
        <translation>Fechar</translation>
    </message>
</context>
<context>
    <name>TPropertyWidget</name>
    <message>
        <source>Show the text</source>
        <translation>Mostrar o texto</translation>
    </message>
    <message>
        <source>Hide the text</source>
        <translation>Ocultar o texto</translation>
    </message>
    <message>
        <source>Clear the text</source>
        <translation>Limpar o texto</translation>
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
        <translation>faltam %1 s</translation>
    </message>
    <message>
        <source>%1 min left</source>
        <translation>faltam %1 min</translation>
    </message>
    <message>
        <source>%1 h left</source>
        <translation>faltam %1 h</translation>
    </message>
    <message>
        <source>file %1 of %2</source>
        <translation>arquivo %1 de %2</translation>
    </message>
    <message>
        <source>Nothing moves</source>
        <translation>Nada chega</translation>
    </message>
    <message>
        <source>%1. Waiting until %2.</source>
        <translation>%1. Aguardando até %2.</translation>
    </message>
    <message>
        <source>Checking the file...</source>
        <translation>Verificando o arquivo...</translation>
    </message>
    <message>
        <source>Unpacking...</source>
        <translation>Descompactando...</translation>
    </message>
    <message>
        <source>Unpacking %1...</source>
        <translation>Descompactando %1...</translation>
    </message>
    <message>
        <source>ends after this file</source>
        <translation>termina após este arquivo</translation>
    </message>
    <message>
        <source>Ended after %1 of %2 files.</source>
        <translation>Encerrado após %1 de %2 arquivos.</translation>
    </message>
    <message>
        <source>The disk is too full to unpack: %1</source>
        <translation>Falta espaço para descompactar: %1</translation>
    </message>
    <message>
        <source>ends when all are unpacked</source>
        <translation>termina ao descompactar tudo</translation>
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
        <translation>até %1</translation>
    </message>
</context>
<context>
    <name>console::TAboutPage</name>
    <message>
        <source>Versions</source>
        <translation>Versões</translation>
    </message>
    <message>
        <source>Console: %1</source>
        <translation>Console: %1</translation>
    </message>
    <message>
        <source>System: %1, Linux %2</source>
        <translation>Sistema: %1, Linux %2</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Armazenamento</translation>
    </message>
    <message>
        <source>Data folder: %1</source>
        <translation>Pasta de dados: %1</translation>
    </message>
    <message>
        <source>Free: %1 of %2</source>
        <translation>Livre: %1 de %2</translation>
    </message>
    <message>
        <source>Last lines of the log</source>
        <translation>Últimas linhas do registro</translation>
    </message>
    <message>
        <source>The log is empty.</source>
        <translation>O registro está vazio.</translation>
    </message>
    <message>
        <source>Licences</source>
        <translation>Licenças</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Fechar</translation>
    </message>
    <message>
        <source>Back to the settings</source>
        <translation>Voltar aos ajustes</translation>
    </message>
</context>
<context>
    <name>console::TLauncherBar</name>
    <message>
        <source>Home</source>
        <translation>Início</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Ajustes</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Noite</translation>
    </message>
    <message>
        <source>The overview</source>
        <translation>A visão geral</translation>
    </message>
    <message>
        <source>Set up the console</source>
        <translation>Configurar o console</translation>
    </message>
    <message>
        <source>Colours for day or night</source>
        <translation>Cores de dia ou de noite</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Dia</translation>
    </message>
</context>
<context>
    <name>console::TLinkBanner</name>
    <message>
        <source>The connection to the service has ended. Log in again to go on.</source>
        <translation>A conexão com o serviço terminou. Entre novamente para continuar.</translation>
    </message>
    <message>
        <source>The login has failed.</source>
        <translation>O login falhou.</translation>
    </message>
</context>
<context>
    <name>console::TMainWindow</name>
    <message>
        <source>Ending...</source>
        <translation>Encerrando...</translation>
    </message>
</context>
<context>
    <name>console::TPluginScreens</name>
    <message>
        <source>unknown</source>
        <translation>desconhecido</translation>
    </message>
    <message>
        <source>A screen of the plug-in could not be set up: %1</source>
        <translation>Não foi possível preparar uma tela do plug-in: %1</translation>
    </message>
</context>
<context>
    <name>console::TSettingsPage</name>
    <message>
        <source>Service</source>
        <translation>Serviço</translation>
    </message>
    <message>
        <source>Host and port; empty for the usual one</source>
        <translation>Host e porta; vazio para o habitual</translation>
    </message>
    <message>
        <source>Service&apos;s certificate</source>
        <translation>Certificado do serviço</translation>
    </message>
    <message>
        <source>A file with the authority to trust besides the system&apos;s</source>
        <translation>Arquivo com a autoridade confiável além das do sistema</translation>
    </message>
    <message>
        <source>Position source</source>
        <translation>Fonte de posição</translation>
    </message>
    <message>
        <source>gpsd:HOST:PORT, serial:DEVICE@BAUD or nmea:FILE; empty for none</source>
        <translation>gpsd:HOST:PORTA, serial:DISPOSITIVO@BAUD ou nmea:ARQUIVO; vazio para nenhuma</translation>
    </message>
    <message>
        <source>Data folder</source>
        <translation>Pasta de dados</translation>
    </message>
    <message>
        <source>Folder of the received files</source>
        <translation>Onde fica tudo o que é recebido</translation>
    </message>
    <message>
        <source>Colours</source>
        <translation>Cores</translation>
    </message>
    <message>
        <source>Day</source>
        <translation>Dia</translation>
    </message>
    <message>
        <source>Night</source>
        <translation>Noite</translation>
    </message>
    <message>
        <source>User level</source>
        <translation>Nível de usuário</translation>
    </message>
    <message>
        <source>Driver: no data exchange</source>
        <translation>Condutor: sem troca de dados</translation>
    </message>
    <message>
        <source>Operator: everything</source>
        <translation>Operador: tudo</translation>
    </message>
    <message>
        <source>Screen</source>
        <translation>Tela</translation>
    </message>
    <message>
        <source>Window</source>
        <translation>Janela</translation>
    </message>
    <message>
        <source>Full screen</source>
        <translation>Tela cheia</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Salvar</translation>
    </message>
    <message>
        <source>Keep what is shown</source>
        <translation>Manter o que é mostrado</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Descartar</translation>
    </message>
    <message>
        <source>Show what was kept</source>
        <translation>Mostrar o que foi salvo</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Idioma</translation>
    </message>
    <message>
        <source>The usual one</source>
        <translation>O habitual</translation>
    </message>
    <message>
        <source>Only the system&apos;s</source>
        <translation>Apenas os do sistema</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Nenhuma</translation>
    </message>
    <message>
        <source>In use: %1</source>
        <translation>Em uso: %1</translation>
    </message>
    <message>
        <source>Receiver</source>
        <translation>Receptor</translation>
    </message>
    <message>
        <source>gpsd on this console</source>
        <translation>gpsd neste console</translation>
    </message>
    <message>
        <source>Another, as entered below</source>
        <translation>Outra, como indicado abaixo</translation>
    </message>
    <message>
        <source>There is no %1 now.</source>
        <translation>%1 não existe no momento.</translation>
    </message>
    <message>
        <source>Text size</source>
        <translation>Tamanho do texto</translation>
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
        <translation>Sobre este console</translation>
    </message>
    <message>
        <source>Versions, free space, log and licences</source>
        <translation>Versões, espaço livre, registro e licenças</translation>
    </message>
    <message>
        <source>Restart now</source>
        <translation>Reiniciar</translation>
    </message>
    <message>
        <source>Start the console anew with what was kept</source>
        <translation>Reiniciar o console com o que foi salvo</translation>
    </message>
    <message>
        <source>Installer&apos;s PIN</source>
        <translation>PIN do instalador</translation>
    </message>
    <message>
        <source>Enter the PIN to change what is off.</source>
        <translation>Digite o PIN para alterar o que está bloqueado.</translation>
    </message>
    <message>
        <source>4 to 8 digits. Without a PIN, everyone can change everything.</source>
        <translation>De 4 a 8 dígitos. Sem PIN, qualquer pessoa pode alterar tudo.</translation>
    </message>
    <message>
        <source>The PIN is wrong.</source>
        <translation>O PIN está errado.</translation>
    </message>
    <message>
        <source>New installer&apos;s PIN</source>
        <translation>Novo PIN do instalador</translation>
    </message>
    <message>
        <source>Unchanged</source>
        <translation>Inalterado</translation>
    </message>
    <message>
        <source>Remove the PIN</source>
        <translation>Remover o PIN</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Não</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Sim</translation>
    </message>
    <message>
        <source>After Save, everyone can change everything.</source>
        <translation>Depois de salvar, qualquer pessoa pode alterar tudo.</translation>
    </message>
    <message>
        <source>The settings are unlocked. To change the PIN, enter 4 to 8 digits.</source>
        <translation>Os ajustes estão desbloqueados. Para alterar o PIN, digite de 4 a 8 dígitos.</translation>
    </message>
    <message>
        <source>The command line sets %1. A restart does not change this.</source>
        <translation>A linha de comando define %1. Reiniciar não muda isso.</translation>
    </message>
    <message>
        <source>At the next start the command line sets the source again.</source>
        <translation>Na próxima inicialização, a linha de comando define a fonte novamente.</translation>
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
        <translation>Salvo. Vale a partir da próxima inicialização do console.</translation>
    </message>
    <message>
        <source>Log out before you choose a user level without data exchange.</source>
        <translation>Saia antes de escolher um nível de usuário sem troca de dados.</translation>
    </message>
    <message>
        <source>Kept.</source>
        <translation>Salvo.</translation>
    </message>
    <message>
        <source>The plug-in does not take requests; is the service&apos;s address usable?</source>
        <translation>O plug-in não aceita pedidos; o endereço do serviço está correto?</translation>
    </message>
    <message>
        <source>Plug-in</source>
        <translation>Plug-in</translation>
    </message>
    <message>
        <source>Some changes are not saved. Leave the settings without these changes?</source>
        <translation>Há alterações que não foram salvas. Sair dos ajustes sem essas alterações?</translation>
    </message>
    <message>
        <source>An upload, download or deletion is running. After the restart, log in, select its files and start it again. Restart now?</source>
        <translation>Um envio, um download ou uma exclusão está em andamento. Depois de reiniciar, entre, selecione os arquivos e comece de novo. Reiniciar agora?</translation>
    </message>
    <message>
        <source>About this console</source>
        <translation>Sobre este console</translation>
    </message>
</context>
</TS>
