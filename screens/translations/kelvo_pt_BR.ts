<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR" sourcelanguage="en_US">
<context>
    <name>QObject</name>
    <message>
        <source>KELVO Application</source>
        <comment>ToolTip</comment>
        <translation>Aplicativo KELVO</translation>
    </message>
</context>
<context>
    <name>TKelvoFileControlWidget</name>
    <message>
        <source>Download started</source>
        <translation>Download iniciado</translation>
    </message>
    <message>
        <source>Upload started</source>
        <translation>Envio iniciado</translation>
    </message>
    <message>
        <source>Delete started</source>
        <translation>Exclusão iniciada</translation>
    </message>
    <message>
        <source>Downloading %1</source>
        <translation>Baixando %1</translation>
    </message>
    <message>
        <source>Uploading %1</source>
        <translation>Enviando %1</translation>
    </message>
    <message>
        <source>Deleting %1</source>
        <translation>Excluindo %1</translation>
    </message>
    <message>
        <source>Download complete.</source>
        <translation>Download concluído.</translation>
    </message>
    <message>
        <source>A problem occurred with: %1</source>
        <comment>%1 is a filename that failed to download correctly</comment>
        <translation>Ocorreu um problema com: %1</translation>
    </message>
    <message>
        <source>Upload complete.</source>
        <translation>Envio concluído.</translation>
    </message>
    <message>
        <source>%1 failed to upload.</source>
        <translation>Falha ao enviar %1.</translation>
    </message>
    <message>
        <source>Delete complete.</source>
        <translation>Exclusão concluída.</translation>
    </message>
    <message>
        <source>%1 failed to delete.</source>
        <translation>Falha ao excluir %1.</translation>
    </message>
    <message>
        <source>Cancelling file operation ...</source>
        <translation>Cancelando a operação de arquivos ...</translation>
    </message>
    <message>
        <source>Cancelling delete operation ...</source>
        <translation>Cancelando a exclusão ...</translation>
    </message>
    <message>
        <source>Prescription Maps</source>
        <translation>Mapas de prescrição</translation>
    </message>
    <message>
        <source>Job Reports</source>
        <translation>Relatórios de trabalho</translation>
    </message>
    <message>
        <source>AB Lines</source>
        <translation>Linhas AB</translation>
    </message>
    <message>
        <source>Curves</source>
        <translation>Curvas</translation>
    </message>
    <message>
        <source>Pivots</source>
        <translation>Pivôs</translation>
    </message>
    <message>
        <source>Optimal Lines</source>
        <translation>Linhas ótimas</translation>
    </message>
    <message>
        <source>Project Lines</source>
        <translation>Linhas de projeto</translation>
    </message>
    <message>
        <source>KELVO</source>
        <translation>KELVO</translation>
    </message>
    <message>
        <source>Files to Upload</source>
        <translation>Arquivos a enviar</translation>
    </message>
    <message>
        <source>Downloaded Files</source>
        <translation>Arquivos baixados</translation>
    </message>
    <message>
        <source>Error </source>
        <translation>Erro </translation>
    </message>
    <message>
        <source>No files selected</source>
        <translation>Nenhum arquivo selecionado</translation>
    </message>
    <message>
        <source>File Transfer</source>
        <translation>Transferência de arquivos</translation>
    </message>
    <message>
        <source>Delete Warning</source>
        <translation>Aviso de exclusão</translation>
    </message>
    <message>
        <source>Are you sure you want to delete the selected files?</source>
        <translation>Tem certeza de que deseja excluir os arquivos selecionados?</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Excluir</translation>
    </message>
    <message>
        <source>Category</source>
        <translation>Categoria</translation>
    </message>
    <message>
        <source>Select the type of items to manage</source>
        <comment>ToolTip</comment>
        <translation>Selecionar o tipo de itens a gerenciar</translation>
    </message>
    <message>
        <source>Download selected files</source>
        <comment>ToolTip</comment>
        <translation>Baixar os arquivos selecionados</translation>
    </message>
    <message>
        <source>Upload selected files</source>
        <comment>ToolTip</comment>
        <translation>Enviar os arquivos selecionados</translation>
    </message>
    <message>
        <source>Delete selected files</source>
        <comment>ToolTip</comment>
        <translation>Excluir os arquivos selecionados</translation>
    </message>
    <message>
        <source>Browse</source>
        <translation>Procurar</translation>
    </message>
    <message>
        <source>Select the location of files to view</source>
        <comment>ToolTip</comment>
        <translation>Selecionar o local dos arquivos a exibir</translation>
    </message>
</context>
<context>
    <name>TKelvoFullView</name>
    <message>
        <source>KELVO File Controller</source>
        <translation>KELVO: gestão de arquivos</translation>
    </message>
</context>
<context>
    <name>TKelvoMiniView</name>
    <message>
        <source>Login to Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Entrar no Kelvo</translation>
    </message>
    <message>
        <source>Logout of Kelvo</source>
        <comment>ToolTip</comment>
        <translation>Sair do Kelvo</translation>
    </message>
    <message>
        <source>KELVO Login Error</source>
        <translation>Erro de login no KELVO</translation>
    </message>
    <message>
        <source>Logging out....</source>
        <translation>Saindo....</translation>
    </message>
    <message>
        <source>Logging in....</source>
        <translation>Entrando....</translation>
    </message>
    <message>
        <source>Logged in</source>
        <translation>Conectado</translation>
    </message>
    <message>
        <source>Login</source>
        <translation>Entrar</translation>
    </message>
    <message>
        <source>Processing, please wait</source>
        <translation>Processando, aguarde</translation>
    </message>
    <message>
        <source>Logout</source>
        <translation>Sair</translation>
    </message>
    <message>
        <source>Unable to login to KELVO.</source>
        <translation>Não foi possível entrar no KELVO.</translation>
    </message>
    <message>
        <source>Please enter a valid username and password.</source>
        <translation>Informe um nome de usuário e uma senha válidos.</translation>
    </message>
    <message>
        <source>USERNAME</source>
        <translation>USUÁRIO</translation>
    </message>
    <message>
        <source>PASSWORD</source>
        <translation>SENHA</translation>
    </message>
    <message>
        <source>STATUS</source>
        <translation>STATUS</translation>
    </message>
    <message>
        <source>Login to KELVO</source>
        <comment>ToolTip</comment>
        <translation>Entrar no KELVO</translation>
    </message>
    <message>
        <source>Configure Kelvo Account</source>
        <translation>Configurar a conta Kelvo</translation>
    </message>
    <message>
        <source>Configuring Kelvo Account</source>
        <translation>Configurando a conta Kelvo</translation>
    </message>
    <message>
        <source>You will be automatically logged out of Kelvo once completed</source>
        <translation>Ao concluir, você sairá automaticamente do Kelvo</translation>
    </message>
    <message>
        <source>Configuration complete</source>
        <translation>Configuração concluída</translation>
    </message>
    <message>
        <source>Configuration complete with errors</source>
        <translation>Configuração concluída com erros</translation>
    </message>
</context>
<context>
    <name>TKelvoThreadObject</name>
    <message>
        <source>%1 File no longer exists. File index not found.</source>
        <translation>%1 O arquivo não existe mais. Índice do arquivo não encontrado.</translation>
    </message>
    <message>
        <source>%1 File no longer exists. File Index not found</source>
        <translation>%1 O arquivo não existe mais. Índice do arquivo não encontrado</translation>
    </message>
    <message>
        <source>File no longer exists.</source>
        <translation>O arquivo não existe mais.</translation>
    </message>
    <message>
        <source>Failed to unzip file</source>
        <translation>Não foi possível descompactar o arquivo</translation>
    </message>
    <message>
        <source>All files</source>
        <translation>Todos os arquivos</translation>
    </message>
    <message>
        <source>Creation of user folder &apos;%1&apos; failed</source>
        <translation>Não foi possível criar a pasta do usuário &apos;%1&apos;</translation>
    </message>
    <message>
        <source>User folder &apos;%1&apos; created but reported as not found. Log out, re-login and retry uploading files</source>
        <translation>A pasta do usuário &apos;%1&apos; foi criada, mas não foi encontrada. Saia, entre de novo e envie os arquivos outra vez</translation>
    </message>
</context>
</TS>
