#include "cli/RefreshCommand.h"

#include "cli/CommandWait.h"
#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/LibraryLoader.h"
#include "cli/SettingsCopy.h"
#include "fetch/FeedUpdater.h"
#include "model/Article.h"
#include "model/FeedLibrary.h"
#include "platform/NotificationCenter.h"

#include <QEventLoop>
#include <unistd.h>

namespace {

int newArticleCount(const Feed &feed)
{
    int count = 0;
    for (const TreeNodePtr &node : feed.children())
        if (const auto article = std::dynamic_pointer_cast<Article>(node);
            article && article->state() == Article::New)
            ++count;
    return count;
}

} // namespace

RefreshCommand::RefreshCommand(std::optional<int> concurrent) : m_concurrent(concurrent) {}

int RefreshCommand::run() const
{
    FeedLibrary &library = FeedLibrary::feedLibrary();
    if (const ExitStatus status = LibraryLoader::loadForWriting(library); status != ExitSuccess)
        return status;
    SettingsCopy copy;
    Defaults &settings = copy.settings();
    if (m_concurrent)
        settings.setInteger(QStringLiteral("downloadConcurrent"), *m_concurrent);

    const FeedList feeds = library.allFeeds();
    const bool onTerminal = isatty(STDOUT_FILENO);
    int finished = 0;
    int newArticles = 0;
    int failures = 0;
    {
        FeedUpdater updater(library, settings);
        updater.setPauseScheduledUpdates(true);
        for (const FeedPtr &feed : feeds)
            updater.requestFeedDownload(feed);
        QEventLoop loop;
        const int token = NotificationCenter::defaultCenter().addObserver(
            QStringLiteral("feedDownloaded"), [&](const Notification &note) {
                const FeedPtr feed = note.object.value<FeedPtr>();
                const bool failed = feed->state() == Feed::Failed;
                const int fresh = failed ? 0 : newArticleCount(*feed);
                newArticles += fresh;
                failures += failed ? 1 : 0;
                ++finished;
                const QString outcome =
                    failed ? QStringLiteral("failed: ") + Console::oneLine(feed->failureReason())
                           : QStringLiteral("%1 new").arg(fresh);
                if (onTerminal)
                    Console::print(QStringLiteral("[%1/%2] %3: %4\n")
                                       .arg(finished)
                                       .arg(feeds.size())
                                       .arg(Console::oneLine(feed->title()), outcome));
                else if (failed)
                    Console::print(QStringLiteral("%1: %2\n").arg(Console::oneLine(feed->title()), outcome));
                if (finished == feeds.size())
                    loop.quit();
            });
        if (!feeds.isEmpty())
            loop.exec();
        NotificationCenter::defaultCenter().removeObserver(token);
        // Icons of feeds refreshed for the first time (or long ago) come along, within a bound; a search
        // cut short is taken up by the next refresh.
        CommandWait::until([&] { return updater.isIdle(FeedUpdater::IconLane); }, QDeadlineTimer(iconWaitMs));
    }
    library.save();
    library.compactDatabase();

    Console::print(QStringLiteral("Refreshed %1 feeds: %2 new articles, %3 failed\n")
                       .arg(feeds.size())
                       .arg(newArticles)
                       .arg(failures));
    return ExitSuccess;
}
