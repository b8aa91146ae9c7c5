// Turns a feed and its articles into the JSON object that `parse` prints, with every text exactly as
// the readers left it. It only reads; full texts come from the article store, as readers keep none in memory.
#pragma once

#include "model/FeedLibrary.h"

#include <QJsonObject>
#include <QJsonValue>

class FeedJsonWriter
{
public:
    explicit FeedJsonWriter(FeedLibrary &library);

    QJsonObject feedObject(const Feed &feed) const;
    QJsonObject articleObject(const ArticlePtr &article) const;

    // ISO 8601 at the date's own UTC offset, always written as +HH:MM; null for no date.
    static QJsonValue dateValue(const CalendarDate &date);

private:
    static QJsonValue authorsValue(const Article &article);
    static QJsonValue enclosureValue(const Article &article);

    FeedLibrary &m_library;
};
