// The outline of folders and feeds on the left of the main window: selection, renaming, drag-and-drop
// moves, remembered expanded rows and the download spinner. It changes the library only through its model.
#pragma once

#include <QTimer>
#include <QTreeView>

class Defaults;
class SourceListDelegate;

class SourceListView : public QTreeView
{
    Q_OBJECT

public:
    explicit SourceListView(Defaults &defaults, QWidget *parent = nullptr);

    // The Defaults key under which the identifiers of expanded rows are kept.
    static QString expandedItemsKey() { return QStringLiteral("NSOutlineView Items sourceList"); }

    void setModel(QAbstractItemModel *model) override;
    using QTreeView::edit;
    SourceListDelegate *sourceListDelegate() const { return m_delegate; }

    // Rows of 20 pixels with 16-pixel icons when small, else 38 with 32-pixel icons.
    void setSmallIcons(bool small);
    bool smallIcons() const;

    void restoreExpandedItems();
    // Selects and reveals the row without emitting selectionChangedByUser().
    void selectItemSilently(const QModelIndex &index);
    bool isSpinnerRunning() const { return m_spinnerTimer.isActive(); }

signals:
    // Every selection change but the silent ones and those of rows coming, going or moving.
    void selectionChangedByUser();

protected:
    bool edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) override;
    void selectionChanged(const QItemSelection &selected, const QItemSelection &deselected) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex &index,
                                                         const QEvent *event = nullptr) const override;
    void dataChanged(const QModelIndex &topLeft, const QModelIndex &bottomRight,
                     const QList<int> &roles = QList<int>()) override;
    bool viewportEvent(QEvent *event) override;

private:
    void saveExpandedItems() const;
    void collectExpanded(const QModelIndex &parent, QStringList &identifiers) const;
    void updateSpinner();
    void advanceSpinner();
    void reveal(const QModelIndex &index);
    void selectDroppedRow(const QModelIndex &index);
    void restoreExpandedRows(const QModelIndex &parent, int first, int last);

    Defaults &m_defaults;
    SourceListDelegate *m_delegate;
    QTimer m_spinnerTimer;
    bool m_silent = false;
    bool m_modelChanging = false;
    bool m_restoring = false;
};
