#include "reading/OPMLImporter.h"

#include "platform/Log.h"
#include "reading/FeedReaderSupport.h"
#include "reading/QBStringExtras.h"
#include "reading/QBUtilities.h"
#include "reading/TagScanner.h"
#include "reading/TextDecoder.h"

#include <QFile>
#include <QUrl>

namespace {
// Deeper folder outlines than this land in the deepest folder made: every later walk of the tree,
// and finally its release, goes down one level per folder, and a hostile file must not exhaust the stack.
constexpr int MaximumFolderDepth = 256;

// XML entities twice, so that an ampersand escaped twice ("&amp;amp;") ends as one, then HTML's names.
QString fullyDecoded(const QString &value)
{
    return QBUtilities::decodeCharacterEntitiesIn(QBStringExtras::stringByReplacingEntities(value));
}

// A title or description read with the decode flag has been fully decoded already; HTML entities are
// decoded once more because exporters often escape them a second time.
QString decodedAgain(const QString &value)
{
    return value.isNull() ? value : QBUtilities::decodeCharacterEntitiesIn(value);
}

int depthOf(const TreeNodePtr &node)
{
    int depth = 0;
    for (TreeNodePtr up = node->parent(); up; up = up->parent())
        ++depth;
    return depth;
}
} // namespace

OPMLImporter::OPMLImporter() : m_importedFeedsFolder(std::make_shared<Folder>())
{
    m_importedFeedsFolder->setTitle(QStringLiteral("Imported Feeds"));
    m_currentFolder = m_importedFeedsFolder;
}

OPMLImporter OPMLImporter::importFeedsFromPath(const QString &path)
{
    OPMLImporter importer;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        Log::write(QStringLiteral("-[OPMLImporter importFeedsFromPath:] cannot read %1: %2")
                       .arg(path, file.errorString()));
        importer.parseOPML(QString());
        return importer;
    }
    const QByteArray bytes = file.readAll();
    const QString latin1 = QString::fromLatin1(bytes);
    QString encoding = QStringLiteral("iso-8859-1");
    const qsizetype declarationEnd = latin1.indexOf(QStringLiteral("?>"));
    if (declarationEnd >= 0) {
        const QString declared = tag(latin1.left(declarationEnd + 2), QStringLiteral("encoding"), false);
        if (!declared.isNull())
            encoding = declared;
    }
    importer.parseOPML(TextDecoder::decode(bytes, encoding).value_or(QString()));
    return importer;
}

void OPMLImporter::parseOPML(const QString &text)
{
    if (text.isNull()) {
        Log::write(QStringLiteral("-[OPMLImporter parseOPML] no XML to parse, aborting."));
        return;
    }
    qsizetype lastIndex = -1;
    while (m_index != lastIndex) {
        lastIndex = m_index;
        const QString token = identifyNextTagFromIndex(text);
        if (token.isNull())
            break;
        if (isClosingTag(token))
            parserDidEndElement(token.mid(2, token.size() - 3), false);
        else if (isSingleTag(token))
            parserDidEndElement(token.mid(1, token.size() - 3), true);
        else
            parserDidStartElement(token.mid(1, token.size() - 2));
    }
}

QString OPMLImporter::identifyNextTagFromIndex(const QString &text)
{
    // The text's last character lies outside every search; files end in a line break, so no tag is lost.
    return TagScanner::nextTag(text, m_index);
}

bool OPMLImporter::isClosingTag(const QString &token)
{
    return TagScanner::isClosingTag(token);
}

bool OPMLImporter::isSingleTag(const QString &token)
{
    return TagScanner::isSingleTag(token);
}

void OPMLImporter::parserDidStartElement(const QString &tagText)
{
    if (!tagText.startsWith(QStringLiteral("outline")))
        return;
    if (!tag(tagText, QStringLiteral("xmlUrl"), true).isNull())
        return;
    QString title = decodedAgain(tag(tagText, QStringLiteral("title"), true));
    if (title.isNull())
        title = decodedAgain(tag(tagText, QStringLiteral("text"), true));
    addFolder(title.isNull() ? QStringLiteral("Untitled folder") : title);
}

void OPMLImporter::parserDidEndElement(const QString &tag, bool withProperties)
{
    if (!tag.startsWith(QStringLiteral("outline")))
        return;
    if (withProperties)
        addFeed(tag);
    else
        leaveFolder();
}

QString OPMLImporter::tag(const QString &tag, const QString &valueForProperty, bool shouldDecode)
{
    qsizetype found = tag.indexOf(valueForProperty + QStringLiteral("=\""), 0, Qt::CaseInsensitive);
    if (found < 0)
        found = tag.indexOf(valueForProperty + QStringLiteral(" ="), 0, Qt::CaseInsensitive);
    if (found < 0)
        return QString();
    // The opening quote is looked for short of the tag's last character, the closing one up to its end.
    const QStringView openingSpan = QStringView(tag).left(std::max<qsizetype>(tag.size() - 1, 0));
    qsizetype opening = openingSpan.indexOf(u'"', found);
    if (opening < 0)
        opening = openingSpan.indexOf(u'\'', found);
    if (opening < 0)
        return QString();
    qsizetype closing = tag.indexOf(u'"', opening + 1);
    if (closing < 0)
        closing = tag.indexOf(u'\'', opening + 1);
    if (closing < 0)
        return QString();
    const QString value =
        QBStringExtras::stringByReplacingEntities(tag.mid(opening + 1, closing - opening - 1));
    return shouldDecode ? fullyDecoded(value) : value;
}

void OPMLImporter::addFolder(const QString &title)
{
    const FolderPtr into = m_currentFolder ? m_currentFolder : m_importedFeedsFolder;
    if (m_foldersNotMade > 0 || depthOf(into) >= MaximumFolderDepth) {
        ++m_foldersNotMade;
        return;
    }
    auto folder = std::make_shared<Folder>();
    folder->setTitle(title);
    folder->setParent(into);
    into->addChild(folder);
    m_currentFolder = folder;
}

void OPMLImporter::leaveFolder()
{
    if (m_foldersNotMade > 0) {
        --m_foldersNotMade;
        return;
    }
    const FolderPtr up =
        m_currentFolder ? std::dynamic_pointer_cast<Folder>(m_currentFolder->parent()) : nullptr;
    m_currentFolder = up ? up : m_importedFeedsFolder;
}

void OPMLImporter::addFeed(const QString &tagText)
{
    const QString xmlUrl = tag(tagText, QStringLiteral("xmlUrl"), true);
    const QString url = tag(tagText, QStringLiteral("url"), true);
    if (xmlUrl.isNull() && url.isNull())
        return;
    const QString htmlUrl = tag(tagText, QStringLiteral("htmlUrl"), true);
    const QString title = decodedAgain(tag(tagText, QStringLiteral("title"), true));
    const QString text = decodedAgain(tag(tagText, QStringLiteral("text"), true));
    const QString uid = tag(tagText, QStringLiteral("uid"), false);
    const QString type = tag(tagText, QStringLiteral("type"), false);
    const QString description = decodedAgain(tag(tagText, QStringLiteral("description"), true));
    const QString keywords = tag(tagText, QStringLiteral("keywords"), true);
    const QString language = tag(tagText, QStringLiteral("language"), false);

    auto feed = std::make_shared<Feed>();
    const QString address = xmlUrl.isNull() ? url : xmlUrl;
    feed->setFeed(FeedReaderSupport::urlFromText(address));
    if (!uid.isNull())
        feed->setUniqueID(uid);
    feed->setFeedType(type == QLatin1String("RSS") ? Feed::RSSType : Feed::AtomType);
    feed->setTitle(!title.isNull() ? title : !text.isNull() ? text : QStringLiteral("Untitled"));
    feed->setDescription(description.isNull() ? QStringLiteral("") : description);
    feed->setLanguage(language.isNull() ? QStringLiteral("en-us") : language);
    // Without a home page the site's front door is the best guess.
    feed->setLink(!htmlUrl.isNull()
                      ? FeedReaderSupport::urlFromText(htmlUrl)
                      : FeedReaderSupport::urlFromText(QStringLiteral("http://%1").arg(feed->feed().host())));
    if (!keywords.isNull())
        feed->setKeywords(keywords.split(QLatin1Char(',')));

    const FolderPtr into = m_currentFolder ? m_currentFolder : m_importedFeedsFolder;
    m_feeds.append(feed);
    feed->setParent(into);
    into->addChild(feed);
}
