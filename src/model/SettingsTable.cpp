#include "SettingsTable.h"

#include "platform/Defaults.h"

#include <QDir>
#include <QStandardPaths>
#include <mutex>

void SettingsTable::install()
{
    static std::once_flag installed;
    std::call_once(installed, [] { registerWith(Defaults::standard()); });
}

void SettingsTable::registerWith(Defaults &store)
{
    store.registerDefaults(defaultValues());
}

QVariantMap SettingsTable::defaultValues()
{
    return {
        {"sortMethod", 0},
        {"filterMethod", 0},
        {"downloadPath", defaultDownloadPath()},
        {"firstRun", true},
        {"downloadOpenBT", false},
        {"downloadOpenDocument", true},
        {"downloadOpenImage", true},
        {"downloadOpenMovie", true},
        {"downloadOpenAudio", true},
        {"downloadOpenZip", false},
        {"downloadConcurrent", 5},
        // -1 is "Default": the windows take the desktop's own colours, light or dark, until a tint is chosen.
        {"displayColourTheme", -1},
        {"displayCustomIcons", true},
        {"displayFontSize", 1},
        {"displayHideSummaryOfReadFeeds", false},
        {"displayShowArticleSummaries", true},
        {"displayShowInfoBar", true},
        {"displayLoadRemoteImages", true},
        {"displayStripHTML", false},
        {"displayUnreadInDockIcon", true},
        {"displayArticleCap", 100},
        {"generalRefreshInterval", 30},
        {"generalExpireAfter", 7},
        {"generalBounceDockIcon", true},
        {"generalPlaySound", true},
        {"downloadPlaySound", true},
        {"generalAlertSound", QStringLiteral("New Articles")},
        {"downloadAlertSound", QStringLiteral("Download Completed")},
        // A command line of the user's choice on Linux; until one is chosen there is no weblog editor.
        {"generalBlogEditor", QString()},
        {"behaviorBrowsing", true},
        {"behaviorLinkClick", true},
        {"behaviorFeedClick", true},
        {"behaviorOnQuit", false},
        {"behaviorWebOpened", true},
        {"behaviorOpenInBackground", false},
        {"behaviorOpenInBrowser", false},
    };
}

QString SettingsTable::defaultDownloadPath()
{
    const QString downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (!downloads.isEmpty())
        return downloads;
    return QDir::homePath() + QStringLiteral("/Desktop");
}
