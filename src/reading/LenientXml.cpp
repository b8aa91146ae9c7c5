#include "reading/LenientXml.h"

#include <cstring>
#include <libxml/HTMLparser.h>
#include <limits>

namespace {

constexpr qsizetype longestEntityName = 64;
constexpr qsizetype longestCharacterReference = 12;
constexpr qsizetype nowhere = std::numeric_limits<qsizetype>::max();

const QByteArray ampersandReference = QByteArrayLiteral("&#38;");

bool isNameByte(char c, bool first)
{
    const auto u = static_cast<unsigned char>(c);
    if ((u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || u == '_' || u == ':' || u >= 0x80)
        return true;
    return !first && ((u >= '0' && u <= '9') || u == '-' || u == '.');
}

bool isDigit(char c, bool hex)
{
    const auto u = static_cast<unsigned char>(c);
    if (u >= '0' && u <= '9')
        return true;
    return hex && ((u >= 'a' && u <= 'f') || (u >= 'A' && u <= 'F'));
}

// XML's own five, written as character references: libxml2 drops entity references in content once it
// has recovered from an error, but never character references.
QByteArray predefined(const QByteArray &name)
{
    if (name == "amp")
        return ampersandReference;
    if (name == "lt")
        return QByteArrayLiteral("&#60;");
    if (name == "gt")
        return QByteArrayLiteral("&#62;");
    if (name == "quot")
        return QByteArrayLiteral("&#34;");
    if (name == "apos")
        return QByteArrayLiteral("&#39;");
    return {};
}

// glibc's own searches: Qt's are several times slower on a few megabytes of feed.
qsizetype find(const QByteArray &in, char c, qsizetype from)
{
    if (from >= in.size())
        return nowhere;
    const void *hit = std::memchr(in.constData() + from, c, size_t(in.size() - from));
    return hit ? static_cast<const char *>(hit) - in.constData() : nowhere;
}

qsizetype find(const QByteArray &in, const char *needle, qsizetype from)
{
    if (from >= in.size())
        return nowhere;
    const void *hit = memmem(in.constData() + from, size_t(in.size() - from), needle, std::strlen(needle));
    return hit ? static_cast<const char *>(hit) - in.constData() : nowhere;
}

// '<' followed by mark: found by the rarer mark, since a '<' starts every tag.
qsizetype findMarkup(const QByteArray &in, char mark, qsizetype from)
{
    for (qsizetype at = find(in, mark, from + 1); at != nowhere; at = find(in, mark, at + 1)) {
        if (in.at(at - 1) == '<')
            return at - 1;
    }
    return nowhere;
}

} // namespace

QByteArray LenientXml::repaired(const QByteArray &utf8)
{
    return LenientXml(utf8).run();
}

QByteArray LenientXml::run()
{
    const qsizetype first = find(m_in, '<', 0);
    if (first == nowhere)
        return {};
    m_copied = first;
    m_position = first;
    qsizetype bang = findMarkup(m_in, '!', m_position);
    qsizetype question = findMarkup(m_in, '?', m_position);
    for (;;) {
        const qsizetype ampersand = find(m_in, '&', m_position);
        const qsizetype markup = std::min(bang, question);
        if (markup < ampersand) {
            m_position = skipMarkup(markup);
            if (bang < m_position)
                bang = findMarkup(m_in, '!', m_position);
            if (question < m_position)
                question = findMarkup(m_in, '?', m_position);
            continue;
        }
        if (ampersand == nowhere)
            break;
        mendReference(ampersand);
    }
    if (m_copied == 0)
        return m_in;
    m_out.append(QByteArrayView(m_in).sliced(m_copied));
    return m_out;
}

// The position after a comment, CDATA section, processing instruction or document type; an unclosed
// one runs to the end, as libxml2 will read it.
qsizetype LenientXml::skipMarkup(qsizetype at)
{
    const QByteArrayView rest = QByteArrayView(m_in).sliced(at);
    const auto after = [this, at](const char *closing, qsizetype from) {
        const qsizetype end = find(m_in, closing, at + from);
        return end == nowhere ? m_in.size() : end + qsizetype(std::strlen(closing));
    };
    if (rest.startsWith("<!--"))
        return after("-->", 4);
    if (rest.startsWith("<![CDATA["))
        return after("]]>", 9);
    if (rest.startsWith("<?"))
        return after("?>", 2);
    if (rest.startsWith("<!DOCTYPE"))
        return skipDocumentType(at);
    return at + 2;
}

// Walks the internal subset, whose quoted values may hold any bracket, and notes each general entity it
// declares, so that references to them are left for the reader to refuse.
qsizetype LenientXml::skipDocumentType(qsizetype at)
{
    char quote = 0;
    bool inSubset = false;
    for (qsizetype i = at + 9; i < m_in.size(); ++i) {
        const char c = m_in.at(i);
        if (quote) {
            quote = c == quote ? 0 : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '[') {
            inSubset = true;
        } else if (c == ']') {
            inSubset = false;
        } else if (c == '>' && !inSubset) {
            return i + 1;
        } else if (inSubset && QByteArrayView(m_in).sliced(i).startsWith("<!ENTITY")) {
            qsizetype name = i + 8;
            while (name < m_in.size() && (m_in.at(name) == ' ' || m_in.at(name) == '\t' ||
                                          m_in.at(name) == '\n' || m_in.at(name) == '\r'))
                ++name;
            const qsizetype end = nameEnd(name);
            if (end > name)
                m_declared.insert(m_in.sliced(name, end - name));
            i = std::max(i, end - 1);
        }
    }
    return m_in.size();
}

void LenientXml::mendReference(qsizetype at)
{
    const qsizetype limit = m_in.size();
    if (at + 1 < limit && m_in.at(at + 1) == '#') {
        const bool hex = at + 2 < limit && (m_in.at(at + 2) == 'x' || m_in.at(at + 2) == 'X');
        qsizetype end = at + (hex ? 3 : 2);
        const qsizetype digitsStart = end;
        while (end < limit && end - at < longestCharacterReference && isDigit(m_in.at(end), hex))
            ++end;
        if (end > digitsStart && end < limit && m_in.at(end) == ';') {
            m_position = end + 1;
            return;
        }
        replace(at, 1, ampersandReference);
        return;
    }
    const qsizetype end = nameEnd(at + 1);
    if (end == at + 1 || end >= limit || m_in.at(end) != ';') {
        replace(at, 1, ampersandReference);
        return;
    }
    const QByteArray name = m_in.sliced(at + 1, end - at - 1);
    const QByteArray own = predefined(name);
    if (!own.isEmpty()) {
        replace(at, end - at + 1, own);
    } else if (m_declared.contains(name)) {
        m_position = end + 1;
    } else if (const htmlEntityDesc *entity =
                   htmlEntityLookup(reinterpret_cast<const xmlChar *>(name.constData()))) {
        replace(at, end - at + 1, "&#" + QByteArray::number(entity->value) + ';');
    } else {
        // An entity nobody defines stays as the text it is.
        replace(at, 1, ampersandReference);
    }
}

// The end of an XML name starting at from; from itself when there is none.
qsizetype LenientXml::nameEnd(qsizetype from) const
{
    qsizetype end = from;
    while (end < m_in.size() && end - from < longestEntityName && isNameByte(m_in.at(end), end == from))
        ++end;
    return end;
}

void LenientXml::replace(qsizetype at, qsizetype length, const QByteArray &with)
{
    if (m_out.isEmpty())
        m_out.reserve(m_in.size() - m_copied + m_in.size() / 16);
    m_out.append(QByteArrayView(m_in).sliced(m_copied, at - m_copied));
    m_out.append(with);
    m_copied = at + length;
    m_position = m_copied;
}
