#include "model/OPMLExporter.h"

#include "model/Feed.h"
#include "model/Folder.h"
#include "platform/AtomicFile.h"
#include "platform/Log.h"

namespace {
// The characters of XML 1.0: no other control character, no lone surrogate, no U+FFFE or U+FFFF.
bool isXmlCharacter(char32_t c)
{
    return (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// What stands for a character that an attribute value cannot hold as it is; empty for the others.
QLatin1String attributeReference(char32_t c)
{
    switch (c) {
    case U'&':
        return QLatin1String("&amp;");
    case U'<':
        return QLatin1String("&lt;");
    case U'>':
        return QLatin1String("&gt;");
    case U'"':
        return QLatin1String("&quot;");
    case U'\t':
        return QLatin1String("&#9;");
    case U'\n':
        return QLatin1String("&#10;");
    case U'\r':
        return QLatin1String("&#13;");
    default:
        return {};
    }
}

QString urlText(const QUrl &url)
{
    return url.isEmpty() ? QStringLiteral("(null)")
                         : OPMLExporter::escapedAttribute(url.toString(QUrl::FullyEncoded));
}
} // namespace

OPMLExporter::OPMLExporter(const TreeNodePtr &root) : m_root(root) {}

QString OPMLExporter::text() const
{
    QString text = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                  "<opml version=\"1.1\">\n"
                                  "\t<head>\n"
                                  "\t\t<title>QuillBay Feeds</title>\n"
                                  "\t</head>\n"
                                  "\t<body>\n");
    if (m_root)
        appendOutlines(text, m_root);
    text += QStringLiteral("\t</body>\n"
                           "</opml>\n");
    return text;
}

void OPMLExporter::appendOutlines(QString &text, const TreeNodePtr &parent)
{
    for (const TreeNodePtr &child : parent->children()) {
        if (const auto folder = std::dynamic_pointer_cast<Folder>(child)) {
            const QString title = escapedAttribute(folder->title());
            text += QStringLiteral("\t\t<outline text=\"%1\" title=\"%1\">\n").arg(title);
            appendOutlines(text, folder);
            text += QStringLiteral("\t\t</outline>\n");
        } else if (const auto feed = std::dynamic_pointer_cast<Feed>(child)) {
            const QString type =
                feed->feedType() == Feed::AtomType ? QStringLiteral("Atom") : QStringLiteral("RSS");
            // One multi-argument arg(): a title holding "%2" must not be taken for a placeholder.
            text +=
                QStringLiteral("\t\t<outline text=\"%1\" title=\"%1\" description=\"\" type=\"%2\" "
                               "version=\"%2\" htmlUrl=\"%3\" xmlUrl=\"%4\"/>\n")
                    .arg(escapedAttribute(feed->title()), type, urlText(feed->link()), urlText(feed->feed()));
        }
    }
}

// Feed titles are whatever a server sent: characters XML cannot carry at all are dropped, and the
// ones an attribute would change (markup, quotes, line breaks, tabs) are written as references.
QString OPMLExporter::escapedAttribute(const QString &value)
{
    QString escaped;
    escaped.reserve(value.size());
    for (const char32_t c : value.toUcs4()) {
        if (const QLatin1String reference = attributeReference(c); !reference.isEmpty())
            escaped += reference;
        else if (isXmlCharacter(c))
            escaped += QString::fromUcs4(&c, 1);
    }
    return escaped;
}

bool OPMLExporter::saveToOPMLFile(const QString &path)
{
    m_errorString.clear();
    if (AtomicFile::write(path, text().toUtf8(), &m_errorString))
        return true;
    Log::write(
        QStringLiteral("-[FeedLibrary saveToOPMLFile:] could not write %1: %2").arg(path, m_errorString));
    return false;
}
