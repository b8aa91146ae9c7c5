// The saved libraries the command tests read. The harbour library: a folder "Coast" holding the feed
// "Harbour Notes", read once from tests/data/cli/harbour-rss.xml, so that it holds "Spring tide" and
// "Neap tide", unread.
#pragma once

#include <QString>
#include <QStringList>

struct HarbourIDs
{
    QString feed;
    QString folder;
    QString spring;
    QString neap;
};

HarbourIDs storeHarbourLibrary();
// Reads a fixture of tests/data/cli into a new feed at the top of the saved library; answers the feed's
// identifier followed by those of its articles, in the feed's order.
QStringList storeFeedFromFixture(const QString &fixture);
