// Edits the tags (keywords) of the feeds picked by a "channelSelectionChanged" notification. It only
// changes keywords; it never adds, removes or saves feeds.
#pragma once

#include "model/FeedLibrary.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QWidget>

class DesktopServices;
class NotificationCenter;
class QTableWidget;
class QTableWidgetItem;

struct Notification;

class InspectorController : public QObject
{
    Q_OBJECT

public:
    InspectorController(NotificationCenter &notificationCenter, DesktopServices &desktop,
                        QObject *parent = nullptr);
    ~InspectorController() override;

    void showInspector();
    void hideInspector();
    void addTag();
    void removeTag();
    // The notification's object is a list of feeds (FeedPtr or TreeNodePtr); ignored until first shown.
    void channelSelectionChanged(const Notification &notification);

    void _extractTagsFromChannels();
    void _applyTagChangesToAllChannels();

    int numberOfRowsInTableView() const { return int(m_tags.size()); }
    QString tableView(int row) const;
    // Replaces the tag at row, when there is one.
    void tableView(const QString &value, int row);

    QList<FeedPtr> channels() const { return m_channels; }
    QStringList tags() const { return m_tags; }
    // Null until the inspector was first shown.
    QWidget *window() const { return m_window; }
    QTableWidget *tagTable() const { return m_tagTable; }

private:
    void loadWindow();
    void reloadTable();
    void selectLastRow();
    void cellEdited(QTableWidgetItem *item);
    QString windowTitle() const;

    NotificationCenter &m_notificationCenter;
    DesktopServices &m_desktop;
    QList<FeedPtr> m_channels;
    QStringList m_tags;
    QPointer<QWidget> m_window;
    QTableWidget *m_tagTable = nullptr;
    int m_observerToken = 0;
    bool m_loadedNib = false;
};
