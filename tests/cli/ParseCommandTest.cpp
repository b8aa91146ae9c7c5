#include "CliRun.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The output's values of the expected keys, compared as JSON text so that a failure shows both.
void expectFields(const QJsonValue &actual, const QJsonObject &expected)
{
    QJsonObject kept;
    for (const QString &key : expected.keys())
        kept.insert(key, actual.toObject().value(key));
    EXPECT_EQ(QJsonDocument(kept).toJson().toStdString(), QJsonDocument(expected).toJson().toStdString());
}

} // namespace

TEST(ParseCommand, PrintsRSSAndAtomFeedsAsTheReadersLeftThemWithTheOffsetsTheDocumentGaveOrNull)
{
    const CliRun run({"parse", CliRun::dataFile("harbour-rss.xml")});
    ASSERT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
    const QJsonObject feed = run.json();
    // The declaration wins over the assumed ISO-8859-1, so the copyright sign arrives whole.
    expectFields(feed, {{"title", "Harbour Notes"},
                        {"link", "http://harbour.example/"},
                        {"description", "Tides & boats"},
                        {"language", "en-gb"},
                        {"copyright", QStringLiteral("\u00a9 2006 Harbour Notes")},
                        {"encoding", "UTF-8"},
                        {"feedType", 2},
                        {"publicationDate", "2006-05-17T14:32:00-05:00"},
                        {"unreadCount", 2}});
    const QJsonArray articles = feed["articles"].toArray();
    ASSERT_EQ(articles.size(), 2);
    expectFields(articles[0],
                 {{"title", "Spring tide"},
                  {"link", "http://harbour.example/spring"},
                  {"guid", "harbour-1"},
                  {"state", 2},
                  {"publicationDate", "2006-05-16T08:05:00+02:00"},
                  {"summary", "The spring tide came in early this morning."},
                  {"imageURL", "http://harbour.example/tide.jpg"},
                  {"authors", QJsonArray{QJsonObject{
                                  {"name", "Ann Quay"}, {"title", "Author"}, {"email", ""}, {"uri", ""}}}},
                  {"enclosure", QJsonObject{{"url", "http://harbour.example/tide.mp3"},
                                            {"mimeType", "audio/mpeg"},
                                            {"size", 12345}}}});
    // The readers blank the text in memory once it is stored; the output must show the stored one.
    const QString full = articles[0].toObject()["fullSummary"].toString();
    EXPECT_TRUE(full.startsWith("<p>The spring tide came in early this morning. Boats"));
    EXPECT_TRUE(full.endsWith("</p><img src=\"http://harbour.example/tide.jpg\">"));
    expectFields(articles[1], {{"publicationDate", "2006-05-15T20:00:00+00:00"},
                               {"fullSummary", "Quiet water."},
                               {"enclosure", QJsonValue()},
                               {"imageURL", ""},
                               {"authors", QJsonArray()}});

    const QJsonObject atom = CliRun({"parse", CliRun::dataFile("lighthouse-atom.xml")}).json();
    expectFields(atom, {{"title", "Lighthouse Log"}, {"feedType", 1}});
    const QJsonArray entries = atom["articles"].toArray();
    ASSERT_EQ(entries.size(), 2);
    expectFields(entries[0], {{"guid", "urn:lighthouse:fog"}, {"publicationDate", QJsonValue()}});
    expectFields(entries[1], {{"fullSummary", "<b>Bright</b> tonight."},
                              {"authors", QJsonArray{QJsonObject{{"name", "Keeper Bo"},
                                                                 {"title", ""},
                                                                 {"email", "bo@lighthouse.example"},
                                                                 {"uri", "http://lighthouse.example/bo"}}}}});
}

TEST(ParseCommand, TheEncodingOptionDecidesHowUndeclaredBytesAreReadAndLogLinesGoToStandardError)
{
    const QString file = CliRun::dataFile("cafe-undeclared-utf8.xml");
    expectFields(CliRun({"parse", file}).json(), {{"encoding", "utf-8"}, {"title", "Caf\u00e9 Cr\u00e8me"}});
    const QJsonObject latin1 = {{"encoding", "iso-8859-1"}, {"title", "Caf\u00c3\u00a9 Cr\u00c3\u00a8me"}};
    expectFields(CliRun({"parse", file, "--encoding=iso-8859-1"}).json(), latin1);

    const CliRun unknown({"parse", CliRun::dataFile("unknown-encoding.xml")});
    EXPECT_EQ(unknown.exitCode(), 0);
    expectFields(unknown.json(), {{"encoding", "x-no-such-charset"}, {"articles", QJsonArray()}});
    EXPECT_TRUE(unknown.errorText().contains("-[QBLiberalRSSParser parse] no XML to parse, aborting."));
}

TEST(ParseCommand, ReadsInAScratchLibraryThatIsGoneAfterwards)
{
    QTemporaryDir scratch;
    const QString temporary = scratch.filePath("tmp");
    const QString named = scratch.filePath("named-library");
    ASSERT_TRUE(QDir().mkpath(temporary));
    ASSERT_TRUE(QDir().mkpath(named));
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TMPDIR", temporary);

    const CliRun run({"--library", named, "parse", CliRun::dataFile("harbour-rss.xml")}, 30000, environment);
    ASSERT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
    EXPECT_EQ(run.json()["articles"].toArray().size(), 2);
    // Neither the user's library, nor one named on the command line, nor a leftover scratch folder.
    EXPECT_FALSE(QFileInfo::exists(qEnvironmentVariable("XDG_DATA_HOME") + "/QuillBay"));
    EXPECT_TRUE(QDir(named).isEmpty());
    EXPECT_TRUE(QDir(temporary).isEmpty())
        << QDir(temporary).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(u' ').toStdString();
}
