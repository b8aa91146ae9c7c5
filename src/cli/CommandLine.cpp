#include "cli/CommandLine.h"

#include <QCoreApplication>
#include <QTextStream>

CommandLine::CommandLine(const QStringList &arguments) : m_arguments(arguments) {}

int CommandLine::run()
{
    const QString command = m_arguments.value(1);
    if (command == QLatin1String("--version")) {
        QTextStream(stdout) << "quillbay-cli " << QCoreApplication::applicationVersion() << "\n";
        return 0;
    }
    if (command.isEmpty() || command == QLatin1String("--help") || command == QLatin1String("-h"))
        return printHelp();
    QTextStream(stderr) << "quillbay-cli: unknown command '" << command << "' (try --help)\n";
    return 2;
}

int CommandLine::printHelp() const
{
    QTextStream(stdout) << "Usage: quillbay-cli COMMAND [ARGUMENTS]\n"
                           "\n"
                           "The headless side of QuillBay, the RSS and Atom news reader.\n"
                           "\n"
                           "Commands:\n"
                           "  --help       show this text\n"
                           "  --version    show the program's version\n";
    return 0;
}
