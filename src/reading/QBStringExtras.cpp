#include "reading/QBStringExtras.h"

#include "platform/Log.h"
#include "reading/HTMLSanitiser.h"
#include "reading/UntrustedHtml.h"

#include <QHash>
#include <libxml/HTMLparser.h>
#include <limits>

namespace {
// Code, frames, forms and the like hold nothing a reader would read.
bool isInvisibleElement(const xmlNode *node)
{
    return node->type == XML_ELEMENT_NODE && node->name &&
           HTMLSanitiser::dropsWithContent(reinterpret_cast<const char *>(node->name));
}

// The next node in document order, leaving out the inside of invisible elements. Walked without
// recursion, because hostile markup can nest deeper than the stack allows.
const xmlNode *nextNode(const xmlNode *node)
{
    if (node->children && !isInvisibleElement(node) && node->type != XML_ENTITY_REF_NODE)
        return node->children;
    while (node && !node->next)
        node = node->parent && node->parent->type != XML_HTML_DOCUMENT_NODE ? node->parent : nullptr;
    return node ? node->next : nullptr;
}

QString textContent(const xmlDoc *document)
{
    QByteArray text;
    for (const xmlNode *node = document->children; node; node = nextNode(node)) {
        if ((node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) && node->content)
            text += reinterpret_cast<const char *>(node->content);
    }
    return QString::fromUtf8(text);
}

// The character of a reference body such as "#233" or "#xE9"; a null string when it names none.
QString numericReference(QStringView body)
{
    const bool hex = body.size() > 1 && (body[1] == u'x' || body[1] == u'X');
    const QStringView digits = body.mid(hex ? 2 : 1);
    if (digits.isEmpty() || digits.size() > 8)
        return QString();
    char32_t code = 0;
    for (const QChar c : digits) {
        const int value = hex ? QBStringExtras::hexDigitValue(c) : (c.isDigit() ? c.digitValue() : -1);
        if (value < 0)
            return QString();
        code = code * (hex ? 16 : 10) + char32_t(value);
    }
    if (code == 0 || code > 0x10FFFF || QChar::isSurrogate(code))
        return QString();
    return QString::fromUcs4(&code, 1);
}

QString entityCharacter(QStringView body)
{
    static const QHash<QString, QString> predefined = {
        {"lt", "<"}, {"gt", ">"}, {"amp", "&"}, {"quot", "\""}, {"apos", "'"}};
    if (body.startsWith(u'#'))
        return numericReference(body);
    return predefined.value(body.toString());
}
} // namespace

QString QBStringExtras::removeTags(const QString &html)
{
    const QByteArray bytes = html.toUtf8();
    if (bytes.size() > std::numeric_limits<int>::max()) {
        Log::write(QStringLiteral("-[QBStringExtras removeTags] text too long to read as HTML"));
        return html;
    }
    const UntrustedHtml::Document document = UntrustedHtml::read(bytes);
    if (!document)
        return html.isNull() ? QString() : QStringLiteral("");
    return textContent(document.get());
}

QString QBStringExtras::stringByReplacingEntities(const QString &text)
{
    if (text.isNull())
        return QString();
    QString result;
    result.reserve(text.size());
    qsizetype position = 0;
    for (qsizetype start = text.indexOf(QLatin1Char('&')); start >= 0;
         start = text.indexOf(QLatin1Char('&'), start + 1)) {
        // No reference this reader knows is longer than "&#x10FFFF;", so the ';' is looked for nearby only.
        const qsizetype length = QStringView(text).mid(start + 1, 9).indexOf(QLatin1Char(';'));
        const QString character =
            length < 0 ? QString() : entityCharacter(QStringView(text).mid(start + 1, length));
        if (character.isNull())
            continue;
        result += QStringView(text).mid(position, start - position);
        result += character;
        position = start + length + 2;
        start = position - 1;
    }
    result += QStringView(text).mid(position);
    return result;
}

int QBStringExtras::hexDigitValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    return u >= u'A' && u <= u'F' ? u - u'A' + 10 : -1;
}
