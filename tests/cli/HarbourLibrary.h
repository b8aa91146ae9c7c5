// Saved libraries for the command tests to read. The harbour library is the feed of
// tests/data/cli/harbour-rss.xml in a folder "Coast": "Harbour Notes", holding "Spring tide" and
// "Neap tide", both unread.
#pragma once

#include <QString>
#include <QStringList>

struct StoredFeed
{
    QString folder;
    QString feed;
    QStringList articles; // in the feed's order
};

// Reads a fixture of tests/data/cli into a new feed at the top of the saved library, or inside a new
// folder at its end when one is named.
StoredFeed storeFeedFromFixture(const QString &fixture, const QString &folderTitle = {});
