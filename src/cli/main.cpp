// The headless front end of QuillBay: the same library as the desktop program, without windows.
#include "cli/CommandLine.h"

#include <QCoreApplication>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("QuillBay"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QB_VERSION));
    return CommandLine(app.arguments()).run();
}
