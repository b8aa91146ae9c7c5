#include "app/MainWindow.h"

#include "app/NavigationBar.h"
#include "app/SourceListView.h"
#include "app/SplitViewFrames.h"
#include "app/ToolbarIcons.h"

#include <QLabel>
#include <QProgressBar>
#include <QSplitter>
#include <QStatusBar>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int minimumSourceListWidth = 200;
constexpr int maximumSourceListWidth = 320;

QWidget *column(QWidget *parent, std::initializer_list<QWidget *> widgets)
{
    auto *pane = new QWidget(parent);
    auto *layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    for (QWidget *widget : widgets)
        layout->addWidget(widget);
    return pane;
}

} // namespace

MainWindow::MainWindow(Defaults &defaults, QWidget *headlinePane, QWidget *parent) : QMainWindow(parent)
{
    setObjectName(QStringLiteral("mainWindow"));
    setWindowTitle(QStringLiteral("QuillBay"));
    setMinimumSize(760, 480);
    m_mainSplitView = new QSplitter(Qt::Horizontal, this);
    m_mainSplitView->setObjectName(QStringLiteral("mainSplitView"));
    m_mainSplitView->setChildrenCollapsible(false);
    m_mainSplitView->addWidget(buildSourceListPane(defaults));
    m_sideBarSplitView = new QSplitter(Qt::Horizontal, m_mainSplitView);
    m_sideBarSplitView->setObjectName(QStringLiteral("subSplitView"));
    m_sideBarSplitView->addWidget(buildHeadlinePane(headlinePane));
    m_sideBarPane = new QWidget(m_sideBarSplitView);
    m_sideBarPane->setObjectName(QStringLiteral("sideBar"));
    m_sideBarPane->setFixedWidth(SplitViewFrames::sideBarWidth);
    m_sideBarSplitView->addWidget(m_sideBarPane);
    m_sideBarSplitView->setCollapsible(0, false);
    m_sideBarSplitView->setCollapsible(1, true);
    // On resizing, only the headlines grow and shrink.
    m_mainSplitView->setStretchFactor(0, 0);
    m_mainSplitView->setStretchFactor(1, 1);
    m_sideBarSplitView->setStretchFactor(0, 1);
    m_sideBarSplitView->setStretchFactor(1, 0);
    connect(m_sideBarSplitView, &QSplitter::splitterMoved, this, &MainWindow::updateToggleImage);
    setCentralWidget(m_mainSplitView);
    buildStatusBar();
}

QWidget *MainWindow::buildSourceListPane(Defaults &defaults)
{
    m_sourceListNavBar = new NavigationBar(this);
    m_sourceListNavBar->setTitle(tr("Feeds"));
    m_sourceListNavBar->setShowsBackButton(false);
    m_sourceList = new SourceListView(defaults, this);
    m_sourceList->setObjectName(QStringLiteral("sourceList"));
    m_sourceListBottomNavBar = new NavigationBar(this);
    m_sourceListBottomNavBar->setShowsBackButton(false);
    m_addButton = barButton(QStringLiteral("add"), tr("New feed (Alt-click for a new folder)"));
    m_removeButton = barButton(QStringLiteral("remove"), tr("Remove the selected items"));
    m_sourceListBottomNavBar->addTrailingWidget(m_addButton);
    m_sourceListBottomNavBar->addTrailingWidget(m_removeButton);
    QWidget *pane = column(this, {m_sourceListNavBar, m_sourceList, m_sourceListBottomNavBar});
    pane->setMinimumWidth(minimumSourceListWidth);
    pane->setMaximumWidth(maximumSourceListWidth);
    return pane;
}

QWidget *MainWindow::buildHeadlinePane(QWidget *headlinePane)
{
    m_mainNavBar = new NavigationBar(this);
    m_mainNavBar->setObjectName(QStringLiteral("mainNavBar"));
    m_mainNavBar->setShowsBackButton(true);
    m_normalViewModeButton = barButton(QStringLiteral("list"), tr("Show as a list"));
    m_normalViewModeButton->setObjectName(QStringLiteral("listModeButton"));
    m_pictureViewModeButton = barButton(QStringLiteral("tiles"), tr("Show as picture tiles"));
    m_pictureViewModeButton->setObjectName(QStringLiteral("tileModeButton"));
    m_articleActionButton = barButton(QStringLiteral("action"), tr("Article actions"));
    m_articleActionButton->setObjectName(QStringLiteral("articleActionButton"));
    m_toggleSideBarButton = barButton(QStringLiteral("expand"), tr("Show or hide the side bar"));
    for (QToolButton *button : {m_normalViewModeButton, m_pictureViewModeButton})
        button->setCheckable(true);
    m_mainNavBar->addTrailingWidget(m_articleActionButton);
    m_mainNavBar->addTrailingWidget(m_normalViewModeButton);
    m_mainNavBar->addTrailingWidget(m_pictureViewModeButton);
    m_mainNavBar->addTrailingWidget(m_toggleSideBarButton);
    connect(m_toggleSideBarButton, &QToolButton::clicked, this, &MainWindow::sideBarToggled);
    headlinePane->setObjectName(QStringLiteral("headlineView"));
    return column(this, {m_mainNavBar, headlinePane});
}

void MainWindow::buildStatusBar()
{
    m_statusMessage = new QLabel(this);
    m_statusMessage->setObjectName(QStringLiteral("statusMessage"));
    m_statusMessage->setTextInteractionFlags(Qt::NoTextInteraction);
    m_taskView = new QProgressBar(this);
    m_taskView->setObjectName(QStringLiteral("taskView"));
    m_taskView->setMaximumWidth(160);
    m_taskView->setTextVisible(false);
    m_taskView->setRange(0, 0);
    m_taskView->hide();
    statusBar()->addWidget(m_statusMessage, 1);
    statusBar()->addPermanentWidget(m_taskView);
}

QToolButton *MainWindow::barButton(const QString &name, const QString &toolTip)
{
    auto *button = new QToolButton(this);
    button->setProperty("iconName", name);
    button->setIcon(ToolbarIcons::icon(name, m_iconColour));
    button->setIconSize(QSize(20, 20));
    button->setAutoRaise(true);
    button->setToolTip(toolTip);
    return button;
}

void MainWindow::setSourceListWidth(int width)
{
    const int clamped = std::clamp(width, minimumSourceListWidth, maximumSourceListWidth);
    const int total = m_mainSplitView->width();
    m_mainSplitView->setSizes({clamped, std::max(total - clamped, 1)});
}

void MainWindow::setSideBarDivider(int position)
{
    const int total = m_sideBarSplitView->width();
    const int sideBar = position >= total ? 0 : SplitViewFrames::sideBarWidth;
    m_sideBarSplitView->setSizes({std::max(total - sideBar, 1), sideBar});
    updateToggleImage();
}

bool MainWindow::isSideBarCollapsed() const
{
    return m_sideBarSplitView->sizes().value(1) == 0;
}

void MainWindow::applyTheme(const QColor &tint, const QColor &text)
{
    m_iconColour = text;
    for (NavigationBar *bar : {m_mainNavBar, m_sourceListNavBar, m_sourceListBottomNavBar}) {
        bar->setColorTint(tint);
        bar->setTextColour(text);
    }
    for (QToolButton *button : findChildren<QToolButton *>())
        if (button->property("iconName").isValid())
            button->setIcon(ToolbarIcons::icon(button->property("iconName").toString(), text));
    const QString handle = QStringLiteral("QSplitter::handle { background: %1; }").arg(tint.name());
    m_mainSplitView->setStyleSheet(handle);
    updateToggleImage();
}

QStringList MainWindow::mainSplitFrames() const
{
    return framesOf(m_mainSplitView);
}

QStringList MainWindow::subSplitFrames() const
{
    return framesOf(m_sideBarSplitView);
}

QStringList MainWindow::framesOf(const QSplitter *splitter)
{
    QStringList frames;
    for (int i = 0; i < splitter->count(); ++i) {
        const QWidget *pane = splitter->widget(i);
        frames.append(SplitViewFrames::frameText(pane->geometry(), splitter->sizes().value(i) == 0));
    }
    return frames;
}

void MainWindow::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    updateToggleImage();
}

void MainWindow::updateToggleImage()
{
    const QString name = isSideBarCollapsed() ? QStringLiteral("expand") : QStringLiteral("collapse");
    m_toggleSideBarButton->setProperty("iconName", name);
    m_toggleSideBarButton->setIcon(ToolbarIcons::icon(name, m_iconColour));
}
