// A feed updater over a scratch library and settings, with desktop services that record what they
// were asked.
#pragma once

#include "NotificationLog.h"
#include "fetch/FeedUpdater.h"
#include "model/Article.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"
#include "platform/QBDockTile.h"
#include "platform/QBUserAlert.h"
#include "platform/QBUserNotifier.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

class RecordingAlert : public QBUserAlert
{
public:
    bool playSound(const QString &name) override
    {
        events << "sound " + name;
        return knownSounds.contains(name);
    }
    void beep() override { events << QStringLiteral("beep"); }
    void requestAttention() override { events << QStringLiteral("attention"); }

    QStringList knownSounds;
    QStringList events;
};

class RecordingNotifier : public QBUserNotifier
{
public:
    void deliver(const QString &title, const QString &text) override { delivered << title + " / " + text; }
    QStringList delivered;
};

class RecordingDockTile : public QBDockTile
{
public:
    QImage dockImage() const override
    {
        QImage image(128, 128, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        return image;
    }
    void setIcon(const QImage &image) override { icons << image; }
    void resetIcon() override { ++resets; }

    QList<QImage> icons;
    int resets = 0;
};

// What the updater announces, without the notes of the transfers themselves.
const QStringList updaterNotes{"Feed", "feed", "ActiveTaskNotification"};

class UpdaterTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        SettingsTable::registerWith(defaults);
        library.load();
        library.root()->setChildren({});
        updater.setUserAlert(&alert);
        updater.setUserNotifier(&notifier);
        updater.setDockTile(&tile);
    }

    FeedPtr addFeed(const QString &title, const QUrl &url = QUrl(QStringLiteral("http://127.0.0.1:9/feed")))
    {
        auto feed = std::make_shared<Feed>();
        feed->setTitle(title);
        feed->setFeed(url);
        feed->setParent(library.root());
        library.root()->addChild(feed);
        return feed;
    }

    // Dated at noon on that day of March 2026, or undated for day 0.
    static ArticlePtr addArticle(const FeedPtr &feed, const QString &guid, int dayOfMarch,
                                 bool stillInFeed = false, int state = Article::New)
    {
        auto article = std::make_shared<Article>();
        article->setGuid(guid);
        article->setTitle(guid);
        article->setState(state);
        article->setStillInFeed(stillInFeed);
        if (dayOfMarch > 0)
            article->setLegacyPublicationDate(
                CalendarDate(QDateTime(QDate(2026, 3, dayOfMarch), QTime(12, 0), Qt::UTC), 0));
        article->setParent(feed);
        feed->addChild(article);
        return article;
    }

    static QStringList guidsOf(const FeedPtr &feed)
    {
        QStringList guids;
        for (const TreeNodePtr &node : feed->children())
            guids << std::dynamic_pointer_cast<Article>(node)->guid();
        return guids;
    }

    QTemporaryDir scratch;
    Defaults defaults{scratch.filePath(QStringLiteral("settings.ini"))};
    FeedLibrary library;
    FeedUpdater updater{library, defaults};
    RecordingAlert alert;
    RecordingNotifier notifier;
    RecordingDockTile tile;
};
