#include "app/InspectorController.h"

#include "app/DesktopServices.h"
#include "platform/NotificationCenter.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>
#include <QWidget>

namespace {

QList<FeedPtr> feedsIn(const QVariant &object)
{
    if (object.canConvert<QList<FeedPtr>>())
        return object.value<QList<FeedPtr>>();
    QList<FeedPtr> feeds;
    for (const TreeNodePtr &node : object.value<QList<TreeNodePtr>>())
        if (auto feed = std::dynamic_pointer_cast<Feed>(node))
            feeds.append(feed);
    return feeds;
}

} // namespace

InspectorController::InspectorController(NotificationCenter &notificationCenter, DesktopServices &desktop,
                                         QObject *parent)
    : QObject(parent), m_notificationCenter(notificationCenter), m_desktop(desktop)
{
    m_observerToken = m_notificationCenter.addObserver(
        QStringLiteral("channelSelectionChanged"),
        [this](const Notification &notification) { channelSelectionChanged(notification); });
}

InspectorController::~InspectorController()
{
    m_notificationCenter.removeObserver(m_observerToken);
    delete m_window;
}

void InspectorController::showInspector()
{
    if (!m_loadedNib)
        loadWindow();
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void InspectorController::hideInspector()
{
    if (m_window)
        m_window->hide();
}

void InspectorController::addTag()
{
    m_tags.append(QStringLiteral("Tag"));
    _applyTagChangesToAllChannels();
    reloadTable();
    selectLastRow();
    if (m_tagTable && !m_tags.isEmpty())
        m_tagTable->editItem(m_tagTable->item(int(m_tags.size()) - 1, 0));
}

void InspectorController::removeTag()
{
    const int row = m_tagTable ? m_tagTable->currentRow() : -1;
    const bool selected =
        m_tagTable && row >= 0 && row < m_tags.size() && m_tagTable->selectionModel()->isRowSelected(row, {});
    if (selected) {
        m_tags.removeAt(row);
        _applyTagChangesToAllChannels();
    } else {
        m_desktop.beep();
    }
    reloadTable();
    selectLastRow();
}

void InspectorController::channelSelectionChanged(const Notification &notification)
{
    if (!m_loadedNib)
        return;
    m_channels = feedsIn(notification.object);
    m_tags = m_channels.isEmpty() ? QStringList() : m_channels.first()->keywords();
    reloadTable();
    m_window->setWindowTitle(windowTitle());
}

// Edits reach every inspected feed, so the title says which, or how many, they are.
QString InspectorController::windowTitle() const
{
    if (m_channels.isEmpty())
        return tr("Tags");
    if (m_channels.size() == 1)
        return tr("Tags of %1").arg(m_channels.first()->title());
    return tr("Tags of %n feeds", nullptr, int(m_channels.size()));
}

void InspectorController::_extractTagsFromChannels()
{
    m_tags.clear();
    for (const FeedPtr &feed : m_channels)
        m_tags.append(feed->keywords());
}

void InspectorController::_applyTagChangesToAllChannels()
{
    for (const FeedPtr &feed : m_channels)
        feed->setKeywords(m_tags);
}

QString InspectorController::tableView(int row) const
{
    return row >= 0 && row < m_tags.size() ? m_tags.at(row) : QString();
}

void InspectorController::tableView(const QString &value, int row)
{
    if (row < 0 || row >= m_tags.size())
        return;
    m_tags[row] = value;
    _applyTagChangesToAllChannels();
}

void InspectorController::loadWindow()
{
    m_window = new QWidget(nullptr, Qt::Tool);
    m_window->setWindowTitle(windowTitle());
    m_tagTable = new QTableWidget(0, 1);
    m_tagTable->setHorizontalHeaderLabels({QStringLiteral("Tags")});
    m_tagTable->horizontalHeader()->setStretchLastSection(true);
    m_tagTable->verticalHeader()->hide();
    m_tagTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_tagTable->setSelectionMode(QAbstractItemView::SingleSelection);
    connect(m_tagTable, &QTableWidget::itemChanged, this, &InspectorController::cellEdited);
    auto *add = new QPushButton(QStringLiteral("+"));
    auto *remove = new QPushButton(QStringLiteral("-"));
    connect(add, &QPushButton::clicked, this, &InspectorController::addTag);
    connect(remove, &QPushButton::clicked, this, &InspectorController::removeTag);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch();
    auto *layout = new QVBoxLayout(m_window);
    layout->addWidget(m_tagTable);
    layout->addLayout(buttons);
    m_window->resize(240, 300);
    m_loadedNib = true;
}

void InspectorController::reloadTable()
{
    if (!m_tagTable)
        return;
    const QSignalBlocker quiet(m_tagTable);
    m_tagTable->clearContents();
    m_tagTable->setRowCount(numberOfRowsInTableView());
    for (int row = 0; row < numberOfRowsInTableView(); ++row)
        m_tagTable->setItem(row, 0, new QTableWidgetItem(tableView(row)));
}

void InspectorController::selectLastRow()
{
    if (m_tagTable && !m_tags.isEmpty())
        m_tagTable->selectRow(int(m_tags.size()) - 1);
}

void InspectorController::cellEdited(QTableWidgetItem *item)
{
    tableView(item->text(), item->row());
}
