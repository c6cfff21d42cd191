#include "console/headless/HelpText.h"

#include "console/headless/CommandParser.h"

namespace console {

QString HelpText()
{
    return QStringLiteral(
               "The KELVO console loads the plug-in and opens its window. With --headless it has "
               "no screens:\nit reads commands, and it prints one line for each signal of the "
               "plug-in's hub and for the\nresult of each command.\n\n"
               "The user name and the password come from --credentials, or from KELVO_USER and\n"
               "KELVO_PASSWORD in the environment. Without these the console uses the stored "
               "credentials.\nThe console never stores or prints the given credentials.\n\n"
               "Commands, one for each line; # starts a comment; put names with blanks in "
               "quotes:\n%1\n"
               "KIND is one of %2.\n\n"
               "Output: `signal NAME {ARGUMENTS}` for a signal, `ok COMMAND` or `FAILED COMMAND: "
               "REASON`\nfor a command. `list`, `status`, `position` and `link` print their own "
               "line before that.\n\n"
               "Exit status: 0 success, 1 a command failed, 2 wrong usage, 3 the plug-in could not "
               "be loaded\nor started, 128+N ended by the signal N.")
        .arg(CommandHelp(), KindNames().join(QLatin1Char(' ')));
}

} // namespace console
