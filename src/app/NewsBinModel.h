// The news bin's rows: one per saved article, in the clippings' own order, each with a title and a
// subtitle. It only answers and forwards drops; it never adds, removes or stores a clipping itself.
#pragma once

#include "model/FeedLibrary.h"

#include <QAbstractListModel>
#include <functional>

class NewsBinModel : public QAbstractListModel
{
    Q_OBJECT

public:
    enum Role
    {
        SubtitleRole = Qt::UserRole + 1
    };

    static constexpr int RowHeight = 40;

    // The text a drag carries, and the row it would land on (the row count to append).
    using DropCheck = std::function<bool(const QString &text)>;
    using DropAction = std::function<bool(const QString &text, int row)>;

    explicit NewsBinModel(QObject *parent = nullptr);

    VirtualFolderPtr newsBin() const { return m_newsBin; }
    void setNewsBin(const VirtualFolderPtr &newsBin);
    // The clippings are read afresh after every change made elsewhere.
    void reload();
    ArticlePtr articleAt(int row) const;

    void setDropHandlers(DropCheck check, DropAction action);
    // What a drag offers, as the address it names: the first URL of a URL list, else its plain text.
    static QString draggedText(const QMimeData *data);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

    QStringList mimeTypes() const override;
    Qt::DropActions supportedDropActions() const override;
    bool canDropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                         const QModelIndex &parent) const override;
    bool dropMimeData(const QMimeData *data, Qt::DropAction action, int row, int column,
                      const QModelIndex &parent) override;

private:
    QString subtitle(const ArticlePtr &article) const;

    VirtualFolderPtr m_newsBin;
    TreeNodeList m_rows;
    DropCheck m_dropCheck;
    DropAction m_dropAction;
};
