#include "console/headless/HelpText.h"

#include "console/headless/CommandParser.h"

namespace console {

QString HelpText()
{
    return QStringLiteral(
               "The KELVO console: opens its window and loads the plug-in. With --headless, "
               "without "
               "screens: takes\ncommands, and prints a line for every signal of the plug-in's hub "
               "and for the result of every command.\n\n"
               "The user name and the password come from --credentials, or from KELVO_USER and\n"
               "KELVO_PASSWORD in the environment; otherwise the stored ones are used. Neither is "
               "stored\nor printed.\n\n"
               "Commands, one a line; # starts a comment, names with blanks stand in quotes:\n%1\n"
               "KIND is one of %2.\n\n"
               "Output: `signal NAME {ARGUMENTS}` for a signal, `ok COMMAND` or `FAILED COMMAND: "
               "REASON`\nfor a command; `list`, `status` and `position` print a line of their own "
               "before it.\n\n"
               "Exit status: 0 all went as asked, 1 something failed, 2 wrong usage, 3 the plug-in "
               "could not\nbe loaded or started, 128+N ended by the signal N.")
        .arg(CommandHelp(), KindNames().join(QLatin1Char(' ')));
}

} // namespace console
