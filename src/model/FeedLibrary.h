// The one library: the root of the tree, the news clippings, the latest search, the selection and the
// article database. Every other part reads and changes the library through it; it never shows a window.
#pragma once

#include "model/Article.h"
#include "model/ArticleRow.h"
#include "model/Feed.h"
#include "model/Folder.h"
#include "model/VirtualFolder.h"

#include <QHash>
#include <QMutex>
#include <QString>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

class FMDatabase;
class FMResultSet;
class LibraryLock;

using FeedPtr = std::shared_ptr<Feed>;
using FolderPtr = std::shared_ptr<Folder>;
using VirtualFolderPtr = std::shared_ptr<VirtualFolder>;
using ArticleList = QList<ArticlePtr>;
using FeedList = QList<FeedPtr>;

class FeedLibrary
{
public:
    FeedLibrary();
    ~FeedLibrary();
    FeedLibrary(const FeedLibrary &) = delete;
    FeedLibrary &operator=(const FeedLibrary &) = delete;

    static FeedLibrary &feedLibrary();

    static QString libraryPath();      // the program's folder in the per-user data folder
    static QString iconPath();         // feed icons, named by feed identifier
    static QString articleImagePath(); // article thumbnails, one sub-folder per feed
    static QString libraryFilePath();  // the archived tree
    static QString databasePath();     // the article database
    // Tools may keep a library in a folder of their own; empty means the per-user one again.
    // Set it before the library is loaded: every path above follows it.
    static void setLibraryPath(const QString &path);

    // On by default: write-ahead journalling and indexes on the look-up columns. They change no
    // answer of any statement, only its speed; off is for measuring what they buy.
    static void setTunesDatabase(bool tunes);

    // Start-up and saving. Saving writes the tree only, and only while this program holds the
    // library folder (taking it when nobody does) and the tree was read whole or restored.
    void load();
    VirtualFolderPtr loadNewsClippings();
    void save();
    // Gives the space of deleted articles back to the disk when a fifth of the database or more is
    // free; it rewrites the whole file, so it is for quitting, never for every save.
    void compactDatabase();

    // One writer at a time: the library folder is taken for this program alone, waiting up to `wait`
    // for another writer to let go. A lock left by a program that has died is taken over.
    bool lockForWriting(std::chrono::milliseconds wait = std::chrono::milliseconds::zero());
    bool holdsWriteLock() const;
    // The program holding the library folder, as "quillbay-cli (process 4242)"; empty when none does.
    QString lockHolder() const;

    // What load found wrong with Feeds.library. While there is trouble the library holds an empty tree
    // and never saves, so that an existing library is never replaced unasked.
    enum class TreeTrouble
    {
        None,
        Unreadable, // the file opens but does not decode
        Unopenable  // the file exists but cannot be opened at all; it stays untouched for the whole run
    };
    TreeTrouble treeTrouble() const { return m_treeTrouble; }
    QString treeTroubleReason() const { return m_treeTroubleReason; }
    QString newestReadableBackup() const;
    // Moves an unreadable Feeds.library aside and answers where it went.
    QString keepUnreadableTreeAside();
    // Puts a backup in place of Feeds.library and loads its tree, ending any trouble.
    bool restoreBackup(const QString &path);
    // Once the unreadable file has been kept aside: the empty tree becomes the library and is saved.
    void startNewLibrary();

    // Whatever may have changed the archived tree calls treeDidChange: the structural changes below do
    // it themselves, edits of a node in place (a rename) must. The observer hears it on that thread.
    void treeDidChange();
    void setTreeChangeObserver(std::function<void()> observer);

    FolderPtr root() const;
    void setRoot(const FolderPtr &root);
    VirtualFolderPtr newsClippings() const { return m_newsClippings; }
    void setNewsClippings(const VirtualFolderPtr &folder) { m_newsClippings = folder; }
    VirtualFolderPtr searchFolder() const { return m_searchFolder; }
    void setSearchFolder(const VirtualFolderPtr &folder) { m_searchFolder = folder; }
    std::shared_ptr<FMDatabase> database() const { return m_database; }
    void setDatabase(const std::shared_ptr<FMDatabase> &database) { m_database = database; }
    TreeNodeList selectedItems() const { return m_selectedItems; }
    void setSelectedItems(const TreeNodeList &items) { m_selectedItems = items; }
    bool libraryDirty() const { return m_libraryDirty; }
    void setLibraryDirty(bool dirty) { m_libraryDirty = dirty; }

    // Lists and lookups.
    FeedList allFeeds() const;
    ArticleList allArticles() const;
    QList<TreeNodePtr> allFolders() const;
    QList<VirtualFolderPtr> allVirtualFolders() const;
    ArticleList allUnreadArticles() const;
    ArticleList articlesMatchingDate(const CalendarDate &date) const;
    ArticleList articlesMatchingAuthorName(const QString &name) const;
    TreeNodeList articlesForFeed(const FeedPtr &feed) const;
    TreeNodeList articlesForFeeds(const std::optional<FeedList> &feeds) const;
    FeedList feedsForFolder(const FolderPtr &folder) const;
    QList<std::shared_ptr<Enclosure>> enclosuresForFeed(const FeedPtr &feed) const;
    bool feedContainsArticle(const FeedPtr &feed, const ArticlePtr &article) const;
    ArticlePtr articleWithGuid(const QString &guid, const FeedPtr &inFeed) const;
    TreeNodePtr itemWithUniqueID(const QString &uniqueID) const;
    TreeNodePtr itemWithUniqueIDInClippings(const QString &uniqueID) const;
    bool isItemAncestorOf(const TreeNodePtr &item, const TreeNodePtr &other) const;
    int totalUnreadArticleCount() const;
    int updateUnreadCounts();

    // The selection.
    TreeNodePtr selectedFolder() const;
    FeedList selectedFeeds() const;
    TreeNodeList selectedArticles() const;
    // The size of selectedArticles() without gathering them: the windows ask it on every notification
    // and menu opening, when the selection may be a folder of thousands of articles.
    qsizetype selectedArticleCount() const;

    // Navigation.
    ArticlePtr nextArticleAfter(const ArticlePtr &article) const;
    ArticlePtr previousArticleBefore(const ArticlePtr &article) const;
    ArticlePtr nextArticleInSearchFolderAfter(const ArticlePtr &article) const;
    ArticlePtr previousArticleInSearchFolderBefore(const ArticlePtr &article) const;

    // Stored articles and their states.
    void saveSummary(const QString &fullText, const ArticlePtr &forArticle);
    QString longSummaryForArticle(const ArticlePtr &article);
    void saveStateForArticle(const ArticlePtr &article);
    // Stores the enclosure anew with the article that holds it, as after its download.
    void saveEnclosure(const std::shared_ptr<Enclosure> &enclosure);
    void applyArticleState(int state, const FeedPtr &toFeed, bool preservingReadState);

    // Clippings.
    void addArticle(const ArticlePtr &article, const VirtualFolderPtr &toClippingsFolder);
    void deleteArticle(const ArticlePtr &article, const VirtualFolderPtr &fromClippingsFolder);

    void performSearchWithString(const QString &text);

    // Changes to the tree.
    void add(const TreeNodePtr &item, const TreeNodePtr &into, int atIndex);
    void remove(const TreeNodePtr &item, const TreeNodePtr &from);
    void removeChildrenForItem(const TreeNodePtr &item, bool deletingHistory);
    void deleteHistoryFor(const TreeNodePtr &item, const TreeNodePtr &from);

    // Deletes thumbnails whose article no longer exists; safe to run on any thread.
    void removeOrphanedThumbnailImages(std::chrono::milliseconds delay = std::chrono::seconds(60));

private:
    ArticleList allArticlesWhere(const std::function<bool(const Article &)> &matches) const;
    static FolderPtr emptyRoot();
    void addDefaultFeeds();
    void prepareFolders() const;
    void openDatabase();
    void createTablesAndSeedClippings();
    void tuneDatabase();
    FolderPtr readLibraryFile();
    void attachStoredArticles(const FeedPtr &feed);
    ArticlePtr welcomeArticle() const;
    ArticlePtr newsClippingsArticle() const;
    ArticlePtr seedArticle(const QString &uniqueID, const QString &titleKey, const QString &summaryKey,
                           const QString &page) const;
    ArticleList articlesFromQuery(const QString &sql, const QVariantList &values, const TreeNodePtr &parent);
    static ArticleRowValues rowValues(FMResultSet &results);
    static ArticlePtr articleSharingAuthors(ArticleRowValues &row, const TreeNodePtr &parent,
                                            const ArticleRow::Lookup &lookup,
                                            QHash<QString, QList<std::shared_ptr<QBPerson>>> &authorsByText);
    void insert(const TreeNodePtr &item, const TreeNodePtr &parent, int atIndex);
    void runInTransaction(const QString &sql, const QVariantList &values);
    void removeFeedHistory(const FeedPtr &feed);
    void startThumbnailCleanup();
    bool waitForCleanupDelay(std::chrono::milliseconds delay);
    static ArticlePtr neighbour(const TreeNodeList &list, const ArticlePtr &article, int step);

    mutable QMutex m_rootLock;
    FolderPtr m_root;
    VirtualFolderPtr m_newsClippings;
    VirtualFolderPtr m_searchFolder;
    TreeNodeList m_selectedItems;
    std::shared_ptr<FMDatabase> m_database;
    bool m_libraryDirty = true;
    TreeTrouble m_treeTrouble = TreeTrouble::None;
    QString m_treeTroubleReason;
    std::unique_ptr<LibraryLock> m_lock;
    std::mutex m_observerLock;
    std::function<void()> m_treeChangeObserver;

    std::thread m_cleanupThread;
    std::mutex m_cleanupLock;
    std::condition_variable m_cleanupWake;
    bool m_stopping = false;
};
