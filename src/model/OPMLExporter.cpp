#include "model/OPMLExporter.h"

#include "model/Feed.h"
#include "model/Folder.h"
#include "platform/AtomicFile.h"
#include "platform/Log.h"

namespace {
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

QString OPMLExporter::escapedAttribute(const QString &value)
{
    QString escaped;
    escaped.reserve(value.size());
    for (const QChar c : value) {
        if (c == u'&')
            escaped += QLatin1String("&amp;");
        else if (c == u'<')
            escaped += QLatin1String("&lt;");
        else if (c == u'"')
            escaped += QLatin1String("&quot;");
        else
            escaped += c;
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
