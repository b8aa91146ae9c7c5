// The subscribe panel's work that needs no window: normalising the typed address, downloading it, telling a
// feed from a web page, following the feed a page links to and adding what it accepts to the library.
// It never draws and never beeps itself: the panel shows its flags and answers its beepRequested signal.
#pragma once

#include "model/FeedLibrary.h"

#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <memory>

class Downloader;
class FeedUpdater;
class NotificationCenter;

class AddFeedController : public QObject
{
    Q_OBJECT

public:
    enum PanelState
    {
        Idle,
        Downloading,
        // The last transfer failed; the address stays as it was for another try.
        Failed,
        // Neither a feed nor a page linking one: the address shows red.
        Rejected,
        Accepted
    };

    // How many linked feeds one add follows before it gives up: a page whose linked "feed" is again a
    // page linking to itself would otherwise keep the panel downloading for ever.
    static constexpr int maximumDiscoveryHops = 5;

    AddFeedController(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater,
                      NotificationCenter &notificationCenter, QObject *parent = nullptr);
    ~AddFeedController() override;

    // The link tags of a page, read with an HTML parser, as a map from "apple-touch-icon", "icon",
    // "alternate", "rss" and "atom" to the address each names, resolved against the page's <base> or
    // the given address as a browser would; a later tag of a kind replaces an earlier.
    static QMap<QString, QUrl> websitePropertiesFromHTML(const QString &html, const QUrl &withBaseURL);
    // The keys a link tag with these rel and type attributes is stored under.
    static QStringList keysForLink(const QString &rel, const QString &type);
    // What adding makes of typed text: blanks gone, a feed: scheme dropped, http:// in front when no
    // scheme starts it and ".com" behind a bare word without any dot.
    static QString normalisedAddress(const QString &typed);

    // The address field's text; the panel writes what the user typed, the controller writes back what
    // it downloads.
    QString address() const { return m_address; }
    void setAddress(const QString &address);
    // The folder chosen in the panel's pop-up; none means the library's root.
    TreeNodePtr folder() const { return m_folder; }
    void setFolder(const TreeNodePtr &folder) { m_folder = folder; }
    // An icon named by the page a feed was found through; empty otherwise.
    QUrl iconURL() const { return m_iconURL; }
    void setIconURL(const QUrl &url) { m_iconURL = url; }

    PanelState state() const { return m_state; }
    bool addEnabled() const { return m_addEnabled; }
    bool addressEditable() const { return m_addressEditable; }
    bool addressRed() const { return m_addressRed; }
    bool spinning() const { return m_spinning; }
    // The transfer in progress, if any.
    Downloader *download() const { return m_download.get(); }
    // The feed the last successful add put into the library.
    FeedPtr addedFeed() const { return m_addedFeed; }
    int discoveryHops() const { return m_discoveryHops; }
    // Why the last add found no feed ("404 Not Found", "Not a feed"); empty after a success.
    QString failureReason() const { return m_failureReason; }

    // Starts downloading the normalised address; false (after a beep) when there is nothing to download.
    bool doAddFeed();
    // Stops the transfer without any completion and closes with result 0.
    void doCancel();
    // Typing in the address field: its text turns black again. Typing is always allowed.
    bool textShouldBeginEditing();

signals:
    // Any of the flags, the address or the state changed.
    void changed();
    void beepRequested();
    // The panel ends: 1 with a feed added and selected, 0 when cancelled.
    void closed(int result);

private:
    bool startDownload(const QUrl &url);
    void downloadComplete(Downloader *downloader);
    void downloadFailed();
    static bool isFeed(const Feed &feed, const QString &text);
    void accept(const FeedPtr &feed);
    void followLinkedFeed(const QString &page, const QUrl &pageURL);
    void reject();
    void close(int result);
    void cancelDownload();

    FeedLibrary &m_feedLibrary;
    FeedUpdater &m_feedUpdater;
    NotificationCenter &m_notificationCenter;
    std::unique_ptr<Downloader> m_download;
    QUrl m_downloadURL;
    QString m_address;
    TreeNodePtr m_folder;
    QUrl m_iconURL;
    FeedPtr m_addedFeed;
    QString m_failureReason;
    PanelState m_state = Idle;
    bool m_addEnabled = true;
    bool m_addressEditable = true;
    bool m_addressRed = false;
    bool m_spinning = false;
    int m_discoveryHops = 0;
};
