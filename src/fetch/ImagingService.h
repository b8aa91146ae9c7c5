// The queue of articles whose thumbnails are still to be fetched. Readers append to it while parsing;
// until the thumbnail worker exists it only records, so it never touches the network.
#pragma once

#include "model/FeedLibrary.h"

#include <QMutex>

class ImagingService
{
public:
    static ImagingService &sharedImagingService();

    void addToQueue(const ArticlePtr &article);
    void removeFromQueue(const ArticlePtr &article);
    ArticleList queue() const;

private:
    ImagingService() = default;

    mutable QMutex m_lock;
    ArticleList m_queue;
};
