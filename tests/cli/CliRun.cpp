#include "CliRun.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QProcess>
#include <gtest/gtest.h>

CliRun::CliRun(const QStringList &arguments, int timeoutMs, const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(QB_CLI_PATH), arguments);
    m_finished = process.waitForFinished(timeoutMs);
    if (!m_finished) {
        process.kill();
        process.waitForFinished();
    }
    m_exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    m_output = process.readAllStandardOutput();
    m_error = process.readAllStandardError();
}

QStringList CliRun::errorLines() const
{
    return errorText().split(u'\n', Qt::SkipEmptyParts);
}

QJsonObject CliRun::json() const
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(m_output, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    EXPECT_TRUE(document.isObject());
    return document.object();
}

QString CliRun::dataFile(const QString &name)
{
    return QStringLiteral(QB_TEST_DATA "/cli/") + name;
}
