#include "fetch/ImagingService.h"

#include "fetch/QBImageManipulator.h"
#include "model/Article.h"
#include "model/Feed.h"
#include "platform/NotificationCenter.h"

#include <QCoreApplication>
#include <QDir>
#include <QMetaObject>
#include <algorithm>

ImagingService &ImagingService::sharedImagingService()
{
    static ImagingService service;
    return service;
}

ImagingService::ImagingService() = default;

ImagingService::~ImagingService()
{
    terminate();
}

void ImagingService::start()
{
    std::unique_lock locker(m_lock);
    if (m_worker.joinable() || !m_active)
        return;
    m_worker = std::thread([this] { run(); });
}

void ImagingService::addToQueue(const ArticlePtr &article)
{
    if (!article)
        return;
    // Read here, on the thread that owns the article, so that the worker needs nothing from it but the
    // identifier, which is safe to read anywhere.
    const std::shared_ptr<Feed> feed = article->source();
    Entry entry{article, article->imageURL(), feed ? feed->uniqueID() : QString()};
    std::unique_lock locker(m_lock);
    m_queue.append(entry);
    m_heartBeat = 0;
    m_wakeUp.notify_all();
}

void ImagingService::removeFromQueue(const ArticlePtr &article)
{
    std::unique_lock locker(m_lock);
    m_queue.removeIf([&](const Entry &queued) { return queued.article == article; });
}

ArticleList ImagingService::queue() const
{
    std::unique_lock locker(m_lock);
    ArticleList articles;
    articles.reserve(m_queue.size());
    for (const Entry &entry : m_queue)
        articles.append(entry.article);
    return articles;
}

void ImagingService::terminate()
{
    std::thread worker;
    {
        std::unique_lock locker(m_lock);
        m_active = false;
        m_wakeUp.notify_all();
        if (m_worker.get_id() == std::this_thread::get_id())
            return;
        worker = std::move(m_worker);
    }
    if (worker.joinable())
        worker.join();
}

void ImagingService::hibernate()
{
    std::unique_lock locker(m_lock);
    m_heartBeat = hibernatingHeartBeat;
}

void ImagingService::wake()
{
    std::unique_lock locker(m_lock);
    m_heartBeat = 0;
    m_wakeUp.notify_all();
}

int ImagingService::heartBeat() const
{
    std::unique_lock locker(m_lock);
    return m_heartBeat;
}

void ImagingService::run()
{
    bool handledArticle = false;
    while (m_active) {
        if (const std::optional<Entry> entry = takeFirstOrHibernate()) {
            if (!makeThumbnail(*entry))
                break;
            finishEntry(*entry);
            handledArticle = true;
        } else if (handledArticle) {
            postReload();
            handledArticle = false;
        }
        sleepForHeartBeat();
    }
}

std::optional<ImagingService::Entry> ImagingService::takeFirstOrHibernate()
{
    std::unique_lock locker(m_lock);
    if (!m_queue.isEmpty())
        return m_queue.first();
    m_heartBeat = hibernatingHeartBeat;
    return std::nullopt;
}

bool ImagingService::makeThumbnail(const Entry &entry)
{
    const QString folder = QStringLiteral("%1/%2").arg(FeedLibrary::articleImagePath(), entry.feedID);
    const QString file = QStringLiteral("%1/%2.jpg").arg(folder, entry.article->uniqueID());
    if (!QDir(folder).exists())
        QDir().mkdir(folder);

    QBImageManipulator picture;
    const bool fetched = picture.loadImageFromURL(entry.imageURL, [this] { return !m_active; });
    if (!m_active)
        return false;
    const QSize size = picture.image().size();
    if (!fetched || size.width() < smallestSide || size.height() < smallestSide) {
        const ArticlePtr article = entry.article;
        onMainThread([article] { article->setImageURL(QUrl()); });
        return true;
    }
    picture.setSquare(true);
    const int bound = (size.width() > thumbnailSide || size.height() > thumbnailSide)
                          ? thumbnailSide
                          : std::max(size.width(), size.height());
    picture.scaleImageMaxWidth(bound, bound);
    picture.saveImageToLocation(file, thumbnailQuality);
    return true;
}

void ImagingService::finishEntry(const Entry &entry)
{
    if (++m_count % reloadEvery == 0)
        postReload();
    std::unique_lock locker(m_lock);
    const auto queued = std::find_if(m_queue.begin(), m_queue.end(), [&](const Entry &candidate) {
        return candidate.article == entry.article;
    });
    if (queued != m_queue.end())
        m_queue.erase(queued);
}

void ImagingService::sleepForHeartBeat()
{
    std::unique_lock locker(m_lock);
    if (m_heartBeat > 0 && m_active)
        m_wakeUp.wait_for(locker, std::chrono::seconds(m_heartBeat));
}

void ImagingService::postReload()
{
    onMainThread(
        [] { NotificationCenter::defaultCenter().post(QStringLiteral("SummaryWebViewNeedsReload")); });
}

void ImagingService::onMainThread(std::function<void()> work)
{
    if (QCoreApplication *application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(work), Qt::QueuedConnection);
    else
        work();
}
