#include "reading/TextDecoder.h"

#include <gtest/gtest.h>

namespace {
QString decoded(const QByteArray &bytes, const QString &name)
{
    const std::optional<QString> text = TextDecoder::decode(bytes, name);
    return text.value_or(QStringLiteral("<nothing>"));
}
} // namespace

TEST(TextDecoder, IsoLatin1GivesEveryByteItsOwnCodePointAndUnknownOrUnsafeNamesGiveNoText)
{
    QByteArray bytes;
    for (int b = 0; b < 256; ++b)
        bytes.append(char(b));
    const std::optional<QString> text = TextDecoder::decode(bytes, QStringLiteral("iso-8859-1"));
    ASSERT_TRUE(text);
    ASSERT_EQ(text->size(), 256);
    for (int b = 0; b < 256; ++b)
        EXPECT_EQ(text->at(b).unicode(), b) << "byte " << b;
    EXPECT_TRUE(TextDecoder::decode(QByteArray(), QStringLiteral("utf-8")).value_or("x").isEmpty())
        << "no bytes give an empty text, not nothing";
    for (const char *name :
         {"utf-8", "UTF-8", "Utf-8", "windows-1252", "WINDOWS-1252", "latin1", "ISO-8859-1"})
        EXPECT_TRUE(TextDecoder::decode("abc", QString::fromLatin1(name)))
            << "names compare without case: " << name;
    for (const char *name : {"x-no-such-charset", "", "utf-8//IGNORE", "utf-8//TRANSLIT", " utf-8", "utf 8"})
        EXPECT_FALSE(TextDecoder::decode("plain", QString::fromLatin1(name))) << '"' << name << '"';
}

TEST(TextDecoder, ValidUtf8DecodesIncludingCharactersBeyondTheBasicPlaneAndKeepsAByteOrderMark)
{
    EXPECT_EQ(decoded("Caf\xc3\xa9 \xe2\x80\x93 \xf0\x9f\x98\x80", QStringLiteral("utf-8")),
              QStringLiteral("Café – \U0001F600"));
    EXPECT_EQ(decoded("\xef\xbb\xbf<a/>", QStringLiteral("utf-8")), QStringLiteral("\uFEFF<a/>"))
        << "nothing is stripped from the text";
    EXPECT_EQ(decoded(QByteArray("a\0b", 3), QStringLiteral("utf-8")), QStringView(u"a\0b", 3).toString())
        << "a zero byte is a character like any other";
}

TEST(TextDecoder, InvalidOrCutOffUtf8GivesNoTextOrLenientlyAReplacementCharacterApiece)
{
    for (const QByteArray &bad :
         {QByteArray("bad \xc3( byte"), QByteArray("cut off \xe2\x82"), QByteArray("overlong \xc0\xaf"),
          QByteArray("surrogate \xed\xa0\x80"), QByteArray("latin-1 caf\xe9")})
        EXPECT_FALSE(TextDecoder::decode(bad, QStringLiteral("utf-8"))) << bad.constData();

    const auto lenient = [](const QByteArray &bytes, const char *name) {
        return TextDecoder::decodeLeniently(bytes, QString::fromLatin1(name)).value_or("<nothing>");
    };
    EXPECT_EQ(lenient("bad \xc3( caf\xc3\xa9", "utf-8"), u"bad \uFFFD( caf\u00E9");
    EXPECT_EQ(lenient("cut off \xe2\x82", "utf-8"), u"cut off \uFFFD");
    EXPECT_EQ(lenient("\x93quoted\x94 \x81 \x80", "windows-1252"), u"\u201Cquoted\u201D \uFFFD \u20AC");
    EXPECT_FALSE(TextDecoder::decode("\x81", QStringLiteral("windows-1252"))) << "unassigned in windows-1252";
    EXPECT_EQ(lenient("\x82\xa0\xff\x82\xa2", "shift_jis"), u"\u3042\uFFFD\u3044");
    EXPECT_EQ(lenient("x", "x-no-such-charset"), "<nothing>");
}

TEST(TextDecoder, Utf16ReadsEitherByteOrderFromItsMarkAndRefusesAnOddByte)
{
    EXPECT_EQ(decoded(QByteArray("\xff\xfeH\0i\0", 6), QStringLiteral("utf-16")), QStringLiteral("Hi"));
    EXPECT_EQ(decoded(QByteArray("\xfe\xff\0H\0i", 6), QStringLiteral("UTF-16")), QStringLiteral("Hi"));
    EXPECT_EQ(decoded(QByteArray("\x3d\xd8\x00\xde", 4), QStringLiteral("utf-16le")),
              QStringLiteral("\U0001F600"));
    EXPECT_FALSE(TextDecoder::decode(QByteArray("\xff\xfeH\0i", 5), QStringLiteral("utf-16")));
    EXPECT_FALSE(TextDecoder::decode(QByteArray("\x00\xdc", 2), QStringLiteral("utf-16le")))
        << "a lone low surrogate";
}

TEST(TextDecoder, SetsThatWriteSeveralCharactersPerByteAndStatefulSetsDecodeWhole)
{
    // Each such Tamil byte stands for four characters, so the text is four times as long as the input.
    const QByteArray tamil(5000, '\x82');
    const std::optional<QString> text = TextDecoder::decode(tamil, QStringLiteral("TSCII"));
    ASSERT_TRUE(text);
    EXPECT_EQ(text->size(), 20000);
    EXPECT_EQ(text->right(4), QStringLiteral("\u0BB8\u0BCD\u0BB0\u0BC0"));

    EXPECT_EQ(decoded("\x1b$B$3$s$K$A$O\x1b(B!", QStringLiteral("iso-2022-jp")),
              QStringLiteral("こんにちは!"));
}
