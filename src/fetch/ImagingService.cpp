#include "fetch/ImagingService.h"

#include "model/Article.h"

ImagingService &ImagingService::sharedImagingService()
{
    static ImagingService service;
    return service;
}

void ImagingService::addToQueue(const ArticlePtr &article)
{
    if (!article)
        return;
    QMutexLocker locker(&m_lock);
    m_queue.append(article);
}

void ImagingService::removeFromQueue(const ArticlePtr &article)
{
    QMutexLocker locker(&m_lock);
    m_queue.removeIf([&](const ArticlePtr &queued) { return queued == article; });
}

ArticleList ImagingService::queue() const
{
    QMutexLocker locker(&m_lock);
    return m_queue;
}
