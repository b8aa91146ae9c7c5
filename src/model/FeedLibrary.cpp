#include "model/FeedLibrary.h"

#include "db/FMDatabase.h"
#include "db/FMResultSet.h"
#include "fetch/FeedUpdater.h"
#include "model/ArticleRow.h"
#include "model/LibraryArchive.h"
#include "model/LibraryBackups.h"
#include "model/LibraryLock.h"
#include "platform/AtomicFile.h"
#include "platform/LocalizedStrings.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"
#include "platform/PropertyList.h"
#include "platform/Resources.h"
#include "reading/OPMLImporter.h"
#include "reading/QBUtilities.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>
#include <algorithm>

namespace {
const QString insertColumns = QStringLiteral(
    " (guid, imageURL, link, parent, pubDateFormat, publicationDate, source, state, summary, fullSummary, "
    "title, uniqueID, authors, enclosure) values (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");

const QString tableColumns = QStringLiteral(
    " (id integer primary key, guid text, imageURL text, link text, parent text, pubDateFormat text, "
    "publicationDate text, source text, state number, summary text, fullSummary text, title text, "
    "uniqueID text, authors text, enclosure text)");

std::atomic<bool> tunesDatabase = true;

QMutex chosenLibraryPathLock;
QString chosenLibraryPath;

template <typename T> std::shared_ptr<T> as(const TreeNodePtr &node)
{
    return std::dynamic_pointer_cast<T>(node);
}

bool isKind(const TreeNodePtr &node, int kind)
{
    return node && node->kindOfObject() == kind;
}

bool isContainer(const TreeNodePtr &node)
{
    return isKind(node, TreeNode::FolderKind) || isKind(node, TreeNode::VirtualFolderKind);
}

void collectFeeds(const TreeNodePtr &node, FeedList &feeds)
{
    for (const TreeNodePtr &child : node->children()) {
        if (isKind(child, TreeNode::FeedKind))
            feeds.append(as<Feed>(child));
        else if (isContainer(child))
            collectFeeds(child, feeds);
    }
}

void collectArticles(const TreeNodePtr &node, ArticleList &articles)
{
    for (const TreeNodePtr &child : node->children()) {
        if (isKind(child, TreeNode::ArticleKind))
            articles.append(as<Article>(child));
        else
            collectArticles(child, articles);
    }
}

void collectVirtualFolders(const TreeNodePtr &node, QList<VirtualFolderPtr> &folders)
{
    for (const TreeNodePtr &child : node->children()) {
        if (isKind(child, TreeNode::VirtualFolderKind))
            folders.append(as<VirtualFolder>(child));
        if (isContainer(child))
            collectVirtualFolders(child, folders);
    }
}

void collectIdentifiers(const TreeNodePtr &node, QSet<QString> &identifiers)
{
    identifiers.insert(node->uniqueID());
    for (const TreeNodePtr &child : node->children())
        collectIdentifiers(child, identifiers);
}

TreeNodePtr findDepthFirst(const TreeNodePtr &node, const QString &uniqueID)
{
    if (node->uniqueID() == uniqueID)
        return node;
    for (const TreeNodePtr &child : node->children()) {
        if (child->childCount() == 0) {
            if (child->uniqueID() == uniqueID)
                return child;
        } else if (TreeNodePtr found = findDepthFirst(child, uniqueID)) {
            return found;
        }
    }
    return {};
}

ArticleList articlesOf(const TreeNodeList &nodes)
{
    ArticleList articles;
    for (const TreeNodePtr &node : nodes) {
        if (auto article = as<Article>(node))
            articles.append(article);
    }
    return articles;
}
} // namespace

FeedLibrary::FeedLibrary()
    : m_newsClippings(std::make_shared<VirtualFolder>(QStringLiteral("News Clippings")))
{
}

FeedLibrary::~FeedLibrary()
{
    {
        std::lock_guard<std::mutex> locker(m_cleanupLock);
        m_stopping = true;
    }
    m_cleanupWake.notify_all();
    if (m_cleanupThread.joinable())
        m_cleanupThread.join();
}

FeedLibrary &FeedLibrary::feedLibrary()
{
    static FeedLibrary library;
    return library;
}

QString FeedLibrary::libraryPath()
{
    {
        QMutexLocker locker(&chosenLibraryPathLock);
        if (!chosenLibraryPath.isEmpty())
            return chosenLibraryPath;
    }
    return QStringLiteral("%1/%2").arg(QBUtilities::applicationSupportPath(), QStringLiteral("QuillBay"));
}

void FeedLibrary::setLibraryPath(const QString &path)
{
    QMutexLocker locker(&chosenLibraryPathLock);
    chosenLibraryPath = path;
}

QString FeedLibrary::iconPath()
{
    return QStringLiteral("%1/%2").arg(libraryPath(), QStringLiteral("Icons"));
}

QString FeedLibrary::articleImagePath()
{
    return QStringLiteral("%1/%2").arg(libraryPath(), QStringLiteral("Images"));
}

QString FeedLibrary::libraryFilePath()
{
    return QStringLiteral("%1/%2").arg(libraryPath(), QStringLiteral("Feeds.library"));
}

QString FeedLibrary::databasePath()
{
    return QStringLiteral("%1/Articles.db").arg(libraryPath());
}

FolderPtr FeedLibrary::root() const
{
    QMutexLocker locker(&m_rootLock);
    return m_root;
}

void FeedLibrary::setRoot(const FolderPtr &root)
{
    QMutexLocker locker(&m_rootLock);
    m_root = root;
}

// ---- start-up and saving

void FeedLibrary::load()
{
    m_treeTrouble = TreeTrouble::None;
    prepareFolders();
    openDatabase();
    FolderPtr decoded = QFileInfo::exists(libraryFilePath()) ? readLibraryFile() : FolderPtr();
    if (decoded) {
        setRoot(decoded);
        for (const FeedPtr &feed : allFeeds())
            attachStoredArticles(feed);
    } else {
        setRoot(emptyRoot());
        // A new library starts with the shipped subscriptions, flattened into the root in list order;
        // one whose tree could not be read starts empty, so that nobody takes the defaults for their own.
        if (m_treeTrouble == TreeTrouble::None)
            addDefaultFeeds();
    }
    startThumbnailCleanup();
}

FolderPtr FeedLibrary::emptyRoot()
{
    auto fresh = std::make_shared<Folder>();
    fresh->setTitle(QStringLiteral("Feed Library"));
    fresh->setUniqueID(QStringLiteral("root"));
    return fresh;
}

void FeedLibrary::addDefaultFeeds()
{
    const QString list = Resources::path(QStringLiteral("DefaultFeeds"), QStringLiteral("opml"));
    const FeedList defaults = OPMLImporter::importFeedsFromPath(list).feeds();
    const FolderPtr top = root();
    for (int i = 0; i < defaults.size(); ++i)
        add(defaults.at(i), top, i);
}

// The folder and every file in it are the user's alone: feed passwords live in the tree. Older
// libraries made with wider modes are narrowed too.
void FeedLibrary::prepareFolders() const
{
    for (const QString &folder : {libraryPath(), iconPath(), articleImagePath()})
        QDir().mkpath(folder);
    QFile::setPermissions(libraryPath(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    const LibraryBackups backups(libraryFilePath());
    QStringList files{libraryFilePath(), databasePath(), databasePath() + QStringLiteral("-wal"),
                      databasePath() + QStringLiteral("-shm")};
    for (int generation = 1; generation <= LibraryBackups::generations; ++generation)
        files << backups.path(generation);
    for (const QString &file : files)
        if (QFileInfo::exists(file))
            QFile::setPermissions(file, AtomicFile::privateFileModes);
}

void FeedLibrary::openDatabase()
{
    const bool existed = QFileInfo::exists(databasePath());
    m_database = FMDatabase::databaseWithPath(databasePath());
    if (!m_database || !m_database->open())
        return;
    // Before the journal files exist: SQLite gives them the database's own modes.
    QFile::setPermissions(databasePath(), AtomicFile::privateFileModes);
    if (!existed) {
        createTablesAndSeedClippings();
    } else if (!m_database->executeQuery(QStringLiteral("SELECT count(*) FROM sqlite_master"))) {
        Log::write(
            QStringLiteral("-[FeedLibrary load] %1 is not a database QuillBay can read; it is left as it "
                           "is and no article will be stored until it is moved away")
                .arg(databasePath()));
        return;
    }
    if (tunesDatabase)
        tuneDatabase();
}

void FeedLibrary::setTunesDatabase(bool tunes)
{
    tunesDatabase = tunes;
}

// One transaction per stored article is the rule; write-ahead journalling with normal syncing keeps each
// such commit cheap, and the indexes turn every feed's load and every state write from a scan of the
// whole table into a look-up.
void FeedLibrary::tuneDatabase()
{
    for (const char *pragma : {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=NORMAL"}) {
        if (const auto results = m_database->executeQuery(QLatin1String(pragma))) {
            results->next();
            results->close();
        }
    }
    m_database->executeUpdate(
        QStringLiteral("CREATE INDEX IF NOT EXISTS articlesByParent ON articles(parent)"));
    m_database->executeUpdate(
        QStringLiteral("CREATE INDEX IF NOT EXISTS articlesByUniqueID ON articles(uniqueID)"));
    m_database->executeUpdate(
        QStringLiteral("CREATE INDEX IF NOT EXISTS clippingsByUniqueID ON clippings(uniqueID)"));
}

void FeedLibrary::createTablesAndSeedClippings()
{
    m_database->executeUpdate(QStringLiteral("create table articles") + tableColumns);
    m_database->executeUpdate(QStringLiteral("create table clippings") + tableColumns);
    addArticle(welcomeArticle(), m_newsClippings);
    addArticle(newsClippingsArticle(), m_newsClippings);
}

// A tree that cannot be read is left exactly where it is and never saved over: what to do with it
// is the user's choice (keepUnreadableTreeAside, restoreBackup, startNewLibrary).
FolderPtr FeedLibrary::readLibraryFile()
{
    QFile file(libraryFilePath());
    if (!file.open(QIODevice::ReadOnly)) {
        m_treeTrouble = TreeTrouble::Unopenable;
        m_treeTroubleReason = file.errorString();
        Log::write(QStringLiteral("-[FeedLibrary load] cannot read %1: %2; it is left as it is and never "
                                  "saved over")
                       .arg(file.fileName(), file.errorString()));
        return {};
    }
    const QByteArray bytes = file.readAll();
    file.close();
    const auto decoded = as<Folder>(LibraryArchive::unarchiveRoot(bytes));
    if (!decoded) {
        m_treeTrouble = TreeTrouble::Unreadable;
        m_treeTroubleReason = QStringLiteral("it is damaged or not a QuillBay library");
        Log::write(QStringLiteral("-[FeedLibrary load] %1 could not be read; it is left as it is and the "
                                  "library starts empty")
                       .arg(libraryFilePath()));
    } else if (holdsWriteLock()) {
        LibraryBackups(libraryFilePath()).keep(bytes);
    }
    return decoded;
}

QString FeedLibrary::newestReadableBackup() const
{
    return LibraryBackups(libraryFilePath()).newestReadable();
}

// A library file that cannot be read may still be rescued by hand, so it is moved aside, never overwritten.
QString FeedLibrary::keepUnreadableTreeAside()
{
    if (m_treeTrouble != TreeTrouble::Unreadable)
        return {};
    const QString kept =
        QStringLiteral("%1.unreadable-%2")
            .arg(libraryFilePath(), QDateTime::currentDateTime().toString("yyyyMMdd-HHmmss"));
    if (!QFile::rename(libraryFilePath(), kept)) {
        Log::write(QStringLiteral("-[FeedLibrary load] could not move %1 aside; it is left in place")
                       .arg(libraryFilePath()));
        return libraryFilePath();
    }
    Log::write(QStringLiteral("-[FeedLibrary load] %1 could not be read; kept it as %2")
                   .arg(libraryFilePath(), kept));
    return kept;
}

bool FeedLibrary::restoreBackup(const QString &path)
{
    QFile file(path);
    const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const FolderPtr decoded = as<Folder>(LibraryArchive::unarchiveRoot(bytes));
    QString error;
    if (!decoded || !AtomicFile::writePrivate(libraryFilePath(), bytes, &error)) {
        Log::write(QStringLiteral("-[FeedLibrary restoreBackup:] could not restore %1: %2")
                       .arg(path, error.isEmpty() ? QStringLiteral("it cannot be read") : error));
        return false;
    }
    m_treeTrouble = TreeTrouble::None;
    m_treeTroubleReason.clear();
    setRoot(decoded);
    m_libraryDirty = true;
    for (const FeedPtr &feed : allFeeds())
        attachStoredArticles(feed);
    return true;
}

void FeedLibrary::startNewLibrary()
{
    if (m_treeTrouble == TreeTrouble::Unreadable && !QFileInfo::exists(libraryFilePath())) {
        m_treeTrouble = TreeTrouble::None;
        m_treeTroubleReason.clear();
        treeDidChange();
    }
}

void FeedLibrary::attachStoredArticles(const FeedPtr &feed)
{
    feed->setChildren({});
    const ArticleList stored = articlesFromQuery(QStringLiteral("SELECT * FROM articles where parent = ?"),
                                                 {feed->uniqueID()}, feed);
    feed->addChildren({stored.cbegin(), stored.cend()});
    // Newest first, as the readers insert them while the program runs; undated articles go last.
    TreeNodeList children = feed->children();
    std::stable_sort(children.begin(), children.end(), [](const TreeNodePtr &a, const TreeNodePtr &b) {
        const CalendarDate first = as<Article>(a)->legacyPublicationDate();
        const CalendarDate second = as<Article>(b)->legacyPublicationDate();
        if (second.isNull())
            return !first.isNull();
        return !first.isNull() && first.moment() > second.moment();
    });
    feed->setChildren(children);
    feed->releaseArticleIndex();
    feed->updateUnreadCount();
}

VirtualFolderPtr FeedLibrary::loadNewsClippings()
{
    if (!m_database)
        load();
    for (const ArticlePtr &article :
         articlesFromQuery(QStringLiteral("SELECT * FROM clippings"), {}, nullptr)) {
        m_newsClippings->addChild(article);
        article->setParent(m_newsClippings);
    }
    return m_newsClippings;
}

void FeedLibrary::save()
{
    if (m_treeTrouble != TreeTrouble::None) {
        Log::write(QStringLiteral("-[FeedLibrary save] %1 could not be read at start; it is not saved over")
                       .arg(libraryFilePath()));
        return;
    }
    if (!lockForWriting()) {
        const QString holder = lockHolder();
        Log::write(holder.isEmpty()
                       ? QStringLiteral("-[FeedLibrary save] %1 cannot be written; the tree is not saved")
                             .arg(libraryPath())
                       : QStringLiteral("-[FeedLibrary save] %1 is in use by %2; the tree is not saved")
                             .arg(libraryPath(), holder));
        return;
    }
    QString error;
    if (!AtomicFile::writePrivate(libraryFilePath(), LibraryArchive::archivedData(root()), &error))
        Log::write(
            QStringLiteral("-[FeedLibrary save] could not write %1: %2").arg(libraryFilePath(), error));
}

// Deleted articles leave free pages that SQLite reuses; giving them back to the disk rewrites the
// whole file, so it is done only when a fifth of the file or more would come back.
void FeedLibrary::compactDatabase()
{
    if (!m_database || !holdsWriteLock())
        return;
    const auto pragma = [this](const QString &name) -> qint64 {
        const auto results = m_database->executeQuery(QStringLiteral("PRAGMA ") + name);
        const qint64 value = results && results->next() ? results->longLongIntForColumn(name) : 0;
        if (results)
            results->close();
        return value;
    };
    const qint64 pages = pragma(QStringLiteral("page_count"));
    const qint64 free = pragma(QStringLiteral("freelist_count"));
    if (free > 0 && free * 5 >= pages)
        m_database->executeUpdate(QStringLiteral("VACUUM"));
}

bool FeedLibrary::lockForWriting(std::chrono::milliseconds wait)
{
    if (!m_lock || m_lock->folder() != libraryPath()) {
        QDir().mkpath(libraryPath());
        m_lock = std::make_unique<LibraryLock>(libraryPath());
    }
    return m_lock->tryLock(wait);
}

bool FeedLibrary::holdsWriteLock() const
{
    return m_lock && m_lock->isLocked() && m_lock->folder() == libraryPath();
}

QString FeedLibrary::lockHolder() const
{
    return LibraryLock(libraryPath()).holder();
}

void FeedLibrary::treeDidChange()
{
    std::function<void()> observer;
    {
        std::lock_guard<std::mutex> locker(m_observerLock);
        observer = m_treeChangeObserver;
    }
    if (observer)
        observer();
}

void FeedLibrary::setTreeChangeObserver(std::function<void()> observer)
{
    std::lock_guard<std::mutex> locker(m_observerLock);
    m_treeChangeObserver = std::move(observer);
}

ArticlePtr FeedLibrary::welcomeArticle() const
{
    return seedArticle(QStringLiteral("QuillBay-SideBarWelcome"), QStringLiteral("WelcomeArticleTitle"),
                       QStringLiteral("WelcomeArticleSummary"), QStringLiteral("welcome"));
}

ArticlePtr FeedLibrary::newsClippingsArticle() const
{
    return seedArticle(QStringLiteral("QuillBay-SideBarHelp"), QStringLiteral("SideBarArticleTitle"),
                       QStringLiteral("SideBarArticleSummary"), QStringLiteral("newsclippings"));
}

ArticlePtr FeedLibrary::seedArticle(const QString &uniqueID, const QString &titleKey,
                                    const QString &summaryKey, const QString &page) const
{
    auto article = std::make_shared<Article>();
    article->setTitle(LocalizedStrings::text(titleKey));
    article->setSummary(LocalizedStrings::text(summaryKey));
    QString text = Resources::text(page, QStringLiteral("html"));
    text.replace(QStringLiteral("$IMAGE_PATH"), Resources::folderUrl().toString(), Qt::CaseInsensitive);
    article->setFullSummary(text);
    article->setUniqueID(uniqueID);
    article->setGuid(uniqueID);
    article->setLegacyPublicationDate(CalendarDate::now());
    article->setCreationDate(QDateTime::currentDateTimeUtc());
    return article;
}

// ---- reading rows

ArticleList FeedLibrary::articlesFromQuery(const QString &sql, const QVariantList &values,
                                           const TreeNodePtr &parent)
{
    ArticleList articles;
    if (!m_database)
        return articles;
    const auto results = m_database->executeQuery(sql, values);
    if (!results)
        return articles;
    // A row names its feed by identifier; walking the whole tree for every row made searches quadratic.
    QHash<QString, TreeNodePtr> feedsByID;
    const auto lookup = [&](const QString &uniqueID) {
        if (feedsByID.isEmpty()) {
            for (const FeedPtr &feed : allFeeds())
                feedsByID.insert(feed->uniqueID(), feed);
        }
        return feedsByID.value(uniqueID);
    };
    QString sharedFormat;
    QHash<QString, QList<std::shared_ptr<QBPerson>>> authorsByText;
    while (results->next()) {
        ArticleRowValues row = rowValues(*results);
        // Nearly every row repeats one date format; sharing its text saves a string per article.
        if (row.pubDateFormat == sharedFormat)
            row.pubDateFormat = sharedFormat;
        else
            sharedFormat = row.pubDateFormat;
        articles.append(articleSharingAuthors(row, parent, lookup, authorsByText));
    }
    return articles;
}

// A feed's articles mostly name the same few people: each distinct text is read once and its
// persons are shared by every article that names them, which saves memory and time on load.
ArticlePtr FeedLibrary::articleSharingAuthors(ArticleRowValues &row, const TreeNodePtr &parent,
                                              const ArticleRow::Lookup &lookup,
                                              QHash<QString, QList<std::shared_ptr<QBPerson>>> &authorsByText)
{
    constexpr qsizetype remembered = 1024;
    const QString text = row.authors;
    const auto known = text.isNull() ? authorsByText.cend() : authorsByText.constFind(text);
    if (known == authorsByText.cend()) {
        const ArticlePtr article = ArticleRow::articleFromRow(row, parent, lookup);
        if (!text.isNull() && authorsByText.size() < remembered)
            authorsByText.insert(text, article->authors());
        return article;
    }
    row.authors = QString();
    const ArticlePtr article = ArticleRow::articleFromRow(row, parent, lookup);
    article->setAuthors(*known);
    return article;
}

ArticleRowValues FeedLibrary::rowValues(FMResultSet &results)
{
    ArticleRowValues row;
    row.uniqueID = results.stringForColumn(QStringLiteral("uniqueID"));
    row.title = results.stringForColumn(QStringLiteral("title"));
    row.link = results.stringForColumn(QStringLiteral("link"));
    row.imageURL = results.stringForColumn(QStringLiteral("imageURL"));
    row.guid = results.stringForColumn(QStringLiteral("guid"));
    row.authors = results.stringForColumn(QStringLiteral("authors"));
    row.enclosure = results.stringForColumn(QStringLiteral("enclosure"));
    row.source = results.stringForColumn(QStringLiteral("source"));
    row.publicationDate = results.stringForColumn(QStringLiteral("publicationDate"));
    row.pubDateFormat = results.stringForColumn(QStringLiteral("pubDateFormat"));
    row.summary = results.stringForColumn(QStringLiteral("summary"));
    row.state = results.intForColumn(QStringLiteral("state"));
    return row;
}

void FeedLibrary::runInTransaction(const QString &sql, const QVariantList &values)
{
    if (!m_database)
        return;
    m_database->beginTransaction();
    m_database->executeUpdate(sql, values);
    m_database->commit();
}

// ---- lists and lookups

FeedList FeedLibrary::allFeeds() const
{
    FeedList feeds;
    if (const FolderPtr top = root())
        collectFeeds(top, feeds);
    return feeds;
}

ArticleList FeedLibrary::allArticles() const
{
    ArticleList articles;
    if (const FolderPtr top = root())
        collectArticles(top, articles);
    return articles;
}

QList<TreeNodePtr> FeedLibrary::allFolders() const
{
    QList<TreeNodePtr> folders;
    const FolderPtr top = root();
    if (!top)
        return folders;
    for (const TreeNodePtr &child : top->children()) {
        if (!isKind(child, TreeNode::FolderKind))
            continue;
        folders.append(child);
        QList<VirtualFolderPtr> virtualFolders;
        collectVirtualFolders(child, virtualFolders);
        for (const VirtualFolderPtr &folder : std::as_const(virtualFolders))
            folders.append(folder);
    }
    return folders;
}

QList<VirtualFolderPtr> FeedLibrary::allVirtualFolders() const
{
    QList<VirtualFolderPtr> folders;
    if (const FolderPtr top = root())
        collectVirtualFolders(top, folders);
    return folders;
}

ArticleList FeedLibrary::allUnreadArticles() const
{
    return allArticlesWhere([](const Article &article) {
        return article.state() == Article::Unread || article.state() == Article::New;
    });
}

ArticleList FeedLibrary::articlesMatchingDate(const CalendarDate &date) const
{
    return allArticlesWhere([&date](const Article &article) {
        const CalendarDate published = article.legacyPublicationDate();
        return !published.isNull() && published.year() == date.year() &&
               published.dayOfYear() == date.dayOfYear();
    });
}

ArticleList FeedLibrary::articlesMatchingAuthorName(const QString &name) const
{
    return allArticlesWhere([&name](const Article &article) {
        const auto authors = article.authors();
        return !authors.isEmpty() && authors.first()->name() == name;
    });
}

ArticleList FeedLibrary::allArticlesWhere(const std::function<bool(const Article &)> &matches) const
{
    ArticleList matching;
    for (const ArticlePtr &article : allArticles()) {
        if (matches(*article))
            matching.append(article);
    }
    return matching;
}

TreeNodeList FeedLibrary::articlesForFeed(const FeedPtr &feed) const
{
    if (!feed) {
        Log::write(QStringLiteral("- [FeedLibrary articlesForFeed:] called with nil feed"));
        return {};
    }
    return feed->children();
}

TreeNodeList FeedLibrary::articlesForFeeds(const std::optional<FeedList> &feeds) const
{
    if (!feeds) {
        Log::write(QStringLiteral("- [FeedLibrary articlesForFeeds:] called with nil array"));
        return {};
    }
    TreeNodeList articles;
    for (const FeedPtr &feed : *feeds)
        articles += feed->children();
    return articles;
}

FeedList FeedLibrary::feedsForFolder(const FolderPtr &folder) const
{
    if (!folder) {
        Log::write(QStringLiteral("- [FeedLibrary feedsForFolder:] called with nil folder"));
        return {};
    }
    FeedList feeds;
    for (const TreeNodePtr &child : folder->children()) {
        if (isKind(child, TreeNode::FeedKind))
            feeds.append(as<Feed>(child));
    }
    return feeds;
}

QList<std::shared_ptr<Enclosure>> FeedLibrary::enclosuresForFeed(const FeedPtr &feed) const
{
    QList<std::shared_ptr<Enclosure>> enclosures;
    for (const ArticlePtr &article : articlesOf(feed ? feed->children() : TreeNodeList())) {
        if (article->enclosure())
            enclosures.append(article->enclosure());
    }
    return enclosures;
}

bool FeedLibrary::feedContainsArticle(const FeedPtr &feed, const ArticlePtr &article) const
{
    return feed && article && feed->childEqualTo(*article);
}

ArticlePtr FeedLibrary::articleWithGuid(const QString &guid, const FeedPtr &inFeed) const
{
    return inFeed ? std::dynamic_pointer_cast<Article>(inFeed->childWithGuid(guid)) : ArticlePtr();
}

TreeNodePtr FeedLibrary::itemWithUniqueID(const QString &uniqueID) const
{
    const FolderPtr top = root();
    return top ? findDepthFirst(top, uniqueID) : TreeNodePtr();
}

TreeNodePtr FeedLibrary::itemWithUniqueIDInClippings(const QString &uniqueID) const
{
    return findDepthFirst(m_newsClippings, uniqueID);
}

bool FeedLibrary::isItemAncestorOf(const TreeNodePtr &item, const TreeNodePtr &other) const
{
    for (TreeNodePtr node = other; node; node = node->parent()) {
        if (node == item)
            return true;
        if (node->uniqueID() == QLatin1String("root") || node == root())
            return false;
    }
    return false;
}

int FeedLibrary::totalUnreadArticleCount() const
{
    int total = 0;
    for (const FeedPtr &feed : allFeeds())
        total += feed->unreadCount();
    return total;
}

int FeedLibrary::updateUnreadCounts()
{
    for (const FeedPtr &feed : allFeeds())
        feed->updateUnreadCount();
    return totalUnreadArticleCount();
}

// ---- selection

TreeNodePtr FeedLibrary::selectedFolder() const
{
    for (const TreeNodePtr &item : m_selectedItems) {
        if (isKind(item, TreeNode::FeedKind))
            return item->parent();
        if (isContainer(item))
            return item;
    }
    return {};
}

FeedList FeedLibrary::selectedFeeds() const
{
    FeedList feeds;
    for (const TreeNodePtr &item : m_selectedItems) {
        if (isKind(item, TreeNode::FeedKind))
            feeds.append(as<Feed>(item));
        else if (isContainer(item))
            collectFeeds(item, feeds);
    }
    return feeds;
}

TreeNodeList FeedLibrary::selectedArticles() const
{
    const FeedList feeds = selectedFeeds();
    if (!feeds.isEmpty())
        return articlesForFeeds(feeds);
    TreeNodeList articles;
    for (const TreeNodePtr &item : m_selectedItems) {
        if (isKind(item, TreeNode::ArticleKind))
            articles.append(item);
        else if (isKind(item, TreeNode::VirtualFolderKind))
            articles += item->children();
    }
    return articles;
}

qsizetype FeedLibrary::selectedArticleCount() const
{
    const FeedList feeds = selectedFeeds();
    qsizetype count = 0;
    if (!feeds.isEmpty()) {
        for (const FeedPtr &feed : feeds)
            count += feed->childCount();
        return count;
    }
    for (const TreeNodePtr &item : m_selectedItems) {
        if (isKind(item, TreeNode::ArticleKind))
            ++count;
        else if (isKind(item, TreeNode::VirtualFolderKind))
            count += item->childCount();
    }
    return count;
}

// ---- navigation

ArticlePtr FeedLibrary::neighbour(const TreeNodeList &list, const ArticlePtr &article, int step)
{
    qsizetype index = -1;
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (list.at(i) == article) {
            index = i;
            break;
        }
    }
    if (step < 0 && index <= 0)
        return article;
    const qsizetype target = index + step;
    if (target >= list.size())
        return article;
    return as<Article>(list.at(target));
}

ArticlePtr FeedLibrary::nextArticleAfter(const ArticlePtr &article) const
{
    const ArticleList articles = allArticles();
    return neighbour({articles.cbegin(), articles.cend()}, article, 1);
}

ArticlePtr FeedLibrary::previousArticleBefore(const ArticlePtr &article) const
{
    const ArticleList articles = allArticles();
    return neighbour({articles.cbegin(), articles.cend()}, article, -1);
}

ArticlePtr FeedLibrary::nextArticleInSearchFolderAfter(const ArticlePtr &article) const
{
    return neighbour(m_searchFolder ? m_searchFolder->children() : TreeNodeList(), article, 1);
}

ArticlePtr FeedLibrary::previousArticleInSearchFolderBefore(const ArticlePtr &article) const
{
    return neighbour(m_searchFolder ? m_searchFolder->children() : TreeNodeList(), article, -1);
}

// ---- stored articles and states

void FeedLibrary::saveSummary(const QString &fullText, const ArticlePtr &forArticle)
{
    runInTransaction(QStringLiteral("insert into articles") + insertColumns,
                     ArticleRow::rowValues(*forArticle, ArticleRow::ArticlesTable, fullText));
}

QString FeedLibrary::longSummaryForArticle(const ArticlePtr &article)
{
    if (!m_database || !article)
        return QStringLiteral("");
    const bool clipped = article->parent() && article->parent() == m_newsClippings;
    const QString sql = clipped ? QStringLiteral("SELECT * FROM clippings where uniqueID = ?")
                                : QStringLiteral("SELECT * FROM articles where uniqueID = ?");
    QString text;
    if (const auto results = m_database->executeQuery(sql, {article->uniqueID()})) {
        while (results->next())
            text = results->stringForColumn(QStringLiteral("fullSummary"));
    }
    if (text.isNull() || text == QLatin1String("(null)"))
        return QStringLiteral("");
    return text;
}

void FeedLibrary::saveStateForArticle(const ArticlePtr &article)
{
    if (!m_database)
        return;
    const QVariantList values{article->storedState(), article->uniqueID()};
    m_database->beginTransaction();
    m_database->executeUpdate(QStringLiteral("UPDATE clippings SET state=? WHERE uniqueID=?"), values);
    m_database->executeUpdate(QStringLiteral("UPDATE articles SET state=? WHERE uniqueID=?"), values);
    m_database->commit();
}

void FeedLibrary::saveEnclosure(const std::shared_ptr<Enclosure> &enclosure)
{
    if (!m_database || !enclosure)
        return;
    for (const ArticlePtr &article : allArticles()) {
        if (article->enclosure() != enclosure)
            continue;
        const QVariantList values{PropertyList::write(enclosure->archiveToDictionary()), article->uniqueID()};
        m_database->beginTransaction();
        m_database->executeUpdate(QStringLiteral("UPDATE clippings SET enclosure=? WHERE uniqueID=?"),
                                  values);
        m_database->executeUpdate(QStringLiteral("UPDATE articles SET enclosure=? WHERE uniqueID=?"), values);
        m_database->commit();
        return;
    }
}

void FeedLibrary::applyArticleState(int state, const FeedPtr &toFeed, bool preservingReadState)
{
    if (!toFeed)
        return;
    for (const ArticlePtr &article : articlesOf(toFeed->children())) {
        if (!preservingReadState || article->state() != Article::Read)
            article->setState(state);
    }
    if (!preservingReadState)
        runInTransaction(QStringLiteral("UPDATE articles SET state=? WHERE parent=?"),
                         {state, toFeed->uniqueID()});
}

// ---- clippings

void FeedLibrary::addArticle(const ArticlePtr &article, const VirtualFolderPtr &)
{
    const QString text =
        article->fullSummary().isEmpty() ? longSummaryForArticle(article) : article->fullSummary();
    runInTransaction(QStringLiteral("insert into clippings") + insertColumns,
                     ArticleRow::rowValues(*article, ArticleRow::ClippingsTable, text));
}

void FeedLibrary::deleteArticle(const ArticlePtr &article, const VirtualFolderPtr &)
{
    runInTransaction(QStringLiteral("DELETE FROM clippings WHERE uniqueID = ?"), {article->uniqueID()});
}

// ---- search

void FeedLibrary::performSearchWithString(const QString &text)
{
    const QString pattern = QStringLiteral("%%1%").arg(text);
    auto folder = std::make_shared<VirtualFolder>(QStringLiteral("Search: %1").arg(text));
    m_selectedItems = {folder};
    const ArticleList found = articlesFromQuery(
        QStringLiteral("SELECT * FROM articles WHERE title LIKE ? OR fullSummary LIKE ? COLLATE NOCASE"),
        {pattern, pattern}, nullptr);
    TreeNodeList children;
    children.reserve(found.size());
    for (const ArticlePtr &article : found) {
        children.append(article);
        article->setParent(folder);
    }
    folder->addChildren(children);
    m_searchFolder = folder;
    NotificationCenter::defaultCenter().post(QStringLiteral("FeedSearchPerformedWithString"), text);
    NotificationCenter::defaultCenter().post(QStringLiteral("feedSelectionChanged"),
                                             QVariant::fromValue<TreeNodePtr>(folder));
}

// ---- tree changes

namespace {
// The updater's due check must not walk the tree while it changes; a tool without an updater has
// nothing to pause.
void pauseScheduledUpdates(bool pause)
{
    if (FeedUpdater *updater = FeedUpdater::existingSharedFeedUpdater())
        updater->setPauseScheduledUpdates(pause);
}
} // namespace

void FeedLibrary::add(const TreeNodePtr &item, const TreeNodePtr &into, int atIndex)
{
    pauseScheduledUpdates(true);
    if (!item)
        Log::write(QStringLiteral("- [QBFeedLibrary add:into:atIndex:] called with nil item to add."));
    else
        insert(item, into ? into : TreeNodePtr(root()), atIndex);
    pauseScheduledUpdates(false);
    if (item)
        treeDidChange();
}

void FeedLibrary::insert(const TreeNodePtr &item, const TreeNodePtr &parent, int atIndex)
{
    if (parent->hasChild(item)) {
        parent->removeChild(item);
        parent->addChild(item, atIndex);
        return;
    }
    const TreeNodePtr previous = item->parent();
    item->setParent(parent);
    parent->addChild(item, atIndex);
    if (previous && previous != parent)
        previous->removeChild(item);
    m_libraryDirty = true;
}

void FeedLibrary::remove(const TreeNodePtr &item, const TreeNodePtr &from)
{
    pauseScheduledUpdates(true);
    if (from)
        from->removeChild(item);
    m_libraryDirty = true;
    pauseScheduledUpdates(false);
    treeDidChange();
}

void FeedLibrary::removeFeedHistory(const FeedPtr &feed)
{
    QDir(QStringLiteral("%1/%2").arg(articleImagePath(), feed->uniqueID())).removeRecursively();
    runInTransaction(QStringLiteral("DELETE FROM articles WHERE parent = ?"), {feed->uniqueID()});
}

void FeedLibrary::deleteHistoryFor(const TreeNodePtr &item, const TreeNodePtr &)
{
    if (const auto article = as<Article>(item)) {
        runInTransaction(QStringLiteral("DELETE FROM articles WHERE uniqueID = ?"), {article->uniqueID()});
        const auto source = article->source();
        if (source)
            QFile::remove(QStringLiteral("%1/%2/%3.jpg")
                              .arg(articleImagePath(), source->uniqueID(), article->uniqueID()));
    } else if (const auto feed = as<Feed>(item)) {
        removeFeedHistory(feed);
    } else if (isKind(item, TreeNode::FolderKind)) {
        for (const TreeNodePtr &child : item->children())
            deleteHistoryFor(child, item);
    }
}

void FeedLibrary::removeChildrenForItem(const TreeNodePtr &item, bool deletingHistory)
{
    if (!item)
        return;
    if (deletingHistory && isKind(item, TreeNode::FeedKind))
        removeFeedHistory(as<Feed>(item));
    item->removeChildren();
    m_libraryDirty = true;
    treeDidChange();
}

// ---- thumbnail clean-up

void FeedLibrary::startThumbnailCleanup()
{
    if (m_cleanupThread.joinable())
        return;
    m_cleanupThread = std::thread([this] { removeOrphanedThumbnailImages(); });
}

bool FeedLibrary::waitForCleanupDelay(std::chrono::milliseconds delay)
{
    std::unique_lock<std::mutex> locker(m_cleanupLock);
    return !m_cleanupWake.wait_for(locker, delay, [this] { return m_stopping; });
}

// Runs away from the main thread while the tree may change: it reads only identifiers and child lists,
// which nodes hand out whole, and it lists a folder's files before it looks at the tree, so that a
// thumbnail written meanwhile always belongs to an article the look-up can see.
void FeedLibrary::removeOrphanedThumbnailImages(std::chrono::milliseconds delay)
{
    if (!waitForCleanupDelay(delay))
        return;
    const FeedList feeds = allFeeds();
    const QString taskName = LocalizedStrings::text(QStringLiteral("CleanLibraryImagesTask"));
    auto progress = [&](int done) {
        NotificationCenter::defaultCenter().post(
            QStringLiteral("ActiveTaskNotification"), QVariant::fromValue(static_cast<void *>(this)),
            {{QStringLiteral("ActiveTaskMaxValueKey"), double(feeds.size())},
             {QStringLiteral("ActiveTaskValueKey"), done},
             {QStringLiteral("ActiveTaskNameKey"), taskName}});
    };
    progress(0);

    QList<QFileInfoList> files;
    for (const FeedPtr &feed : feeds)
        files.append(QDir(QStringLiteral("%1/%2").arg(articleImagePath(), feed->uniqueID()))
                         .entryInfoList(QDir::Files));
    QSet<QString> identifiers;
    if (const FolderPtr top = root())
        collectIdentifiers(top, identifiers);

    for (qsizetype i = 0; i < feeds.size(); ++i) {
        for (const QFileInfo &file : std::as_const(files.at(i))) {
            if (!identifiers.contains(file.completeBaseName()))
                QFile::remove(file.filePath());
        }
        progress(int(i + 1));
    }
}
