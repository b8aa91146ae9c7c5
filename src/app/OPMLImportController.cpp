#include "app/OPMLImportController.h"

#include "fetch/FeedUpdater.h"
#include "platform/LocalizedStrings.h"
#include "platform/NotificationCenter.h"
#include "reading/OPMLImporter.h"

#include <QCheckBox>
#include <QDialog>
#include <QFile>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>

OPMLImportController::OPMLImportController(FeedLibrary &feedLibrary, FeedUpdater &feedUpdater,
                                           NotificationCenter &notificationCenter)
    : m_feedLibrary(feedLibrary), m_feedUpdater(feedUpdater), m_notificationCenter(notificationCenter)
{
}

OPMLImportController::~OPMLImportController()
{
    delete m_openPanel;
    delete m_window;
}

// ---- running

void OPMLImportController::runOPMLImporterForWindow(QWidget *window)
{
    delete m_openPanel;
    m_openPanel = new QFileDialog(window, tr("Import Feeds"));
    m_openPanel->setFileMode(QFileDialog::ExistingFile);
    m_openPanel->setNameFilter(tr("OPML files (*.opml *.xml)"));
    m_openPanel->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_openPanel, &QFileDialog::fileSelected, this,
            [this, window](const QString &path) { runOPMLImporterWithFile(path, window); });
    m_openPanel->open();
}

void OPMLImportController::runOPMLImporterWithFile(const QString &path, QWidget *forWindow)
{
    if (m_window && m_window->isVisible()) {
        m_waitingFiles.append({path, forWindow});
        return;
    }
    placeOn(forWindow);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        auto *alert = new QMessageBox(QMessageBox::Warning, tr("The file could not be read."),
                                      file.errorString(), QMessageBox::Ok, m_window);
        alert->setAttribute(Qt::WA_DeleteOnClose);
        alert->open();
    }
    file.close();

    const OPMLImporter importer = OPMLImporter::importFeedsFromPath(path);
    setImportedFeeds(importer.feeds());
    setImportedFolder(importer.importedFeedsFolder());
    fillFeedList();
    m_feedCountLabel->setText(LocalizedStrings::text(QStringLiteral("OPMLContains"))
                                  .replace(QStringLiteral("%d"), QString::number(m_importedFeeds.size())));
    // A file without feeds has nothing to import; only Cancel is left.
    m_importAllButton->setEnabled(!m_importedFeeds.isEmpty());
    m_importSelectedButton->setEnabled(!m_importedFeeds.isEmpty());
    m_window->open();
}

void OPMLImportController::placeOn(QWidget *window)
{
    QDialog *sheet = this->window();
    if (sheet->parentWidget() != window)
        sheet->setParent(window, sheet->windowFlags());
    sheet->setWindowModality(Qt::WindowModal);
}

void OPMLImportController::fillFeedList()
{
    const QSignalBlocker quiet(m_feedList);
    m_feedList->clear();
    for (const FeedPtr &feed : std::as_const(m_importedFeeds)) {
        auto *item = new QListWidgetItem(feed->title(), m_feedList);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        item->setCheckState(feed->specialSelection() ? Qt::Checked : Qt::Unchecked);
    }
}

// ---- the panes and buttons

void OPMLImportController::doChangeImportMethod(int row)
{
    QWidget *shown = m_containerView->currentWidget();
    QWidget *wanted = row == 0 ? m_importAllView : m_importSelectedView;
    m_importAllButton->setVisible(wanted == m_importAllView);
    m_importSelectedButton->setVisible(wanted == m_importSelectedView);
    (wanted == m_importAllView ? m_importAllButton : m_importSelectedButton)->setDefault(true);
    if (wanted == shown)
        return;
    const int difference = wanted->sizeHint().height() - shown->sizeHint().height();
    m_containerView->setCurrentWidget(wanted);
    const QSize target(m_window->width(), m_window->height() + difference);
    if (!m_window->isVisible()) {
        m_window->resize(target);
        return;
    }
    auto *growth = new QPropertyAnimation(m_window, "size", m_window);
    growth->setDuration(180);
    growth->setEndValue(target);
    growth->start(QAbstractAnimation::DeleteWhenStopped);
}

void OPMLImportController::doImportAll()
{
    m_window->done(1);
}

void OPMLImportController::doImportSelected()
{
    m_window->done(-1);
}

void OPMLImportController::doCancel()
{
    m_window->done(0);
}

// ---- the import

void OPMLImportController::sheetDidEnd(int returnCode)
{
    if (returnCode == 1 && m_preserveFoldersCheckBox->isChecked())
        importKeepingFolders();
    else if (returnCode == 1)
        importFlattened();
    else if (returnCode == -1)
        importSelected();
    m_feedLibrary.save();
    m_notificationCenter.post(QStringLiteral("feedLibraryModified"));
    setImportedFeeds({});
    setImportedFolder({});
    const QSignalBlocker quiet(m_feedList);
    m_feedList->clear();
    // The sheet closes on its way out of this; the next file's sheet comes once it has.
    if (!m_waitingFiles.isEmpty())
        QMetaObject::invokeMethod(this, &OPMLImportController::runNextWaitingFile, Qt::QueuedConnection);
}

void OPMLImportController::runNextWaitingFile()
{
    if (m_waitingFiles.isEmpty() || (m_window && m_window->isVisible()))
        return;
    const auto [path, window] = m_waitingFiles.takeFirst();
    if (window)
        runOPMLImporterWithFile(path, window);
    else
        runNextWaitingFile();
}

void OPMLImportController::importKeepingFolders()
{
    if (m_importedFolder) {
        const TreeNodeList children = m_importedFolder->children();
        for (const TreeNodePtr &child : children)
            m_feedLibrary.add(child, nullptr, int(m_feedLibrary.root()->children().size()));
    }
    downloadIcons(m_importedFeeds);
}

// Each feed goes in at the top, so the file's last feed ends up first.
void OPMLImportController::importFlattened()
{
    for (const FeedPtr &feed : std::as_const(m_importedFeeds))
        m_feedLibrary.add(feed, nullptr, 0);
    downloadIcons(m_importedFeeds);
}

void OPMLImportController::importSelected()
{
    // Smart folders and the clippings hold no feeds: with one of them selected the feeds go to the top.
    TreeNodePtr into = m_feedLibrary.selectedFolder();
    if (into && into->kindOfObject() != TreeNode::FolderKind)
        into = nullptr;
    QList<FeedPtr> ticked;
    for (const FeedPtr &feed : std::as_const(m_importedFeeds)) {
        if (!feed->specialSelection())
            continue;
        m_feedLibrary.add(feed, into, 0);
        ticked.append(feed);
    }
    downloadIcons(ticked);
}

void OPMLImportController::downloadIcons(const QList<FeedPtr> &feeds)
{
    for (const FeedPtr &feed : feeds)
        m_feedUpdater.downloadIconForFeed(feed);
}

// ---- the sheet

QFileDialog *OPMLImportController::openPanel() const
{
    return m_openPanel;
}

QDialog *OPMLImportController::window()
{
    if (!m_window)
        buildWindow();
    return m_window;
}

void OPMLImportController::buildWindow()
{
    m_window = new QDialog(nullptr, Qt::Dialog);
    m_window->setObjectName(QStringLiteral("opmlImportSheet"));
    m_window->setWindowTitle(tr("Import Feeds"));

    m_importMethodSelector = new QTabBar(m_window);
    m_importMethodSelector->addTab(tr("Import all"));
    m_importMethodSelector->addTab(tr("Import selected"));
    m_importMethodSelector->setExpanding(false);

    m_containerView = new QStackedWidget(m_window);
    m_importAllView = buildImportAllView();
    m_importSelectedView = buildImportSelectedView();
    m_containerView->addWidget(m_importAllView);
    m_containerView->addWidget(m_importSelectedView);

    m_cancelButton = new QPushButton(tr("Cancel"), m_window);
    m_importAllButton = new QPushButton(tr("Import All"), m_window);
    m_importSelectedButton = new QPushButton(tr("Import Selected"), m_window);
    m_importSelectedButton->hide();
    m_importAllButton->setDefault(true);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_cancelButton);
    buttons->addWidget(m_importAllButton);
    buttons->addWidget(m_importSelectedButton);

    auto *layout = new QVBoxLayout(m_window);
    layout->addWidget(m_importMethodSelector, 0, Qt::AlignHCenter);
    layout->addWidget(m_containerView, 1);
    layout->addLayout(buttons);

    connect(m_importMethodSelector, &QTabBar::currentChanged, this,
            &OPMLImportController::doChangeImportMethod);
    connect(m_importAllButton, &QPushButton::clicked, this, &OPMLImportController::doImportAll);
    connect(m_importSelectedButton, &QPushButton::clicked, this, &OPMLImportController::doImportSelected);
    connect(m_cancelButton, &QPushButton::clicked, this, &OPMLImportController::doCancel);
    // Escape and the window's close box end the sheet as Cancel does.
    connect(m_window, &QDialog::finished, this, &OPMLImportController::sheetDidEnd);
    m_window->resize(420, m_window->sizeHint().height());
}

QWidget *OPMLImportController::buildImportAllView()
{
    auto *view = new QWidget;
    m_feedCountLabel = new QLabel(view);
    m_feedCountLabel->setWordWrap(true);
    m_preserveFoldersCheckBox = new QCheckBox(tr("Keep the folders of the file"), view);
    m_preserveFoldersCheckBox->setChecked(true);
    auto *layout = new QVBoxLayout(view);
    layout->addWidget(m_feedCountLabel);
    layout->addWidget(m_preserveFoldersCheckBox);
    layout->addStretch(1);
    return view;
}

QWidget *OPMLImportController::buildImportSelectedView()
{
    auto *view = new QWidget;
    auto *hint = new QLabel(tr("Tick the feeds to subscribe to:"), view);
    m_feedList = new QListWidget(view);
    m_feedList->setMinimumHeight(220);
    auto *layout = new QVBoxLayout(view);
    layout->addWidget(hint);
    layout->addWidget(m_feedList, 1);
    connect(m_feedList, &QListWidget::itemChanged, this, [this](QListWidgetItem *item) {
        const int row = m_feedList->row(item);
        if (row >= 0 && row < m_importedFeeds.size())
            m_importedFeeds.at(row)->setSpecialSelection(item->checkState() == Qt::Checked);
    });
    return view;
}
