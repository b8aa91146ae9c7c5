// The feed editor window beside the main window: the selected feed's title, addresses, refresh interval
// and article retention, its description and its enclosures. It follows the library's selection; a
// description can never run script or navigate itself away: its links go to the browser.
#pragma once

#include "app/OutsideLinkGate.h"
#include "model/Enclosure.h"
#include "model/FeedLibrary.h"

#include <QImage>
#include <QList>
#include <QVariant>
#include <QWidget>
#include <memory>
#include <optional>

class DesktopServices;
class NotificationCenter;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableWidget;
class QTextBrowser;

class FeedEditorController : public QWidget
{
    Q_OBJECT

public:
    FeedEditorController(FeedLibrary &feedLibrary, NotificationCenter &notificationCenter,
                         DesktopServices &desktop, QWidget *parentWindow);
    ~FeedEditorController() override;

    // Shows the window beside the main window, on the side where the screen has room.
    void present();

    FeedPtr feed() const { return m_feed; }
    void setFeed(const FeedPtr &feed) { m_feed = feed; }
    QList<std::shared_ptr<Enclosure>> enclosures() const { return m_enclosures; }
    void setEnclosures(const QList<std::shared_ptr<Enclosure>> &enclosures) { m_enclosures = enclosures; }

    // Takes every field of the window into the feed; an address that makes no URL beeps and shows the
    // feed's own again.
    void doFeedChanged();
    void feedSelectionChanged();
    void applyFeedSelectionToUI();
    // Announces the enclosure of the table's selected row.
    void doPodcastTableClick();

    // The enclosure table's content, by column identifier ("icon", "title", "downloaded"): an image
    // or a text; "???" for an unknown column and the empty text for a row outside the list.
    int rowCount() const { return int(m_enclosures.size()); }
    QVariant cellValue(const QString &columnIdentifier, int row) const;

    // The refresh-interval items in minutes and the retention items in days; -1 means the default.
    static QList<int> refreshIntervalTags();
    static QList<int> retentionPeriodTags();
    // The tag every value without an item of its own shows as.
    static constexpr int unmatchedTag = 30;

    QLabel *panelTitleField() const { return m_panelTitleField; }
    QLineEdit *feedTitleField() const { return m_feedTitleField; }
    QLineEdit *webLinkField() const { return m_webLinkField; }
    QLineEdit *feedLinkField() const { return m_feedLinkField; }
    QLabel *refreshStatusField() const { return m_refreshStatusField; }
    QTextBrowser *descriptionWebView() const { return m_descriptionWebView; }
    QComboBox *refreshIntervalPopUp() const { return m_refreshIntervalPopUp; }
    QComboBox *retentionPeriodPopUp() const { return m_retentionPeriodPopUp; }
    QTableWidget *podcastTable() const { return m_podcastTable; }
    QLabel *iconImageView() const { return m_iconImageView; }

private:
    QWidget *makeFields();
    QWidget *makePopUps();
    void makeTable();
    void reloadTable();
    QString descriptionPage() const;
    void showRefreshStatus();
    // The address typed into the field when it is new and names one; a bad one beeps and is restored.
    std::optional<QUrl> editedAddress(QLineEdit *field, const QUrl &current);
    static void fillPopUp(QComboBox *popUp, const QList<std::pair<QString, int>> &items);
    static void selectTag(QComboBox *popUp, int tag);
    static QImage fileTypeIcon(const QString &fileName);
    static QImage successImage();

    FeedLibrary &m_feedLibrary;
    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    OutsideLinkGate m_outsideLinks;
    int m_selectionObserver = 0;
    int m_downloadObserver = 0;
    FeedPtr m_feed;
    QList<std::shared_ptr<Enclosure>> m_enclosures;
    QLabel *m_iconImageView;
    QLabel *m_panelTitleField;
    QLineEdit *m_feedTitleField;
    QLineEdit *m_webLinkField;
    QLineEdit *m_feedLinkField;
    QLabel *m_refreshStatusField;
    QTextBrowser *m_descriptionWebView;
    QComboBox *m_retentionPeriodPopUp;
    QComboBox *m_refreshIntervalPopUp;
    QTableWidget *m_podcastTable;
    bool m_placed = false;
};
