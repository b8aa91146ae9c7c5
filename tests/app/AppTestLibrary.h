// A small library for the window tests: two top-level feeds and a folder holding a third, each with
// dated articles stored in the scratch data folder, and settings of their own.
#pragma once

#include "fetch/FeedUpdater.h"
#include "model/FeedLibrary.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/NotificationCenter.h"

#include <QCoreApplication>
#include <QTemporaryDir>

class AppTestLibrary
{
public:
    AppTestLibrary()
    {
        SettingsTable::registerWith(defaults);
        library.load();
        library.root()->removeChildren();
        harbour = addFeed("Harbour Notes", nullptr);
        kitchen = addFeed("Small Kitchen", nullptr);
        folder = std::make_shared<Folder>();
        folder->setTitle("Science");
        library.add(folder, nullptr, 2);
        sky = addFeed("Night Sky", folder);
        for (int i = 0; i < 3; ++i) {
            addArticle(harbour, QString("Tide %1").arg(i), 10 + i);
            addArticle(kitchen, QString("Soup %1").arg(i), 5 + i);
            addArticle(sky, QString("Comet %1").arg(i), 1 + i);
        }
        library.updateUnreadCounts();
        // Saved, so that a controller that loads the library again finds this one.
        library.save();
    }

    // After the library was loaded again, the fixture's names point at the loaded nodes.
    void rebind()
    {
        harbour = std::dynamic_pointer_cast<Feed>(library.itemWithUniqueID(harbour->uniqueID()));
        kitchen = std::dynamic_pointer_cast<Feed>(library.itemWithUniqueID(kitchen->uniqueID()));
        folder = std::dynamic_pointer_cast<Folder>(library.itemWithUniqueID(folder->uniqueID()));
        sky = std::dynamic_pointer_cast<Feed>(library.itemWithUniqueID(sky->uniqueID()));
    }

    FeedPtr addFeed(const QString &title, const TreeNodePtr &into)
    {
        auto feed = std::make_shared<Feed>();
        feed->setTitle(title);
        feed->setFeed(QUrl("http://127.0.0.1:9/" + QString(title).replace(' ', '-') + ".xml"));
        feed->setLink(QUrl("http://127.0.0.1:9/" + QString(title).replace(' ', '-') + "/"));
        // Parsed already, so that selecting it asks for no download.
        feed->setState(Feed::Parsed);
        const TreeNodePtr parent = into ? into : TreeNodePtr(library.root());
        library.add(feed, into, int(parent->children().size()));
        return feed;
    }

    ArticlePtr addArticle(const FeedPtr &feed, const QString &title, int day)
    {
        auto article = std::make_shared<Article>();
        article->setTitle(title);
        article->setGuid("guid-" + title);
        article->setLink(QUrl("http://127.0.0.1:9/" + QString(title).replace(' ', '-')));
        article->setState(Article::Unread);
        article->setLegacyPublicationDate(
            CalendarDate(QDateTime(QDate(2026, 3, day), QTime(12, 0), Qt::UTC), 0));
        article->setSource(feed);
        article->setParent(feed);
        library.saveSummary("Text of " + title, article);
        feed->addChild(article, 0);
        return article;
    }

    ArticlePtr article(const FeedPtr &feed, int index) const
    {
        return std::dynamic_pointer_cast<Article>(feed->children().at(index));
    }

    // The page is rebuilt on the next pass of the event loop.
    static void settle() { QCoreApplication::processEvents(); }

    QTemporaryDir settingsFolder;
    Defaults defaults{settingsFolder.filePath("QuillBay.ini")};
    FeedLibrary library;
    NotificationCenter center;
    FeedUpdater updater{library, defaults};
    FeedPtr harbour;
    FeedPtr kitchen;
    FolderPtr folder;
    FeedPtr sky;
};
