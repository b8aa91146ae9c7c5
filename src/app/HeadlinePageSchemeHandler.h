// Serves the generated headline page to the web view under a scheme of its own, so that pages of any
// size load and the page may show the program's local images. It never serves anything but the page
// it was given; other addresses under its scheme are the page's relative references.
#pragma once

#include <QUrl>
#include <QWebEngineUrlSchemeHandler>
#include <functional>

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

    // Feed text links relative to its site; such a reference reaches the scheme as a path of ours and
    // is resolved against what the resolver answers (the site of the article shown), or refused.
    using RelativeResolver = std::function<QUrl(const QString &path)>;
    void setRelativeResolver(RelativeResolver resolver) { m_resolver = std::move(resolver); }
    QUrl resolveRelative(const QUrl &url) const;

    void requestStarted(QWebEngineUrlRequestJob *job) override;

private:
    QByteArray m_page;
    QUrl m_pageUrl;
    quint64 m_serial = 0;
    RelativeResolver m_resolver;
};
