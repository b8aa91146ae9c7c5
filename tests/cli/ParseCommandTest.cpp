#include "CliRun.h"

#include <QDir>
#include <QJsonArray>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QString text(const QJsonValue &value)
{
    return value.toString();
}

} // namespace

TEST(ParseCommand, PrintsAnRSSChannelAndItsItemsAsTheReadersLeftThem)
{
    const CliRun run({"parse", CliRun::dataFile("harbour-rss.xml")});
    ASSERT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
    const QJsonObject feed = run.json();

    EXPECT_EQ(text(feed["title"]), "Harbour Notes");
    EXPECT_EQ(text(feed["link"]), "http://harbour.example/");
    EXPECT_EQ(text(feed["description"]), "Tides & boats");
    EXPECT_EQ(text(feed["language"]), "en-gb");
    // The declaration wins over the assumed ISO-8859-1, so the copyright sign arrives whole.
    EXPECT_EQ(text(feed["copyright"]), QStringLiteral("\u00a9 2006 Harbour Notes"));
    EXPECT_EQ(text(feed["encoding"]), "UTF-8");
    EXPECT_EQ(feed["feedType"].toInt(), 2);
    // Dates keep the offset the document gave, not the machine's.
    EXPECT_EQ(text(feed["publicationDate"]), "2006-05-17T14:32:00-05:00");
    EXPECT_EQ(feed["unreadCount"].toInt(), 2);

    const QJsonArray articles = feed["articles"].toArray();
    ASSERT_EQ(articles.size(), 2);
    const QJsonObject spring = articles[0].toObject();
    EXPECT_EQ(text(spring["title"]), "Spring tide");
    EXPECT_EQ(text(spring["link"]), "http://harbour.example/spring");
    EXPECT_EQ(text(spring["guid"]), "harbour-1");
    EXPECT_EQ(spring["state"].toInt(), 2);
    EXPECT_EQ(text(spring["publicationDate"]), "2006-05-16T08:05:00+02:00");
    EXPECT_EQ(text(spring["summary"]), "The spring tide came in early this morning.");
    // The readers blank the text in memory once it is stored; the output must show the stored one.
    EXPECT_TRUE(
        text(spring["fullSummary"]).startsWith("<p>The spring tide came in early this morning. Boats"));
    EXPECT_TRUE(text(spring["fullSummary"]).endsWith("</p><img src=\"http://harbour.example/tide.jpg\">"));
    EXPECT_EQ(text(spring["imageURL"]), "http://harbour.example/tide.jpg");
    const QJsonArray authors = spring["authors"].toArray();
    ASSERT_EQ(authors.size(), 1);
    EXPECT_EQ(authors[0].toObject(),
              (QJsonObject{{"name", "Ann Quay"}, {"title", "Author"}, {"email", ""}, {"uri", ""}}));
    EXPECT_EQ(spring["enclosure"].toObject(),
              (QJsonObject{
                  {"url", "http://harbour.example/tide.mp3"}, {"mimeType", "audio/mpeg"}, {"size", 12345}}));

    const QJsonObject neap = articles[1].toObject();
    EXPECT_EQ(text(neap["title"]), "Neap tide");
    EXPECT_EQ(text(neap["publicationDate"]), "2006-05-15T20:00:00+00:00");
    EXPECT_EQ(text(neap["fullSummary"]), "Quiet water.");
    EXPECT_TRUE(neap["enclosure"].isNull());
    EXPECT_EQ(text(neap["imageURL"]), "");
    EXPECT_TRUE(neap["authors"].toArray().isEmpty());
}

TEST(ParseCommand, PrintsAnAtomFeedWithItsPeopleAndAnUndatedEntryAsNull)
{
    const CliRun run({"parse", CliRun::dataFile("lighthouse-atom.xml")});
    ASSERT_EQ(run.exitCode(), 0) << run.errorText().toStdString();
    const QJsonObject feed = run.json();
    EXPECT_EQ(text(feed["title"]), "Lighthouse Log");
    EXPECT_EQ(text(feed["link"]), "http://lighthouse.example/");
    EXPECT_EQ(feed["feedType"].toInt(), 1);
    // A feed that states no date is dated at the reading, so it is never null.
    EXPECT_TRUE(feed["publicationDate"].isString());

    const QJsonArray articles = feed["articles"].toArray();
    ASSERT_EQ(articles.size(), 2);
    const QJsonObject fog = articles[0].toObject();
    EXPECT_EQ(text(fog["guid"]), "urn:lighthouse:fog");
    EXPECT_TRUE(fog["publicationDate"].isNull());
    EXPECT_EQ(text(fog["fullSummary"]), "Thick fog all night.");

    const QJsonObject lamp = articles[1].toObject();
    EXPECT_EQ(text(lamp["link"]), "http://lighthouse.example/lamp");
    EXPECT_EQ(text(lamp["publicationDate"]), "2006-05-17T21:00:00+01:00");
    EXPECT_EQ(text(lamp["fullSummary"]), "<b>Bright</b> tonight.");
    EXPECT_EQ(lamp["authors"].toArray(), (QJsonArray{QJsonObject{{"name", "Keeper Bo"},
                                                                 {"title", ""},
                                                                 {"email", "bo@lighthouse.example"},
                                                                 {"uri", "http://lighthouse.example/bo"}}}));
}

TEST(ParseCommand, TheEncodingOptionDecidesHowUndeclaredBytesAreRead)
{
    const QString file = CliRun::dataFile("cafe-undeclared-utf8.xml");
    const QJsonObject assumed = CliRun({"parse", file}).json();
    EXPECT_EQ(text(assumed["encoding"]), "utf-8") << "undeclared bytes that are valid UTF-8 are UTF-8";
    EXPECT_EQ(text(assumed["title"]), QStringLiteral("Caf\u00e9 Cr\u00e8me"));
    EXPECT_EQ(text(assumed["articles"].toArray().at(0).toObject()["title"]),
              QStringLiteral("Br\u00fbl\u00e9e"));

    for (const QStringList &arguments : QList<QStringList>{{"parse", "--encoding", "iso-8859-1", file},
                                                           {"parse", file, "--encoding=iso-8859-1"}}) {
        const QJsonObject told = CliRun(arguments).json();
        EXPECT_EQ(text(told["encoding"]), "iso-8859-1");
        EXPECT_EQ(text(told["title"]), QStringLiteral("Caf\u00c3\u00a9 Cr\u00c3\u00a8me"));
    }
}

TEST(ParseCommand, LogLinesGoToStandardErrorAndLeaveTheJSONWhole)
{
    const CliRun run({"parse", CliRun::dataFile("unknown-encoding.xml")});
    EXPECT_EQ(run.exitCode(), 0);
    const QJsonObject feed = run.json();
    EXPECT_EQ(text(feed["encoding"]), "x-no-such-charset");
    EXPECT_TRUE(feed["articles"].toArray().isEmpty());
    EXPECT_TRUE(
        run.errorText().contains(QStringLiteral("-[QBLiberalRSSParser parse] no XML to parse, aborting.")));
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
    const QString userLibrary = qEnvironmentVariable("XDG_DATA_HOME") + "/QuillBay";
    EXPECT_FALSE(QFileInfo::exists(userLibrary));
    EXPECT_TRUE(QDir(named).isEmpty());
    EXPECT_TRUE(QDir(temporary).isEmpty())
        << QDir(temporary).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(u' ').toStdString();
}
