// Reads an OPML subscription list into a detached tree: a folder titled "Imported Feeds" holding the
// file's folders and feeds, plus a flat list of every feed. It never touches the library itself.
#pragma once

#include "model/Feed.h"
#include "model/Folder.h"

#include <QList>
#include <QString>
#include <memory>

class OPMLImporter
{
public:
    using FolderPtr = std::shared_ptr<Folder>;
    using FeedPtr = std::shared_ptr<Feed>;

    OPMLImporter();
    OPMLImporter(OPMLImporter &&) = default;
    OPMLImporter &operator=(OPMLImporter &&) = default;
    // A copy would share the imported nodes with the original, so there is none.
    OPMLImporter(const OPMLImporter &) = delete;
    OPMLImporter &operator=(const OPMLImporter &) = delete;

    // An importer always comes back, even from a file that cannot be read (it then holds no feeds),
    // so it is returned as a value: a pointer would promise a null case that never happens.
    static OPMLImporter importFeedsFromPath(const QString &path);

    // A null text is "nothing to read" and is logged; markup the scanner cannot make sense of is skipped.
    void parseOPML(const QString &text);

    // The scanner, one step at a time. The next token from the scan position, or a null string.
    QString identifyNextTagFromIndex(const QString &text);
    static bool isClosingTag(const QString &token);
    static bool isSingleTag(const QString &token);
    void parserDidStartElement(const QString &tagText);
    void parserDidEndElement(const QString &tag, bool withProperties);
    // An attribute's value in a tag's text, or a null string when the tag has none.
    static QString tag(const QString &tag, const QString &valueForProperty, bool shouldDecode);

    QList<FeedPtr> feeds() const { return m_feeds; }
    void setFeeds(const QList<FeedPtr> &feeds) { m_feeds = feeds; }
    FolderPtr importedFeedsFolder() const { return m_importedFeedsFolder; }
    void setImportedFeedsFolder(const FolderPtr &folder) { m_importedFeedsFolder = folder; }
    FolderPtr currentFolder() const { return m_currentFolder; }
    void setCurrentFolder(const FolderPtr &folder) { m_currentFolder = folder; }

    qsizetype index() const { return m_index; }

private:
    void addFolder(const QString &title);
    void addFeed(const QString &tagText);
    void leaveFolder();

    qsizetype m_index = 0;
    QList<FeedPtr> m_feeds;
    FolderPtr m_importedFeedsFolder;
    FolderPtr m_currentFolder;
    // Folder outlines nested past the limit are counted instead of made, so that their end tags
    // still match up.
    int m_foldersNotMade = 0;
};
