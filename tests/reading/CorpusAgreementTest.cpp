// The public corpus states in each document's header what a widely used feed library reads from it.
// Where this program follows the real web (enclosures, links, dates, authors, pictures, text, counts),
// those statements are the reference: each such document goes through the parser front and every field
// concerned is compared. The few shapes of Python expression the headers use are read; none is run.
#include "FeedCorpus.h"
#include "TestFiles.h"
#include "model/Enclosure.h"
#include "model/QBPerson.h"
#include "reading/QBParser.h"
#include "reading/QBStringExtras.h"

#include <QDir>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <optional>

namespace {

// Documents about rules this program keeps as they were, matched by their path: the other library's own
// model (its sanitiser, CDF, iTunes, geo, chapters, languages, statistical character-set guessing); base64
// content, which is not decoded; elements the readers do not read; an item without a link, which takes the
// feed's link, not its guid; an entry, which is dated by its first date element; Atom 0.3 markup without
// mode, links without href, and element names read as written; content winning over summary, and an RSS
// text's entities decoded once more.
const QRegularExpression leftOut(
    "/(sanitize|cdf|itunes|geo|psc|lang|amp|chardet)/|base64|"
    "dcterms|dc_title|dc_description|dc_author|fullitem|xhtml_body|item_body|media_title|author_homepage|"
    "rss/.*_and_|guid.*(map|conflict)_link|(created|updated)_multiple_values|date_overwriting|"
    "link_no_href|atom/.*(naked|inline)_markup|div_escaped_markup|inline_markup_2|atomsvgtitle|"
    "node_precedence|NoDefNS|content_and_summary|description_code_br|not_a_doctype|escaped_apos");

enum Field
{
    Titles,
    Links,
    Enclosures,
    Dates,
    Authors,
    Text,
    Pictures
};
const char *const fieldNames[] = {"titles", "links", "enclosures", "dates", "authors", "text", "pictures"};

// One "path == value" statement: the path as its parts ("entries", "0", "title"), the value as the
// text this program would show.
struct Statement
{
    QStringList path;
    QString value;
};

QString shownText(const QString &html)
{
    return QBStringExtras::removeTags(html).simplified();
}

QString timeText(const QDateTime &moment)
{
    return moment.isValid() ? moment.toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))
                            : QStringLiteral("none");
}

// A quoted string, or the first six numbers of a time tuple as the time they name.
QString literalValue(const QString &written)
{
    if (!written.startsWith(u'('))
        return written.mid(1, written.size() - 2);
    const QStringList n = written.mid(1, written.size() - 2).split(u',');
    return timeText(QDateTime(QDate(n[0].toInt(), n[1].toInt(), n[2].toInt()),
                              QTime(n[3].toInt(), n[4].toInt(), n[5].toInt()), Qt::UTC));
}

// The statements of an Expect line that compare paths ("a == b == 'x'" compares both) with a literal.
QList<Statement> statementsOf(const QString &expectation)
{
    static const QRegularExpression comparison(
        QStringLiteral("((?:entries\\[\\d+\\]|feed)(?:\\[\\d+\\]|\\['[^']*'\\]|\\.[a-z_]+)*)\\s*==\\s*"
                       "(?:('[^']*'|\"[^\"]*\"|\\([\\d, ]+\\))|(?=entries|feed))"));
    static const QRegularExpression part(QStringLiteral("\\[(\\d+)\\]|\\['([^']*)'\\]|\\.([a-z_]+)"));
    QList<Statement> statements;
    QStringList waiting;
    for (auto match = comparison.globalMatch(expectation); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        waiting << found.captured(1);
        if (found.captured(2).isEmpty())
            continue;
        for (const QString &path : std::as_const(waiting)) {
            Statement statement{{path.startsWith(u'f') ? "feed" : "entries"},
                                literalValue(found.captured(2))};
            for (auto piece = part.globalMatch(path); piece.hasNext();) {
                const QRegularExpressionMatch p = piece.next();
                statement.path << p.captured(1) + p.captured(2) + p.captured(3);
            }
            statements << statement;
        }
        waiting.clear();
    }
    return statements;
}

std::optional<Field> entryField(const QStringList &path)
{
    const QString key = path.value(2);
    if (key == QLatin1String("title") || key == QLatin1String("link"))
        return key == QLatin1String("title") ? Titles : Links;
    if (key == QLatin1String("enclosures") && path.value(3) == QLatin1String("0"))
        return Enclosures;
    if (key.endsWith(QLatin1String("_parsed")) && path.size() == 3 &&
        !key.startsWith(QLatin1String("expired")))
        return Dates;
    if (key == QLatin1String("author") || key == QLatin1String("author_detail") ||
        (key == QLatin1String("authors") && path.size() == 5))
        return Authors;
    if (key == QLatin1String("description") || key == QLatin1String("summary") ||
        (key == QLatin1String("content") && path.value(4) == QLatin1String("value")))
        return Text;
    return key == QLatin1String("media_thumbnail") ? std::optional(Pictures) : std::nullopt;
}

QString authorText(const QStringList &path, const Article &article)
{
    const int which = path.value(2) == QLatin1String("authors") ? path.value(3).toInt() : 0;
    if (which >= article.authors().size())
        return QStringLiteral("no author");
    const QBPerson &person = *article.authors().at(which);
    if (path.size() == 3)
        return person.email().isEmpty() || person.email() == person.name()
                   ? person.name()
                   : person.name() + " (" + person.email() + ")";
    if (path.last() == QLatin1String("name") || path.last() == QLatin1String("email"))
        return path.last() == QLatin1String("name") ? person.name() : person.email();
    return person.URI().toString(QUrl::FullyEncoded);
}

QString entryValue(Field field, const QStringList &path, const ArticlePtr &entry, FeedLibrary &library)
{
    const Article &article = *entry;
    const auto enclosure = article.enclosure();
    switch (field) {
    case Titles:
        return shownText(article.title());
    case Links:
        return article.link().toString(QUrl::FullyEncoded);
    case Enclosures:
        if (!enclosure)
            return QStringLiteral("no enclosure");
        if (path.value(4) == QLatin1String("href") || path.value(4) == QLatin1String("url"))
            return enclosure->link().toString(QUrl::FullyEncoded);
        return path.value(4) == QLatin1String("length") ? QString::number(enclosure->size())
                                                        : enclosure->mimeType();
    case Dates:
        return timeText(article.legacyPublicationDate().moment());
    case Authors:
        return authorText(path, article);
    case Text:
        return shownText(library.longSummaryForArticle(entry));
    default:
        return article.imageURL().toString(QUrl::FullyEncoded);
    }
}

// What the reference says, in the form this program's reading is compared in.
QString expectedValue(Field field, const QString &value)
{
    if (field == Text || field == Titles)
        return shownText(value);
    if (field == Links || field == Pictures || (field == Enclosures && value.contains(u':')))
        return QUrl(value).toString(QUrl::FullyEncoded);
    return value;
}

// The document as the program reads it from where the corpus's own server would serve it; a
// Content-Location header moves it, unless it names no web address.
FeedPtr readDocument(FeedLibrary &library, const QByteArray &bytes, const QString &relative,
                     const QString &header)
{
    auto feed = std::make_shared<Feed>();
    QUrl address(QStringLiteral("http://127.0.0.1:8097/tests/") + relative);
    static const QRegularExpression location(QStringLiteral("Header:\\s*Content-Location:\\s*(\\S+)"));
    if (const QRegularExpressionMatch match = location.match(header); match.hasMatch()) {
        const QUrl moved = address.resolved(QUrl(match.captured(1)));
        address = moved.scheme().startsWith(QLatin1String("http")) ? moved : address;
    }
    feed->setFeed(address);
    QBParser front(library);
    front.setFeed(feed);
    front.processData(bytes);
    return feed;
}

} // namespace

TEST(CorpusAgreement, TheFieldsRealFeedsDependOnAreReadAsTheReferenceLibraryReadsThem)
{
    const QStringList files = FeedCorpus::files();
    if (files.isEmpty())
        GTEST_SKIP() << "no feed corpus at " << FeedCorpus::folder().toStdString();
    FeedLibrary library;
    library.load();
    int documents = 0;
    QStringList disagreements;
    for (const QString &path : files) {
        const QByteArray bytes = fileBytes(path);
        const QString relative = QDir(FeedCorpus::folder()).relativeFilePath(path);
        const QString header = QString::fromUtf8(bytes.left(2000)).section(QLatin1String("-->"), 0, 0);
        const QList<Statement> statements =
            statementsOf(header.section(QLatin1String("Expect:"), 1).section(u'\n', 0, 0));
        if (statements.isEmpty() || leftOut.match(relative).hasMatch())
            continue;
        const FeedPtr feed = readDocument(library, bytes, relative, header);
        ++documents;
        for (const Statement &statement : statements) {
            std::optional<Field> field;
            QString ours;
            if (statement.path.first() == QLatin1String("feed")) {
                const QString key = statement.path.value(1);
                field = key == QLatin1String("title")  ? std::optional(Titles)
                        : key == QLatin1String("link") ? std::optional(Links)
                        : key.endsWith(QLatin1String("_parsed")) && statement.path.size() == 2
                            ? std::optional(Dates)
                            : std::nullopt;
                ours = field == Titles  ? shownText(feed->title())
                       : field == Links ? feed->link().toString(QUrl::FullyEncoded)
                                        : timeText(feed->publicationDate().moment());
            } else if ((field = entryField(statement.path))) {
                const int index = statement.path.value(1).toInt();
                const auto article = std::dynamic_pointer_cast<Article>(feed->children().value(index));
                ours = article ? entryValue(*field, statement.path, article, library)
                               : QStringLiteral("no entry");
            }
            if (!field)
                continue;
            const QString expected = expectedValue(*field, statement.value);
            if (ours != expected)
                disagreements << QStringLiteral("%1 %2: read \"%3\", expected \"%4\"")
                                     .arg(fieldNames[*field], relative, ours, expected);
        }
    }
    EXPECT_GT(documents, 100) << "the headers were read";
    EXPECT_TRUE(disagreements.isEmpty()) << disagreements.join(u'\n').toStdString();
}
