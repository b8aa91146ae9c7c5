// The headline pane: a web view that shows the generated page through its own scheme, in a private
// profile that keeps no cookies or cache on disk and may read no local file but the program's pictures.
// It never decides what a click does; its delegate, the main window, does.
#pragma once

#include "app/HeadlineDisplay.h"

#include <QDeadlineTimer>
#include <QWebEngineView>

class HeadlinePageSchemeHandler;
class HeadlineViewDelegate;
class LocalFileGuard;
class QBHeadlineWebPage;

class QBHeadlineWebView : public QWebEngineView, public HeadlineDisplay
{
    Q_OBJECT

public:
    QBHeadlineWebView(const QString &userAgent, QWidget *parent = nullptr);
    ~QBHeadlineWebView() override;

    void setDelegate(HeadlineViewDelegate *delegate);

    QWidget *widget() override { return this; }
    void showPage(const QString &html) override;
    void findText(const QString &text, bool forward) override;
    void setTextSizeMultiplier(double multiplier) override;
    void scrollPageTo(const QPointF &position) override;
    void printPage() override;

    bool isLoading() const { return m_loading; }

protected:
    void contextMenuEvent(QContextMenuEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void configureSettings();
    void noteUserInput();
    bool userActedRecently() const;

    QWebEngineProfile *m_profile;
    HeadlinePageSchemeHandler *m_pages;
    LocalFileGuard *m_fileGuard;
    QBHeadlineWebPage *m_page;
    HeadlineViewDelegate *m_delegate = nullptr;
    QDeadlineTimer m_userInputWindow;
    bool m_loading = false;
};
