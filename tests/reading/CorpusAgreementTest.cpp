// The public corpus states in each document's header what a widely used feed library reads from it.
// Where this program follows the real web (enclosures, links, dates, authors, pictures, text, counts),
// those statements are the reference: each such document goes through the parser front and every field
// concerned is compared. A handful of shapes of Python expression is read; nothing is evaluated.
#include "FeedCorpus.h"
#include "model/Enclosure.h"
#include "model/QBPerson.h"
#include "reading/QBParser.h"
#include "reading/QBStringExtras.h"

#include <QDir>
#include <QFile>
#include <QMap>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <optional>

namespace {

// Documents about rules this program keeps as they were, matched by their path, with the reason.
const QList<std::pair<QRegularExpression, const char *>> leftOut = {
    {QRegularExpression("/(sanitize|cdf|itunes|geo|psc|lang|amp|chardet)/"),
     "the other library's own model: its sanitiser, CDF, iTunes, geo, chapters, languages, statistical "
     "character-set guessing"},
    {QRegularExpression("base64"), "base64 content is not decoded"},
    {QRegularExpression("dcterms|dc_title|dc_description|dc_author|fullitem|xhtml_body|item_body|media_title|"
                        "author_homepage|rss/.*_and_"),
     "elements the readers do not read"},
    {QRegularExpression("guid.*(map|conflict)_link"),
     "an item without a link takes the feed's, not its guid"},
    {QRegularExpression("(created|updated)_multiple_values|date_overwriting"),
     "an entry is dated by its first date element"},
    {QRegularExpression("link_no_href|atom/.*(naked|inline)_markup|div_escaped_markup|inline_markup_2|"
                        "atomsvgtitle|node_precedence|NoDefNS"),
     "Atom 0.3 markup without mode, links without href, and element names read as written"},
    {QRegularExpression("content_and_summary|description_code_br|not_a_doctype"),
     "content wins over summary, and an RSS description's entities are decoded once more"},
};

std::optional<QString> reasonLeftOut(const QString &relative)
{
    for (const auto &[pattern, reason] : leftOut) {
        if (pattern.match(relative).hasMatch())
            return QString::fromUtf8(reason);
    }
    return std::nullopt;
}

enum Field
{
    Titles,
    Links,
    Enclosures,
    Dates,
    Authors,
    Counts,
    Text,
    Pictures,
    FieldCount
};
const char *const fieldNames[] = {"titles",  "links",  "enclosures", "dates",
                                  "authors", "counts", "text",       "pictures"};

// One "path == value" statement: the path as its parts ("entries", "0", "title"), the value as text or as
// the first six numbers of a time tuple.
struct Statement
{
    QStringList path;
    QString text;
    QList<int> time;
};

QString pythonString(const QString &literal)
{
    QString body = literal;
    if (body.startsWith(u'u'))
        body.remove(0, 1);
    const qsizetype quotes = body.startsWith(QLatin1String("\"\"\"")) ? 3 : 1;
    body = body.mid(quotes, body.size() - 2 * quotes);
    QString text;
    for (qsizetype i = 0; i < body.size(); ++i) {
        if (body[i] != u'\\' || i + 1 == body.size()) {
            text += body[i];
            continue;
        }
        const QChar escape = body[++i];
        if (escape == u'u' || escape == u'x') {
            const qsizetype digits = escape == u'u' ? 4 : 2;
            text += QChar(char16_t(body.mid(i + 1, digits).toUInt(nullptr, 16)));
            i += digits;
        } else {
            text += escape == u'n' ? QChar(u'\n') : escape == u't' ? QChar(u'\t') : escape;
        }
    }
    return text;
}

// The statements of an Expect line that compare a path with a string or a time tuple; others are skipped.
QList<Statement> statementsOf(const QString &expectation)
{
    static const QRegularExpression pathPart(QStringLiteral("\\[(\\d+)\\]|\\['([^']*)'\\]|\\.([a-z_]+)"));
    static const QRegularExpression clause(
        QStringLiteral("((?:entries\\[\\d+\\]|feed)(?:\\[\\d+\\]|\\['[^']*'\\]|\\.[a-z_]+)*)\\s*==\\s*(?=(?:"
                       "entries|feed|u?'|u?\"|\\())"));
    static const QRegularExpression value(QStringLiteral(
        "^\\s*(u?\"\"\"[\\s\\S]*?\"\"\"|u?'(?:[^'\\\\]|\\\\.)*'|u?\"(?:[^\"\\\\]|\\\\.)*\"|\\([\\d, ]+\\))"));
    QList<Statement> statements;
    QStringList chained;
    for (auto match = clause.globalMatch(expectation); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        chained << found.captured(1);
        const QRegularExpressionMatch literal = value.match(expectation.mid(found.capturedEnd()));
        if (!literal.hasMatch())
            continue;
        for (const QString &path : std::as_const(chained)) {
            Statement statement;
            statement.path << path.section(u'[', 0, 0).section(u'.', 0, 0);
            for (auto part = pathPart.globalMatch(path.mid(statement.path.first().size())); part.hasNext();) {
                const QRegularExpressionMatch piece = part.next();
                statement.path << piece.captured(1) + piece.captured(2) + piece.captured(3);
            }
            const QString written = literal.captured(1);
            if (written.startsWith(u'(')) {
                for (const QString &number : written.mid(1, written.size() - 2).split(u',').first(6))
                    statement.time << number.trimmed().toInt();
            } else {
                statement.text = pythonString(written);
            }
            statements << statement;
        }
        chained.clear();
    }
    return statements;
}

// Markup and spacing aside, the text a value shows.
QString shownText(const QString &html)
{
    return QBStringExtras::removeTags(html).simplified();
}

class CorpusReading
{
public:
    CorpusReading(FeedLibrary &library, const QString &path, const QString &header)
        : m_library(library), m_feed(std::make_shared<Feed>())
    {
        const QString relative = QDir(FeedCorpus::folder()).relativeFilePath(path);
        QUrl address(QStringLiteral("http://127.0.0.1:8097/tests/") + relative);
        // A server's Content-Location moves the document, unless it names no web address.
        static const QRegularExpression location(QStringLiteral("Header:\\s*Content-Location:\\s*(\\S+)"));
        if (const QRegularExpressionMatch match = location.match(header); match.hasMatch()) {
            const QUrl moved = address.resolved(QUrl(match.captured(1)));
            address = moved.scheme().startsWith(QLatin1String("http")) ? moved : address;
        }
        m_feed->setFeed(address);
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) {
            QBParser front(m_library);
            front.setFeed(m_feed);
            front.processData(file.readAll());
        }
    }

    // The field a statement is about, and what this program read for it; none for fields it has no
    // counterpart of.
    std::optional<std::pair<Field, QString>> read(const Statement &statement) const
    {
        const QStringList &path = statement.path;
        if (path.first() == QLatin1String("feed")) {
            if (path.value(1) == QLatin1String("link"))
                return std::pair(Links, m_feed->link().toString(QUrl::FullyEncoded));
            if (path.value(1) == QLatin1String("title"))
                return std::pair(Titles, shownText(m_feed->title()));
            if (path.value(1).endsWith(QLatin1String("_parsed")) && path.size() == 2)
                return std::pair(Dates, timeText(m_feed->publicationDate()));
            return std::nullopt;
        }
        const int index = path.value(1).toInt();
        const ArticlePtr article = index < m_feed->childCount()
                                       ? std::dynamic_pointer_cast<Article>(m_feed->children().at(index))
                                       : nullptr;
        const std::optional<Field> field = fieldOf(path.mid(2));
        if (!field)
            return std::nullopt;
        if (!article)
            return std::pair(*field, QStringLiteral("no entry %1").arg(index));
        return std::pair(*field, valueOf(*field, path.mid(2), article));
    }

    int articleCount() const { return m_feed->childCount(); }

    static QString timeText(const CalendarDate &date)
    {
        return date.isNull() ? QStringLiteral("none")
                             : date.moment().toString(QStringLiteral("yyyy,M,d,H,m,s"));
    }

private:
    static std::optional<Field> fieldOf(const QStringList &path)
    {
        const QString key = path.value(0);
        if (key == QLatin1String("title"))
            return Titles;
        if (key == QLatin1String("link"))
            return Links;
        if (key == QLatin1String("enclosures") && path.value(1) == QLatin1String("0"))
            return Enclosures;
        if (key.endsWith(QLatin1String("_parsed")) && path.size() == 1 &&
            !key.startsWith(QLatin1String("expired")))
            return Dates;
        if (key == QLatin1String("author") || key == QLatin1String("author_detail") ||
            (key == QLatin1String("authors") && path.size() == 3))
            return Authors;
        if (key == QLatin1String("description") || key == QLatin1String("summary") ||
            (key == QLatin1String("content") && path.value(2) == QLatin1String("value")))
            return Text;
        if (key == QLatin1String("media_thumbnail"))
            return Pictures;
        return std::nullopt;
    }

    QString valueOf(Field field, const QStringList &path, const ArticlePtr &article) const
    {
        switch (field) {
        case Titles:
            return shownText(article->title());
        case Links:
            return article->link().toString(QUrl::FullyEncoded);
        case Enclosures: {
            const auto enclosure = article->enclosure();
            const QString key = path.value(2);
            if (!enclosure)
                return QStringLiteral("no enclosure");
            if (key == QLatin1String("href") || key == QLatin1String("url"))
                return enclosure->link().toString(QUrl::FullyEncoded);
            return key == QLatin1String("length") ? QString::number(enclosure->size())
                                                  : enclosure->mimeType();
        }
        case Dates:
            return timeText(article->legacyPublicationDate());
        case Authors:
            return authorText(path, article);
        case Text:
            return shownText(m_library.longSummaryForArticle(article));
        case Pictures:
            return article->imageURL().toString(QUrl::FullyEncoded);
        default:
            return {};
        }
    }

    static QString authorText(const QStringList &path, const ArticlePtr &article)
    {
        const auto authors = article->authors();
        const int which = path.value(0) == QLatin1String("authors") ? path.value(1).toInt() : 0;
        if (which >= authors.size())
            return QStringLiteral("no author");
        const QBPerson &person = *authors.at(which);
        const QString detail = path.last();
        if (path.size() == 1) {
            if (person.email().isEmpty() || person.email() == person.name())
                return person.name();
            return person.name().isEmpty() ? person.email() : person.name() + " (" + person.email() + ")";
        }
        if (detail == QLatin1String("name"))
            return person.name();
        if (detail == QLatin1String("email"))
            return person.email();
        return person.URI().toString(QUrl::FullyEncoded);
    }

    FeedLibrary &m_library;
    FeedPtr m_feed;
};

QString expectedText(Field field, const Statement &statement)
{
    if (!statement.time.isEmpty()) {
        const QList<int> &t = statement.time;
        return QDateTime(QDate(t[0], t[1], t[2]), QTime(t[3], t[4], t[5]), Qt::UTC)
            .toString(QStringLiteral("yyyy,M,d,H,m,s"));
    }
    if (field == Text || field == Titles)
        return shownText(statement.text);
    if (field == Links || field == Pictures || (field == Enclosures && statement.text.contains(u':')))
        return QUrl(statement.text).toString(QUrl::FullyEncoded);
    return statement.text;
}

} // namespace

TEST(CorpusAgreement, TheFieldsRealFeedsDependOnAreReadAsTheReferenceLibraryReadsThem)
{
    const QStringList files = FeedCorpus::files();
    if (files.isEmpty())
        GTEST_SKIP() << "no feed corpus at " << FeedCorpus::folder().toStdString();
    FeedLibrary library;
    library.load();
    int agreed[FieldCount] = {};
    int compared[FieldCount] = {};
    QStringList disagreements;
    QMap<QString, int> leftOutCount;
    for (const QString &path : files) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QString header = QString::fromUtf8(file.read(2000)).section(QLatin1String("-->"), 0, 0);
        const QString expectation = header.section(QLatin1String("Expect:"), 1).section(u'\n', 0, 0);
        const QList<Statement> statements = statementsOf(expectation);
        const QString relative = QDir(FeedCorpus::folder()).relativeFilePath(path);
        if (statements.isEmpty())
            continue;
        if (const auto reason = reasonLeftOut(relative)) {
            ++leftOutCount[*reason];
            continue;
        }
        const CorpusReading reading(library, path, header);
        // Statements joined by "or" need only one of them to hold.
        const bool alternatives = expectation.contains(QLatin1String(" or "));
        QStringList failed;
        int entriesNamed = 0;
        std::optional<Field> field;
        for (const Statement &statement : statements) {
            const auto ours = reading.read(statement);
            if (!ours)
                continue;
            field = ours->first;
            if (statement.path.first() == QLatin1String("entries"))
                entriesNamed = std::max(entriesNamed, statement.path.value(1).toInt() + 1);
            const QString expected = expectedText(ours->first, statement);
            if (ours->second != expected)
                failed << QStringLiteral("%1 %2: read \"%3\", expected \"%4\"")
                              .arg(fieldNames[ours->first], relative, ours->second, expected);
            else if (alternatives)
                failed.clear();
            if (alternatives && failed.isEmpty())
                break;
        }
        if (!field)
            continue;
        ++compared[*field];
        agreed[*field] += failed.isEmpty();
        disagreements += failed;
        if (entriesNamed > 0) {
            ++compared[Counts];
            agreed[Counts] += reading.articleCount() >= entriesNamed;
        }
    }
    for (int field = 0; field < FieldCount; ++field)
        std::printf("%-10s %d of %d documents agree\n", fieldNames[field], agreed[field], compared[field]);
    for (auto reason = leftOutCount.cbegin(); reason != leftOutCount.cend(); ++reason)
        std::printf("left out, %d documents: %s\n", reason.value(), qPrintable(reason.key()));
    EXPECT_TRUE(disagreements.isEmpty()) << disagreements.join(u'\n').toStdString();
}
