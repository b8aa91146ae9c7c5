// Reads quillbay-cli's arguments and carries out one command; it owns no library state itself.
// A wrong argument ends the run with one line on standard error and exit status 2, never with a guess.
#pragma once

#include <QStringList>
#include <optional>

class CommandLine
{
public:
    explicit CommandLine(const QStringList &arguments);
    int run();

private:
    void readArguments();
    bool takeOptionValue(const QString &argument, const QString &option, qsizetype &at,
                         std::optional<QString> &value);
    int runCommand() const;
    int runRefresh() const;
    int usageError(const QString &problem) const;
    static int printHelp();
    static int printVersion();

    QStringList m_arguments;
    QString m_command;
    QStringList m_operands;
    std::optional<QString> m_library;
    std::optional<QString> m_encoding;
    std::optional<QString> m_concurrent;
    std::optional<QString> m_folder;
    bool m_helpWanted = false;
    bool m_versionWanted = false;
    QString m_problem;
};
