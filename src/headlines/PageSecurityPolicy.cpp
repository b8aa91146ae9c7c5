// Pages are built from many short pieces: each expression makes one allocation instead of one per piece.
#define QT_USE_QSTRINGBUILDER

#include "headlines/PageSecurityPolicy.h"

#include <QCryptographicHash>

QString PageSecurityPolicy::hashSource(const QString &text)
{
    const QByteArray digest = QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha256);
    return QStringLiteral("'sha256-") + QString::fromLatin1(digest.toBase64()) + u'\'';
}

QString PageSecurityPolicy::metaTag(const QString &script, const QString &style)
{
    const QString scripts = script.isEmpty() ? QStringLiteral("'none'") : hashSource(script);
    const QString styles =
        style.isEmpty() ? QStringLiteral("file:") : QStringLiteral("file: ") + hashSource(style);
    return QStringLiteral("<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
                          "script-src ") +
           scripts + QStringLiteral("; style-src ") + styles +
           QStringLiteral("; img-src file: http: https:; media-src http: https:; form-action 'none'; "
                          "frame-src 'none'; child-src 'none'; connect-src 'none'; object-src 'none'; "
                          "base-uri 'none'\">\n");
}
