#include "cli/CommandLine.h"

#include "cli/AddCommand.h"
#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/ExportCommand.h"
#include "cli/ImportCommand.h"
#include "cli/ListCommand.h"
#include "cli/ParseCommand.h"
#include "cli/RefreshCommand.h"
#include "cli/RenderCommand.h"
#include "cli/SearchCommand.h"
#include "model/FeedLibrary.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace {
const QString libraryOption = QStringLiteral("--library");
const QString encodingOption = QStringLiteral("--encoding");
const QString concurrentOption = QStringLiteral("--concurrent");
const QString folderOption = QStringLiteral("--folder");
} // namespace

CommandLine::CommandLine(const QStringList &arguments) : m_arguments(arguments.mid(1)) {}

int CommandLine::run()
{
    readArguments();
    if (m_helpWanted)
        return printHelp();
    if (m_versionWanted)
        return printVersion();
    if (!m_problem.isEmpty())
        return usageError(m_problem);
    if (m_command.isEmpty())
        return usageError(QStringLiteral("no command given"));
    if (m_library)
        FeedLibrary::setLibraryPath(QFileInfo(*m_library).absoluteFilePath());
    return runCommand();
}

// Options may stand anywhere; "--" ends them, so that a file whose name begins with a dash can be named.
void CommandLine::readArguments()
{
    bool optionsEnded = false;
    for (qsizetype at = 0; at < m_arguments.size(); ++at) {
        const QString &argument = m_arguments.at(at);
        if (m_command == QLatin1String("render") && argument != QLatin1String("--help")) { // render reads its own options
            m_operands.append(argument);
            continue;
        }
        const bool isOption = !optionsEnded && argument.startsWith(u'-') && argument != QLatin1String("-");
        if (!isOption) {
            if (m_command.isNull())
                m_command = argument;
            else
                m_operands.append(argument);
        } else if (argument == QLatin1String("--")) {
            optionsEnded = true;
        } else if (argument == QLatin1String("--help") || argument == QLatin1String("-h")) {
            m_helpWanted = true;
        } else if (argument == QLatin1String("--version")) {
            m_versionWanted = true;
        } else if (!takeOptionValue(argument, libraryOption, at, m_library) &&
                   !takeOptionValue(argument, encodingOption, at, m_encoding) &&
                   !takeOptionValue(argument, concurrentOption, at, m_concurrent) &&
                   !takeOptionValue(argument, folderOption, at, m_folder) && m_problem.isEmpty()) {
            m_problem = QStringLiteral("unknown option '%1'").arg(argument);
        }
    }
}

// Reads "--option VALUE" or "--option=VALUE"; false when the argument is not that option.
bool CommandLine::takeOptionValue(const QString &argument, const QString &option, qsizetype &at,
                                  std::optional<QString> &value)
{
    if (argument.startsWith(option + u'=')) {
        value = argument.sliced(option.size() + 1);
    } else if (argument == option) {
        if (at + 1 < m_arguments.size()) {
            value = m_arguments.at(++at);
        } else if (m_problem.isEmpty()) {
            m_problem = QStringLiteral("%1 needs a value").arg(option);
        }
    } else {
        return false;
    }
    if (value && value->isEmpty() && m_problem.isEmpty())
        m_problem = QStringLiteral("%1 needs a value").arg(option);
    return true;
}

int CommandLine::runCommand() const
{
    if (m_encoding && m_command != QLatin1String("parse"))
        return usageError(QStringLiteral("--encoding applies to parse only"));
    if (m_concurrent && m_command != QLatin1String("refresh"))
        return usageError(QStringLiteral("--concurrent applies to refresh only"));
    if (m_folder && m_command != QLatin1String("add"))
        return usageError(QStringLiteral("--folder applies to add only"));
    if (m_command == QLatin1String("add"))
        return m_operands.size() == 1 ? AddCommand(m_operands.first(), m_folder).run()
                                      : usageError(QStringLiteral("add takes one ADDRESS"));
    if (m_command == QLatin1String("refresh"))
        return runRefresh();
    if (m_command == QLatin1String("render"))
        return RenderCommand(m_operands).run();
    if (m_command == QLatin1String("parse")) {
        if (m_operands.size() != 1)
            return usageError(QStringLiteral("parse takes one FILE"));
        return ParseCommand(m_operands.first(), m_encoding).run();
    }
    if (m_command == QLatin1String("import")) {
        if (m_operands.size() != 1)
            return usageError(QStringLiteral("import takes one FILE.opml"));
        return ImportCommand(m_operands.first()).run();
    }
    if (m_command == QLatin1String("export"))
        return m_operands.size() == 1 ? ExportCommand(m_operands.first()).run()
                                      : usageError(QStringLiteral("export takes one FILE.opml"));
    if (m_command == QLatin1String("list")) {
        if (!m_operands.isEmpty())
            return usageError(QStringLiteral("list takes no arguments"));
        return ListCommand().run();
    }
    if (m_command == QLatin1String("search")) {
        if (m_operands.isEmpty())
            return usageError(QStringLiteral("search needs a TEXT"));
        return SearchCommand(m_operands.join(u' ')).run();
    }
    return usageError(QStringLiteral("unknown command '%1'").arg(m_command));
}

int CommandLine::runRefresh() const
{
    if (!m_operands.isEmpty())
        return usageError(QStringLiteral("refresh takes no arguments"));
    if (!m_concurrent)
        return RefreshCommand(std::nullopt).run();
    bool isNumber = false;
    const int concurrent = m_concurrent->toInt(&isNumber);
    if (!isNumber || concurrent < 1)
        return usageError(QStringLiteral("--concurrent needs a whole number of 1 or more"));
    return RefreshCommand(concurrent).run();
}

int CommandLine::usageError(const QString &problem) const
{
    Console::complain(problem + QStringLiteral(" (try --help)"));
    return ExitUsage;
}

int CommandLine::printVersion()
{
    Console::print(QStringLiteral("quillbay-cli %1\n").arg(QCoreApplication::applicationVersion()));
    return ExitSuccess;
}

int CommandLine::printHelp()
{
    Console::print(
        QStringLiteral("Usage: quillbay-cli [--library DIR] COMMAND [ARGUMENTS]\n"
                       "\n"
                       "The headless side of QuillBay, the RSS and Atom news reader. Commands work on the\n"
                       "desktop program's library unless --library names another one.\n"
                       "\n"
                       "Commands:\n"
                       "  add ADDRESS [--folder NAME]\n"
                       "                  subscribe to the feed at ADDRESS, or to the feed the web page at\n"
                       "                  ADDRESS links to, at the top of the library or of the folder\n"
                       "                  NAME; print the feed found, or why none was found, and save\n"
                       "  parse FILE [--encoding NAME]\n"
                       "                  read one RSS or Atom document into a scratch feed, as a refresh\n"
                       "                  would, and print the feed and its articles as JSON; no library\n"
                       "                  is read or written and nothing is fetched\n"
                       "  import FILE.opml\n"
                       "                  add every subscription of an OPML file to the library, keeping\n"
                       "                  the file's folders, and save the library\n"
                       "  export FILE.opml\n"
                       "                  write the library's folders and feeds to FILE.opml as an OPML\n"
                       "                  subscription list; a file already there is replaced whole\n"
                       "  list            print the library's folders and feeds as an indented tree: each\n"
                       "                  feed's title, address and unread count, and why its latest\n"
                       "                  refresh failed when it did\n"
                       "  refresh         fetch every feed of the library once, at most --concurrent at a\n"
                       "                  time, printing a line per finished feed on a terminal (title, new\n"
                       "                  articles or failure and its reason; elsewhere only failures),\n"
                       "                  then a summary; fetch missing icons; and save the library\n"
                       "  render [--feed ID | --folder ID | --article ID | --unread | --today | --search TEXT]\n"
                       "         [--mode list|tiles] [--sort date|feed|state] [--filter N] [--out FILE]\n"
                       "                  write the headline page of that selection (the whole library when\n"
                       "                  none is named) as HTML to standard output or FILE; --filter takes\n"
                       "                  the side bar's filter number: 1 today, 2 this week, 5/6/7 the 5,\n"
                       "                  10 or 20 most recent, 10 new, 11 unread, 12 read\n"
                       "  search TEXT     print the stored articles whose title or text contains TEXT,\n"
                       "                  one per line: feed title, article title and link, tab-separated\n"
                       "\n"
                       "Options:\n"
                       "  --library DIR   use the library in DIR, the folder that holds Feeds.library and\n"
                       "                  Articles.db; a folder without one gets a new library, as on the\n"
                       "                  desktop program's first start\n"
                       "  --encoding NAME (parse) decode the document as character set NAME, for example\n"
                       "                  iso-8859-1, unless it declares another; without it UTF-8 when\n"
                       "                  the bytes are UTF-8, else ISO-8859-1\n"
                       "  --concurrent N  (refresh) run at most N downloads at once instead of the\n"
                       "                  downloadConcurrent setting, for this run only\n"
                       "  --folder NAME   (add) put the new feed into the library's folder titled NAME\n"
                       "  --help          show this text\n"
                       "  --version       show the program's version\n"
                       "\n"
                       "import, refresh and add change the library, so they refuse to run while another\n"
                       "program (the desktop program, or another of these commands) has it open; the other\n"
                       "commands only read it and work alongside.\n"
                       "\n"
                       "Log lines go to standard error. Exit status: 0 on success, 1 when a file or the\n"
                       "library cannot be read or an export cannot be written, 2 when the arguments are\n"
                       "wrong, 3 when the library is in use by another program and nothing was changed,\n"
                       "4 when add found no feed.\n"));
    return ExitSuccess;
}
