// Mends the faults real feeds make in their XML before libxml2 reads a document: text before the first
// tag, HTML's named entities, stray ampersands. It never expands an entity the document itself declares.
#pragma once

#include <QByteArray>
#include <QSet>

class LenientXml
{
public:
    // The UTF-8 document with everything before its first '<' left out (a byte-order mark, blank lines),
    // every entity reference outside CDATA sections, comments, processing instructions and the document
    // type turned into a character reference (the five of XML, and HTML's by their HTML meaning), and
    // every other '&' turned into the reference for '&' itself, so that no text is lost to it. A
    // reference to an entity the document declares is left as written, for the reader to refuse.
    // The same bytes come back when nothing needs mending; nothing when there is no tag at all.
    static QByteArray repaired(const QByteArray &utf8);

private:
    explicit LenientXml(const QByteArray &utf8) : m_in(utf8) {}

    QByteArray run();
    qsizetype skipMarkup(qsizetype at);
    qsizetype skipDocumentType(qsizetype at);
    void mendReference(qsizetype at);
    qsizetype nameEnd(qsizetype from) const;
    void replace(qsizetype at, qsizetype length, const QByteArray &with);

    const QByteArray &m_in;
    QByteArray m_out;
    qsizetype m_copied = 0;
    qsizetype m_position = 0;
    QSet<QByteArray> m_declared;
};
