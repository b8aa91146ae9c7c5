#include "platform/PropertyList.h"

#include "LogCapture.h"

#include <QUrl>
#include <gtest/gtest.h>

namespace {

QVariant roundTrip(const QVariant &value)
{
    return PropertyList::read(PropertyList::write(value));
}

} // namespace

TEST(PropertyList, NestedStructuresWithAwkwardStringsReadBackEqual)
{
    const QStringList awkward{"say \"hi\"",
                              "back\\slash",
                              "line\nbreak\ttab\rreturn",
                              "café ☕ 😀",
                              "",
                              "a=b;",
                              "// not a comment",
                              "/* nor this */",
                              "bell\a\x01\x1f\x7f",
                              QString(QChar(0xd800)),
                              "plain_Text-1.0/x:y$+",
                              "(a, b)",
                              "{x}",
                              "<00>",
                              "'"};
    QVariantList list;
    QVariantMap dictionary;
    for (const QString &text : awkward) {
        list << text;
        dictionary.insert(text, QVariantList{text, QVariantMap{{text, text}}});
    }
    const QVariantMap nested{{"list", list},
                             {"dictionary", dictionary},
                             {"empty list", QVariantList()},
                             {"empty dictionary", QVariantMap()},
                             {"data", QByteArray("\x00\xff\x10", 3)},
                             {"deeper", QVariantList{QVariantList{QVariantList{"x"}}}}};
    EXPECT_EQ(roundTrip(nested), QVariant(nested));
    EXPECT_EQ(roundTrip(list), QVariant(list));
    EXPECT_EQ(roundTrip(QString("a=b;")), QVariant(QString("a=b;")));
    EXPECT_EQ(roundTrip(QString()), QVariant(QString("")));
}

TEST(PropertyList, WritesPlainWordsBareAndScalarsAsText)
{
    EXPECT_EQ(PropertyList::write(QVariantList{QVariantMap{{"name", "Jane Doe"}, {"title", "Author"}}}),
              "( { name = \"Jane Doe\"; title = Author; } )");
    EXPECT_EQ(PropertyList::write(QStringList{"a", ""}), "( a, \"\" )");
    EXPECT_EQ(PropertyList::write(QString("x\ny\\")), "\"x\\ny\\\\\"");

    const QVariantMap scalars{{"played", true},
                              {"skipped", false},
                              {"size", quint64(18446744073709551615ULL)},
                              {"mediaType", -3},
                              {"link", QUrl("http://example.com/a b/é.mp3")}};
    const QVariantMap back = roundTrip(scalars).toMap();
    EXPECT_EQ(back.value("played"), QVariant("1"));
    EXPECT_EQ(back.value("skipped"), QVariant("0"));
    EXPECT_EQ(back.value("size").toULongLong(), 18446744073709551615ULL);
    EXPECT_EQ(back.value("mediaType"), QVariant("-3"));
    EXPECT_EQ(QUrl(back.value("link").toString()), QUrl("http://example.com/a b/é.mp3"));
}

TEST(PropertyList, ReadsHandWrittenOldStyleText)
{
    const QVariantList authors{QVariantMap{{"name", "Jane Doe"}, {"title", "Author"}}};
    EXPECT_EQ(PropertyList::read("( { name = \"Jane Doe\"; title = Author; } )"), QVariant(authors));
    EXPECT_EQ(PropertyList::read("(\n{name=\"Jane Doe\";title=Author}\n,)"), QVariant(authors));

    const QString text = "// the enclosure\n"
                         "{ /* first */ title = 'Episode 12' ;\n"
                         "  link = http://example.com/ep12.mp3; size = 1024;\n"
                         "  tags = ( a, \"b c\", ); // trailing comma above\n"
                         "  \"odd key\" = \"\\\\\\\"\\n\\t\\r\\a\\b\\f\\v\\012\\101\\U00e9\\U263a\\q\";\n"
                         "  blob = < 0fA0 b1 >; empty = {}; none = ( ) }\n"
                         "/* done */";
    const QVariantMap expected{{"title", "Episode 12"},
                               {"link", "http://example.com/ep12.mp3"},
                               {"size", "1024"},
                               {"tags", QVariantList{"a", "b c"}},
                               {"odd key", QString("\\\"\n\t\r\a\b\f\v\nAé☺q")},
                               {"blob", QByteArray("\x0f\xa0\xb1")},
                               {"empty", QVariantMap()},
                               {"none", QVariantList()}};
    EXPECT_EQ(PropertyList::read(text), QVariant(expected));
    EXPECT_EQ(PropertyList::read("  Author  "), QVariant("Author"));
}

TEST(PropertyList, MalformedTextGivesNullAndOneLogLineNamingProblemAndPosition)
{
    const QList<std::pair<QString, QString>> cases{
        {"( \"Jane", "unclosed quoted string at line 1, column 3"},
        {"{\n  name \"Jane\"; }", "missing '=' after the key name at line 2, column 8"},
        {"( a ) b", "unexpected text after the value at line 1, column 7"},
        {"( a, b", "unclosed list at line 1, column 1"},
        {"( a }", "expected ',' or ')' but found '}' in a list at line 1, column 5"},
        {"{ a = b c = d; }", "expected ';' or '}' but found 'c' after a dictionary entry"},
        {"{ a = b; ", "unclosed dictionary"},
        {")", "unexpected ')' where a value should be"},
        {"( a, , b )", "unexpected ',' where a value should be"},
        {"{ (a) = b; }", "expected a string key"},
        {"{ a = ; }", "unexpected ';' where a value should be"},
        {"{ a = ", "text ends where a value should be"},
        {"", "no value in the text"},
        {" // nothing but a comment\n", "no value in the text"},
        {"( a /* never closed", "unclosed comment at line 1, column 5"},
        {"<abc>", "odd number of hex digits in data"},
        {"<ab", "unclosed data"},
        {"<zz>", "unexpected 'z' in data"},
        {"\x01", "unexpected U+0001 where a value should be"},
        {QString(100000, '('), "nesting deeper than 256 levels"},
        {QString(100000, '{'), "expected a string key but found '{'"},
        {QString("{a=").repeated(50000), "nesting deeper than 256 levels"},
    };
    for (const auto &[text, problem] : cases) {
        LogCapture capture;
        EXPECT_TRUE(PropertyList::read(text).isNull()) << text.left(40).toStdString();
        ASSERT_EQ(capture.lines().size(), 1) << text.left(40).toStdString();
        EXPECT_TRUE(capture.lines().first().startsWith("-[PropertyList read] "));
        EXPECT_TRUE(capture.lines().first().contains(problem)) << capture.lines().first().toStdString();
    }
}
