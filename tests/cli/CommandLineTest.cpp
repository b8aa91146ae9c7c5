#include "CliRun.h"
#include "TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

std::string shown(const QStringList &arguments)
{
    return arguments.join(u' ').toStdString();
}

} // namespace

TEST(CommandLine, WrongArgumentsEndWithOneLineOnStandardErrorAndStatusTwo)
{
    const QList<QStringList> wrong = {
        {},
        {"frobnicate"},
        {"parse"},
        {"parse", "one.xml", "two.xml"},
        {"import"},
        {"list", "extra"},
        {"search"},
        {"list", "--library"},
        {"--library=", "list"},
        {"list", "--encoding", "utf-8"},
        {"parse", "feed.xml", "--encoding"},
        {"--colour", "list"},
    };
    for (const QStringList &arguments : wrong) {
        const CliRun run(arguments);
        EXPECT_EQ(run.exitCode(), 2) << shown(arguments);
        EXPECT_TRUE(run.output().isEmpty()) << shown(arguments);
        const QStringList lines = run.errorLines();
        ASSERT_EQ(lines.size(), 1) << shown(arguments) << ": " << run.errorText().toStdString();
        EXPECT_TRUE(lines.first().startsWith(QStringLiteral("quillbay-cli: ")))
            << lines.first().toStdString();
    }
}

TEST(CommandLine, HelpNamesEveryCommandAndOptionWhereverItStands)
{
    for (const QStringList &arguments : QList<QStringList>{{"--help"}, {"list", "--help"}, {"-h"}}) {
        const CliRun run(arguments);
        EXPECT_EQ(run.exitCode(), 0) << shown(arguments);
        for (const char *word : {"parse FILE", "import FILE.opml", "list", "search TEXT", "export FILE.opml",
                                 "--library DIR", "--encoding NAME", "--help", "--version"})
            EXPECT_TRUE(run.outputText().contains(QLatin1String(word))) << word;
        EXPECT_TRUE(run.errorText().isEmpty());
    }
    const CliRun version({"--version"});
    EXPECT_EQ(version.exitCode(), 0);
    EXPECT_EQ(version.outputText(), QStringLiteral("quillbay-cli " QB_VERSION "\n"));
}

TEST(CommandLine, AnInputThatCannotBeReadEndsWithItsPathAndStatusOne)
{
    QTemporaryDir scratch;
    const QString missing = scratch.filePath("missing.xml");
    const QString notAFolder = scratch.filePath("plain-file");
    writeFile(notAFolder, "");

    struct Case
    {
        QStringList arguments;
        QString path;
    };
    const QList<Case> cases = {
        {{"parse", missing}, missing},
        {{"parse", scratch.path()}, scratch.path()},
        {{"import", missing}, missing},
        {{"--library", notAFolder, "list"}, notAFolder},
    };
    for (const Case &c : cases) {
        const CliRun run(c.arguments);
        EXPECT_EQ(run.exitCode(), 1) << shown(c.arguments);
        EXPECT_TRUE(run.output().isEmpty()) << shown(c.arguments);
        const QStringList lines = run.errorLines();
        ASSERT_EQ(lines.size(), 1) << shown(c.arguments) << ": " << run.errorText().toStdString();
        EXPECT_TRUE(lines.first().contains(c.path)) << lines.first().toStdString();
    }
    // The reason is the system's, not a made-up one.
    EXPECT_TRUE(CliRun({"parse", missing}).errorText().contains(QStringLiteral("No such file")));
}
