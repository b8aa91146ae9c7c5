// Pages are built from many short pieces: each expression makes one allocation instead of one per piece.
#define QT_USE_QSTRINGBUILDER

#include "headlines/PageSecurityPolicy.h"

#include <QCryptographicHash>
#include <QSet>

QString PageSecurityPolicy::hashSource(const QString &handler)
{
    const QByteArray digest = QCryptographicHash::hash(handler.toUtf8(), QCryptographicHash::Sha256);
    return QStringLiteral("'sha256-") + QString::fromLatin1(digest.toBase64()) + u'\'';
}

QString PageSecurityPolicy::metaTag(const QStringList &clickHandlers)
{
    QString scripts;
    if (clickHandlers.isEmpty()) {
        scripts = QStringLiteral("'none'");
    } else {
        scripts = QStringLiteral("'unsafe-hashes'");
        scripts.reserve(clickHandlers.size() * 56);
        QSet<QString> seen;
        for (const QString &handler : clickHandlers) {
            if (seen.contains(handler))
                continue;
            seen.insert(handler);
            scripts += u' ' + hashSource(handler);
        }
    }
    // Summaries carry pictures from anywhere on the web; state icons and thumbnails are local files.
    return QStringLiteral(
               "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src ") +
           scripts +
           QStringLiteral("; style-src 'unsafe-inline' file:; img-src file: http: https: data:; form-action "
                          "'none'; frame-src 'none'; child-src 'none'; "
                          "connect-src 'none'; object-src 'none'; media-src 'none'; base-uri 'none'\">\n");
}
