#include "app/NewsBinModel.h"

#include "model/Feed.h"

#include <QMimeData>
#include <QSize>

NewsBinModel::NewsBinModel(QObject *parent) : QAbstractListModel(parent) {}

void NewsBinModel::setNewsBin(const VirtualFolderPtr &newsBin)
{
    m_newsBin = newsBin;
    reload();
}

void NewsBinModel::reload()
{
    beginResetModel();
    m_rows = m_newsBin ? m_newsBin->children() : TreeNodeList();
    endResetModel();
}

ArticlePtr NewsBinModel::articleAt(int row) const
{
    if (row < 0 || row >= m_rows.size())
        return nullptr;
    return std::dynamic_pointer_cast<Article>(m_rows.at(row));
}

void NewsBinModel::setDropHandlers(DropCheck check, DropAction action)
{
    m_dropCheck = std::move(check);
    m_dropAction = std::move(action);
}

QString NewsBinModel::draggedText(const QMimeData *data)
{
    if (!data)
        return {};
    if (data->hasUrls() && !data->urls().isEmpty())
        return data->urls().constFirst().toString(QUrl::FullyEncoded);
    return data->text().trimmed();
}

int NewsBinModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant NewsBinModel::data(const QModelIndex &index, int role) const
{
    const ArticlePtr article = index.isValid() ? articleAt(index.row()) : nullptr;
    if (!article)
        return {};
    switch (role) {
    case Qt::DisplayRole:
        return article->title();
    case SubtitleRole:
        return subtitle(article);
    case Qt::ToolTipRole:
        return article->link().toString();
    case Qt::SizeHintRole:
        return QSize(0, RowHeight);
    default:
        return {};
    }
}

// Articles kept after their feed was deleted, and the program's own pages, have no feed to name.
QString NewsBinModel::subtitle(const ArticlePtr &article) const
{
    if (const std::shared_ptr<Feed> feed = article->source())
        return feed->title();
    return article->summary();
}

Qt::ItemFlags NewsBinModel::flags(const QModelIndex &index) const
{
    // Only the gaps between rows take drops, so a drop lands between two clippings, never on one.
    if (!index.isValid())
        return Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable;
}

QStringList NewsBinModel::mimeTypes() const
{
    return {QStringLiteral("text/uri-list"), QStringLiteral("text/plain")};
}

Qt::DropActions NewsBinModel::supportedDropActions() const
{
    return Qt::CopyAction | Qt::LinkAction | Qt::MoveAction;
}

bool NewsBinModel::canDropMimeData(const QMimeData *data, Qt::DropAction, int, int, const QModelIndex &) const
{
    return m_dropCheck && m_dropCheck(draggedText(data));
}

bool NewsBinModel::dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int,
                                const QModelIndex &parent)
{
    if (action == Qt::IgnoreAction || !m_dropAction)
        return false;
    if (row < 0)
        row = parent.isValid() ? parent.row() : rowCount();
    return m_dropAction(draggedText(data), row);
}
