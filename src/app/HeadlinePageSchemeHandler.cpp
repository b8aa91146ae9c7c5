#include "app/HeadlinePageSchemeHandler.h"

#include <QBuffer>
#include <QWebEngineUrlRequestJob>
#include <QWebEngineUrlScheme>

void HeadlinePageSchemeHandler::registerSchemes()
{
    QWebEngineUrlScheme page(schemeName());
    page.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    // Not secure on purpose: a secure page would have its http images upgraded or blocked.
    page.setFlags(QWebEngineUrlScheme::LocalAccessAllowed);
    QWebEngineUrlScheme::registerScheme(page);
    // Registered so that clicks on command links reach the navigation policy at all.
    QWebEngineUrlScheme commands(QByteArrayLiteral("quillbay"));
    commands.setSyntax(QWebEngineUrlScheme::Syntax::Path);
    QWebEngineUrlScheme::registerScheme(commands);
}

HeadlinePageSchemeHandler::HeadlinePageSchemeHandler(QObject *parent) : QWebEngineUrlSchemeHandler(parent) {}

QUrl HeadlinePageSchemeHandler::setPage(const QString &html)
{
    m_page = html.toUtf8();
    m_pageUrl = QUrl(QString::fromLatin1(schemeName()) + QStringLiteral(":headlines-%1").arg(++m_serial));
    return m_pageUrl;
}

void HeadlinePageSchemeHandler::requestStarted(QWebEngineUrlRequestJob *job)
{
    if (job->requestUrl() == m_pageUrl) {
        auto *body = new QBuffer(job);
        body->setData(m_page);
        job->reply(QByteArrayLiteral("text/html;charset=utf-8"), body);
        return;
    }
    job->fail(QWebEngineUrlRequestJob::UrlNotFound);
}
