// Reads quillbay-cli's arguments and carries out one command; it owns no library state itself.
#pragma once

#include <QStringList>

class CommandLine
{
public:
    explicit CommandLine(const QStringList &arguments);
    int run();

private:
    int printHelp() const;
    QStringList m_arguments;
};
