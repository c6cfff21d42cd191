#include "console/headless/CommandParser.h"

#include <array>

namespace {

using console::EVerb;
using console::TCommand;

enum class EArguments : std::uint8_t { eNothing, eKind, eKindAndNames, eSignals };

struct TVerbRow
{
    EVerb verb;
    QLatin1String name;
    EArguments arguments;
    bool canBackground;
    QLatin1String usage;
    QLatin1String help;
};

const std::array<TVerbRow, 12> verbTable = {{
    {EVerb::eLogin, QLatin1String("login"), EArguments::eNothing, true, QLatin1String("login [&]"),
     QLatin1String("log in; ends when all lists have come or the inboxes are set up")},
    {EVerb::eLogout, QLatin1String("logout"), EArguments::eNothing, true,
     QLatin1String("logout [&]"), QLatin1String("log out")},
    {EVerb::eList, QLatin1String("list"), EArguments::eKind, false, QLatin1String("list KIND"),
     QLatin1String("print the last list of files from the service")},
    {EVerb::eUpload, QLatin1String("upload"), EArguments::eKindAndNames, true,
     QLatin1String("upload KIND NAME... [&]"), QLatin1String("send files of the upload folder")},
    {EVerb::eDownload, QLatin1String("download"), EArguments::eKindAndNames, true,
     QLatin1String("download KIND NAME... [&]"), QLatin1String("fetch and unpack archives")},
    {EVerb::eDelete, QLatin1String("delete"), EArguments::eKindAndNames, true,
     QLatin1String("delete KIND NAME... [&]"), QLatin1String("delete files on the service")},
    {EVerb::eCancel, QLatin1String("cancel"), EArguments::eNothing, false, QLatin1String("cancel"),
     QLatin1String("cancel the running operation before its next file")},
    {EVerb::eWait, QLatin1String("wait"), EArguments::eSignals, false,
     QLatin1String("wait [SIGNAL...]"),
     QLatin1String(
         "wait for the end of the command started with &, or for each signal since its start")},
    {EVerb::eStatus, QLatin1String("status"), EArguments::eNothing, false, QLatin1String("status"),
     QLatin1String("print the hub's flags")},
    {EVerb::ePosition, QLatin1String("position"), EArguments::eNothing, false,
     QLatin1String("position"), QLatin1String("print the last fix, its quality and its age")},
    {EVerb::eLink, QLatin1String("link"), EArguments::eNothing, false, QLatin1String("link"),
     QLatin1String("print the state of the link and of the running transfer")},
    {EVerb::eQuit, QLatin1String("quit"), EArguments::eNothing, false, QLatin1String("quit"),
     QLatin1String("end the console; the end of the script does the same")},
}};

// The index is the value of EKelvoProjects.
const std::array<QLatin1String, KELVO_PROJECT_COUNT> kindNames = {{
    QLatin1String("maps"),
    QLatin1String("reports"),
    QLatin1String("ablines"),
    QLatin1String("curves"),
    QLatin1String("pivots"),
    QLatin1String("optimal"),
    QLatin1String("projectlines"),
}};

// Splits a line into words. Text in single or double quotes is taken unchanged; there are no
// escapes.
class TWords
{
public:
    // False if a quote is not closed.
    bool Split(const QString& line)
    {
        for (const QChar character : line) {
            if (m_quote.isNull() && !m_isInWord && character == QLatin1Char('#')) {
                break;
            }
            Take(character);
        }
        EndWord();
        return m_quote.isNull();
    }

    QStringList words;
    bool endsInAmpersand = false; // an unquoted last word "&", which is not among the words

private:
    void Take(QChar character)
    {
        if (!m_quote.isNull()) {
            if (character == m_quote) {
                m_quote = QChar();
            } else {
                m_word += character;
            }
        } else if (character == QLatin1Char('"') || character == QLatin1Char('\'')) {
            m_quote = character;
            m_isInWord = m_isQuoted = true;
        } else if (character.isSpace()) {
            EndWord();
        } else {
            m_word += character;
            m_isInWord = true;
        }
    }

    void EndWord()
    {
        if (!m_isInWord) {
            return;
        }
        if (endsInAmpersand) { // this "&" was not the last word
            words << QStringLiteral("&");
        }
        endsInAmpersand = !m_isQuoted && m_word == QLatin1String("&");
        if (!endsInAmpersand) {
            words << m_word;
        }
        m_word.clear();
        m_isInWord = m_isQuoted = false;
    }

    QString m_word;
    QChar m_quote;
    bool m_isInWord = false;
    bool m_isQuoted = false;
};

const TVerbRow* FindVerb(const QString& name)
{
    for (const TVerbRow& row : verbTable) {
        if (name == row.name) {
            return &row;
        }
    }
    return nullptr;
}

QString Usage(const TVerbRow& row)
{
    return QStringLiteral("usage: ") + row.usage;
}

bool ParseKind(const QString& word, TCommand& command, QString& errorText)
{
    for (std::size_t i = 0; i < kindNames.size(); ++i) {
        if (word == kindNames[i]) {
            command.project = static_cast<EKelvoProjects>(i);
            return true;
        }
    }
    errorText = QStringLiteral("unknown kind \"%1\", use one of %2")
                    .arg(word, console::KindNames().join(QLatin1Char(' ')));
    return false;
}

bool ParseSignals(const QStringList& words, TCommand& command, QString& errorText)
{
    for (const QString& word : words) {
        const auto signal = console::SignalOfName(word);
        if (!signal) {
            errorText = QStringLiteral("the hub has no signal \"%1\"").arg(word);
            return false;
        }
        command.signalsToAwait << *signal;
    }
    return true;
}

bool ParseArguments(const TVerbRow& row, const QStringList& words, TCommand& command,
                    QString& errorText)
{
    const bool wantsNames = row.arguments == EArguments::eKindAndNames;
    const bool wantsKind = wantsNames || row.arguments == EArguments::eKind;
    if (row.arguments == EArguments::eSignals) {
        return ParseSignals(words, command, errorText);
    }
    if (words.isEmpty() == wantsKind || (wantsKind && (words.size() > 1) != wantsNames) ||
        words.mid(1).contains(QString())) {
        errorText = Usage(row);
        return false;
    }
    command.fileNames = words.mid(1);
    return !wantsKind || ParseKind(words.constFirst(), command, errorText);
}

} // namespace

namespace console {

bool ParseCommand(const QString& line, TCommand& command, QString& errorText)
{
    command = TCommand();
    TWords words;
    if (!words.Split(line)) {
        errorText = QStringLiteral("a quote is not closed");
        return false;
    }
    if (words.words.isEmpty() && !words.endsInAmpersand) {
        return true;
    }
    const TVerbRow* row = FindVerb(words.words.value(0));
    if (row == nullptr) {
        errorText = QStringLiteral("unknown command \"%1\"").arg(words.words.value(0));
        return false;
    }
    command.verb = row->verb;
    command.isBackground = words.endsInAmpersand;
    if (command.isBackground && !row->canBackground) {
        errorText = Usage(*row);
        return false;
    }
    return ParseArguments(*row, words.words.mid(1), command, errorText);
}

QString VerbName(EVerb verb)
{
    for (const TVerbRow& row : verbTable) {
        if (row.verb == verb) {
            return row.name;
        }
    }
    return QString();
}

QString KindName(int project)
{
    return project >= 0 && project < KELVO_PROJECT_COUNT
               ? QString(kindNames[static_cast<std::size_t>(project)])
               : QString::number(project);
}

QStringList KindNames()
{
    QStringList names;
    for (const QLatin1String name : kindNames) {
        names << name;
    }
    return names;
}

QString CommandHelp()
{
    constexpr int usageWidth = 27;
    QString help;
    for (const TVerbRow& row : verbTable) {
        help += QStringLiteral("  %1%2\n").arg(QString(row.usage), -usageWidth).arg(row.help);
    }
    return help;
}

} // namespace console
