// The lenient tag scanner shared by the RSS and OPML readers: it finds '<' … '>' tokens in text
// without an XML parser, so that badly formed documents still give their tags. It never rejects text.
#pragma once

#include <QString>
#include <QStringView>

class TagScanner
{
public:
    static constexpr QStringView cdataOpening = u"<![CDATA[";
    static constexpr QStringView cdataClosing = u"]]>";

    // The next tag, comment or CDATA section at or after index, which moves past it; a null string when
    // none is left. The text's last character is never searched, a stray '>' is skipped, and a CDATA
    // section takes in the text that follows it up to the next tag.
    static QString nextTag(const QString &text, qsizetype &index);
    static bool isClosingTag(QStringView token) { return token.startsWith(u"</"); }
    static bool isSingleTag(QStringView token) { return token.endsWith(u"/>"); }
    // The value of an attribute found by a loose search for its name, quoted either way (the quotes
    // need not match); "" when there is none. Kept for the rules that have always read attributes so.
    static QString valueForProperty(const QString &tag, const QString &name);
    // The value of the attribute with exactly this name (in any letter case) in a tag's text, read
    // attribute by attribute, so that a name inside another attribute's value is never taken for it;
    // a null string when the tag has none. Values stay as written, entities and all.
    static QString attribute(QStringView tagText, QStringView name);

private:
    static QString tagFollowingCDATA(const QString &text, qsizetype &index, qsizetype start, qsizetype end);
};
