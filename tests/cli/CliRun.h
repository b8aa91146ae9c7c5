// Runs the built quillbay-cli as a child process and keeps how it ended and what it wrote. The child
// inherits the test's scratch folders, so it never sees the real library; it is killed if it overstays.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QStringList>

class CliRun
{
public:
    explicit CliRun(const QStringList &arguments, int timeoutMs = 30000,
                    const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());

    bool finished() const { return m_finished; }
    int exitCode() const { return m_exitCode; }
    QByteArray output() const { return m_output; }
    QString outputText() const { return QString::fromUtf8(m_output); }
    QString errorText() const { return QString::fromUtf8(m_error); }
    QStringList errorLines() const;

    // Standard output read as one JSON object; an empty object, with the reason in the failure, when it is
    // not.
    QJsonObject json() const;

    static QString dataFile(const QString &name); // a fixture under tests/data/cli

private:
    bool m_finished = false;
    int m_exitCode = -1;
    QByteArray m_output;
    QByteArray m_error;
};
