// Keeps the headline page's reach into the user's files to the program's own picture folders: feed
// text may name any file: address, and only the resources, icons and thumbnails may load.
#pragma once

#include <QStringList>
#include <QWebEngineUrlRequestInterceptor>

class LocalFileGuard : public QWebEngineUrlRequestInterceptor
{
    Q_OBJECT

public:
    explicit LocalFileGuard(const QStringList &allowedFolders, QObject *parent = nullptr);

    bool mayLoad(const QUrl &url) const;
    void interceptRequest(QWebEngineUrlRequestInfo &info) override;

private:
    QStringList m_allowedFolders;
};
