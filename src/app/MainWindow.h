// The main window's widgets and their arrangement: the source list, the headline pane, the side-bar
// pane, the navigation bars and the status line. It lays out and reports; the controller decides.
#pragma once

#include <QMainWindow>

class Defaults;
class NavigationBar;
class QLabel;
class QProgressBar;
class QSplitter;
class QToolButton;
class SourceListView;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow(Defaults &defaults, QWidget *headlinePane, QWidget *parent = nullptr);

    SourceListView *sourceList() const { return m_sourceList; }
    NavigationBar *mainNavBar() const { return m_mainNavBar; }
    NavigationBar *sourceListNavBar() const { return m_sourceListNavBar; }
    NavigationBar *sourceListBottomNavBar() const { return m_sourceListBottomNavBar; }
    QSplitter *mainSplitView() const { return m_mainSplitView; }
    QSplitter *sideBarSplitView() const { return m_sideBarSplitView; }
    QWidget *sideBarPane() const { return m_sideBarPane; }
    QLabel *statusMessage() const { return m_statusMessage; }
    QProgressBar *taskView() const { return m_taskView; }
    QToolButton *normalViewModeButton() const { return m_normalViewModeButton; }
    QToolButton *pictureViewModeButton() const { return m_pictureViewModeButton; }
    QToolButton *toggleSideBarButton() const { return m_toggleSideBarButton; }
    QToolButton *articleActionButton() const { return m_articleActionButton; }
    QToolButton *addButton() const { return m_addButton; }
    QToolButton *removeButton() const { return m_removeButton; }

    void setSourceListWidth(int width);
    void setSideBarDivider(int position);
    bool isSideBarCollapsed() const;
    // Every bar, button picture and label in the theme's colours.
    void applyTheme(const QColor &tint, const QColor &text);

    // The pane frames as the split views' saved texts, and the window's frame.
    QStringList mainSplitFrames() const;
    QStringList subSplitFrames() const;

signals:
    void sideBarToggled();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QWidget *buildSourceListPane(Defaults &defaults);
    QWidget *buildHeadlinePane(QWidget *headlinePane);
    void buildStatusBar();
    QToolButton *barButton(const QString &name, const QString &toolTip);
    void updateToggleImage();
    static QStringList framesOf(const QSplitter *splitter);

    SourceListView *m_sourceList = nullptr;
    NavigationBar *m_mainNavBar = nullptr;
    NavigationBar *m_sourceListNavBar = nullptr;
    NavigationBar *m_sourceListBottomNavBar = nullptr;
    QSplitter *m_mainSplitView = nullptr;
    QSplitter *m_sideBarSplitView = nullptr;
    QWidget *m_sideBarPane = nullptr;
    QLabel *m_statusMessage = nullptr;
    QProgressBar *m_taskView = nullptr;
    QToolButton *m_normalViewModeButton = nullptr;
    QToolButton *m_pictureViewModeButton = nullptr;
    QToolButton *m_toggleSideBarButton = nullptr;
    QToolButton *m_articleActionButton = nullptr;
    QToolButton *m_addButton = nullptr;
    QToolButton *m_removeButton = nullptr;
    QColor m_iconColour = Qt::black;
};
