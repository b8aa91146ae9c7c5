// Serves the generated headline page to the web view under a scheme of its own, so that pages of any
// size load and the page may show the program's local images. It never serves anything but the page
// it was given: feed text reaches the page with every address made absolute.
#pragma once

#include <QUrl>
#include <QWebEngineUrlSchemeHandler>

class HeadlinePageSchemeHandler : public QWebEngineUrlSchemeHandler
{
    Q_OBJECT

public:
    static QByteArray schemeName() { return QByteArrayLiteral("qbpage"); }
    // Must run before the application object exists, as the web engine requires.
    static void registerSchemes();

    explicit HeadlinePageSchemeHandler(QObject *parent = nullptr);

    // The address under which the view finds the page; each page gets a new one, so the view never
    // shows an older page from its cache.
    QUrl setPage(const QString &html);
    bool isPageAddress(const QUrl &url) const { return url == m_pageUrl; }

    void requestStarted(QWebEngineUrlRequestJob *job) override;

private:
    QByteArray m_page;
    QUrl m_pageUrl;
    quint64 m_serial = 0;
};
