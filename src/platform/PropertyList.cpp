#include "platform/PropertyList.h"

#include "platform/Log.h"

#include <QByteArray>
#include <QStringList>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>
#include <algorithm>
#include <optional>

namespace {

// Deeper text than this is refused rather than followed, so hostile input cannot exhaust the stack.
constexpr int MaximumNesting = 256;

bool isUnquotedCharacter(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') || u == '_' ||
           u == '$' || u == '+' || u == '/' || u == ':' || u == '.' || u == '-';
}

QString escapedCharacter(QChar c)
{
    switch (c.unicode()) {
    case '\\':
        return QStringLiteral("\\\\");
    case '"':
        return QStringLiteral("\\\"");
    case '\n':
        return QStringLiteral("\\n");
    case '\t':
        return QStringLiteral("\\t");
    case '\r':
        return QStringLiteral("\\r");
    default:
        break;
    }
    if (c.unicode() < 0x20 || c.unicode() == 0x7f)
        return QStringLiteral("\\%1").arg(c.unicode(), 3, 8, QLatin1Char('0'));
    // A lone surrogate has no UTF-8 form; the escape keeps it through storage.
    if (c.isSurrogate())
        return QStringLiteral("\\U%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
    return QString(c);
}

QString quotedIfNeeded(const QString &text)
{
    // Unquoted text opening with "//" would read back as a comment.
    const bool plain = !text.isEmpty() && !text.startsWith(QStringLiteral("//")) &&
                       std::all_of(text.begin(), text.end(), isUnquotedCharacter);
    if (plain)
        return text;
    QString quoted = QStringLiteral("\"");
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool pairedSurrogate =
            c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (pairedSurrogate) {
            quoted += c;
            quoted += text.at(++i);
        } else {
            quoted += escapedCharacter(c);
        }
    }
    return quoted + QLatin1Char('"');
}

QString scalarText(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::QUrl:
        return value.toUrl().toString(QUrl::FullyEncoded);
    default:
        return value.toString();
    }
}

QString written(const QVariant &value);

QString writtenList(const QVariantList &list)
{
    if (list.isEmpty())
        return QStringLiteral("()");
    QStringList items;
    for (const QVariant &item : list)
        items << written(item);
    return QStringLiteral("( ") + items.join(QStringLiteral(", ")) + QStringLiteral(" )");
}

QString writtenDictionary(const QVariantMap &map)
{
    if (map.isEmpty())
        return QStringLiteral("{}");
    QString text = QStringLiteral("{ ");
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        text += quotedIfNeeded(it.key()) + QStringLiteral(" = ") + written(it.value()) + QStringLiteral("; ");
    return text + QLatin1Char('}');
}

QString written(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
        return writtenDictionary(value.toMap());
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return writtenList(value.toList());
    case QMetaType::QByteArray:
        return QLatin1Char('<') + QString::fromLatin1(value.toByteArray().toHex()) + QLatin1Char('>');
    default:
        return quotedIfNeeded(scalarText(value));
    }
}

// A recursive-descent reader; the first problem it meets is kept and ends the read.
class Reader
{
public:
    explicit Reader(const QString &text) : m_text(text) {}

    QVariant readDocument()
    {
        skipBlanks();
        QVariant value;
        if (atEnd())
            fail(QStringLiteral("no value in the text"));
        else
            value = readValue(0);
        skipBlanks();
        if (!atEnd())
            fail(QStringLiteral("unexpected text after the value"));
        if (m_problem) {
            Log::write(QStringLiteral("-[PropertyList read] %1 at %2")
                           .arg(m_problem->first, position(m_problem->second)));
            return {};
        }
        return value;
    }

private:
    bool atEnd() const { return m_pos >= m_text.size(); }
    QChar peek(qsizetype ahead = 0) const
    {
        return m_pos + ahead < m_text.size() ? m_text.at(m_pos + ahead) : QChar();
    }

    // Log lines stay on one line whatever character the text holds.
    static QString describe(QChar c)
    {
        if (c.isPrint() && !c.isSpace())
            return QStringLiteral("'%1'").arg(c);
        return QStringLiteral("U+%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper();
    }

    void fail(const QString &problem) { fail(problem, m_pos); }
    void fail(const QString &problem, qsizetype at)
    {
        if (!m_problem)
            m_problem = std::make_pair(problem, at);
    }

    QString position(qsizetype at) const
    {
        const QStringView before = QStringView(m_text).left(at);
        const qsizetype line = before.count(QLatin1Char('\n')) + 1;
        const qsizetype column = at - (before.lastIndexOf(QLatin1Char('\n')) + 1) + 1;
        return QStringLiteral("line %1, column %2").arg(line).arg(column);
    }

    void skipBlanks()
    {
        while (!atEnd()) {
            if (peek().isSpace()) {
                ++m_pos;
            } else if (peek() == QLatin1Char('/') && peek(1) == QLatin1Char('/')) {
                while (!atEnd() && peek() != QLatin1Char('\n') && peek() != QLatin1Char('\r'))
                    ++m_pos;
            } else if (peek() == QLatin1Char('/') && peek(1) == QLatin1Char('*')) {
                skipBlockComment();
            } else {
                return;
            }
        }
    }

    void skipBlockComment()
    {
        const qsizetype start = m_pos;
        const qsizetype end = m_text.indexOf(QStringLiteral("*/"), m_pos + 2);
        if (end < 0) {
            fail(QStringLiteral("unclosed comment"), start);
            m_pos = m_text.size();
            return;
        }
        m_pos = end + 2;
    }

    QVariant readValue(int depth)
    {
        if (depth > MaximumNesting) {
            fail(QStringLiteral("nesting deeper than %1 levels").arg(MaximumNesting));
            return {};
        }
        const QChar c = peek();
        if (c == QLatin1Char('{'))
            return readDictionary(depth);
        if (c == QLatin1Char('('))
            return readList(depth);
        if (c == QLatin1Char('<'))
            return readData();
        if (c == QLatin1Char('"') || c == QLatin1Char('\''))
            return readQuoted();
        if (isUnquotedCharacter(c))
            return readUnquoted();
        fail(atEnd() ? QStringLiteral("text ends where a value should be")
                     : QStringLiteral("unexpected %1 where a value should be").arg(describe(c)));
        return {};
    }

    QString readUnquoted()
    {
        const qsizetype start = m_pos;
        while (!atEnd() && isUnquotedCharacter(peek()))
            ++m_pos;
        return m_text.mid(start, m_pos - start);
    }

    QString readQuoted()
    {
        const qsizetype start = m_pos;
        const QChar quote = m_text.at(m_pos++);
        QString text;
        while (!atEnd() && peek() != quote) {
            const QChar c = m_text.at(m_pos++);
            if (c == QLatin1Char('\\'))
                text += readEscape();
            else
                text += c;
        }
        if (atEnd()) {
            fail(QStringLiteral("unclosed quoted string"), start);
            return {};
        }
        ++m_pos;
        return text;
    }

    QChar readEscape()
    {
        if (atEnd())
            return {};
        const QChar c = m_text.at(m_pos++);
        switch (c.unicode()) {
        case 'n':
            return QLatin1Char('\n');
        case 't':
            return QLatin1Char('\t');
        case 'r':
            return QLatin1Char('\r');
        case 'a':
            return QLatin1Char('\a');
        case 'b':
            return QLatin1Char('\b');
        case 'f':
            return QLatin1Char('\f');
        case 'v':
            return QLatin1Char('\v');
        case 'U':
            return QChar(char16_t(readDigits(16, 4, 0)));
        default:
            break;
        }
        if (c >= QLatin1Char('0') && c <= QLatin1Char('7')) {
            --m_pos;
            return QChar(char16_t(readDigits(8, 3, 0)));
        }
        return c;
    }

    uint readDigits(int base, int maximumCount, uint value)
    {
        for (int count = 0; count < maximumCount && !atEnd(); ++count) {
            const int digit = digitValue(peek(), base);
            if (digit < 0)
                break;
            value = value * base + digit;
            ++m_pos;
        }
        return value;
    }

    static int digitValue(QChar c, int base)
    {
        const char16_t u = c.unicode();
        int digit = -1;
        if (u >= '0' && u <= '9')
            digit = u - '0';
        else if (u >= 'a' && u <= 'f')
            digit = u - 'a' + 10;
        else if (u >= 'A' && u <= 'F')
            digit = u - 'A' + 10;
        return digit < base ? digit : -1;
    }

    QByteArray readData()
    {
        const qsizetype start = m_pos++;
        QByteArray hex;
        while (!atEnd() && peek() != QLatin1Char('>')) {
            const QChar c = m_text.at(m_pos);
            if (digitValue(c, 16) >= 0)
                hex += char(c.unicode());
            else if (!c.isSpace())
                fail(QStringLiteral("unexpected %1 in data").arg(describe(c)));
            ++m_pos;
        }
        if (atEnd())
            fail(QStringLiteral("unclosed data"), start);
        else if (hex.size() % 2 != 0)
            fail(QStringLiteral("odd number of hex digits in data"), start);
        ++m_pos;
        return QByteArray::fromHex(hex);
    }

    QVariantList readList(int depth)
    {
        const qsizetype start = m_pos++;
        QVariantList list;
        skipBlanks();
        while (!m_problem && !atEnd() && peek() != QLatin1Char(')')) {
            list << readValue(depth + 1);
            skipBlanks();
            if (peek() == QLatin1Char(',')) {
                ++m_pos;
                skipBlanks();
            } else if (!atEnd() && peek() != QLatin1Char(')')) {
                fail(QStringLiteral("expected ',' or ')' but found %1 in a list").arg(describe(peek())));
            }
        }
        closeWith(QLatin1Char(')'), start, QStringLiteral("unclosed list"));
        return list;
    }

    QVariantMap readDictionary(int depth)
    {
        const qsizetype start = m_pos++;
        QVariantMap map;
        skipBlanks();
        while (!m_problem && !atEnd() && peek() != QLatin1Char('}')) {
            readEntry(map, depth);
            skipBlanks();
            if (peek() == QLatin1Char(';')) {
                ++m_pos;
                skipBlanks();
            } else if (!atEnd() && peek() != QLatin1Char('}')) {
                fail(QStringLiteral("expected ';' or '}' but found %1 after a dictionary entry")
                         .arg(describe(peek())));
            }
        }
        closeWith(QLatin1Char('}'), start, QStringLiteral("unclosed dictionary"));
        return map;
    }

    void readEntry(QVariantMap &map, int depth)
    {
        const QChar c = peek();
        if (c != QLatin1Char('"') && c != QLatin1Char('\'') && !isUnquotedCharacter(c)) {
            fail(QStringLiteral("expected a string key but found %1 in a dictionary").arg(describe(c)));
            return;
        }
        const QString key = isUnquotedCharacter(c) ? readUnquoted() : readQuoted();
        skipBlanks();
        if (peek() != QLatin1Char('=')) {
            fail(QStringLiteral("missing '=' after the key %1").arg(quotedIfNeeded(key.left(40))));
            return;
        }
        ++m_pos;
        skipBlanks();
        map.insert(key, readValue(depth + 1));
    }

    void closeWith(QChar closing, qsizetype start, const QString &problem)
    {
        if (m_problem)
            return;
        if (atEnd())
            fail(problem, start);
        else if (peek() == closing)
            ++m_pos;
    }

    const QString &m_text;
    qsizetype m_pos = 0;
    std::optional<std::pair<QString, qsizetype>> m_problem;
};

} // namespace

QString PropertyList::write(const QVariant &value)
{
    return written(value);
}

QVariant PropertyList::read(const QString &text)
{
    return Reader(text).readDocument();
}
