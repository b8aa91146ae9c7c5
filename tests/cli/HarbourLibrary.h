// The saved library several command tests read: a folder "Coast" holding the feed "Harbour Notes",
// read once from tests/data/cli/harbour-rss.xml, so that it holds "Spring tide" and "Neap tide", unread.
#pragma once

#include <QString>

struct HarbourIDs
{
    QString feed;
    QString folder;
    QString spring;
    QString neap;
};

HarbourIDs storeHarbourLibrary();
