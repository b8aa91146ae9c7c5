#include "app/MailtoAddress.h"

QUrl MailtoAddress::forMessage(const QString &subject, const QString &body)
{
    const auto escaped = [](const QString &text) {
        return QString::fromLatin1(QUrl::toPercentEncoding(text));
    };
    return QUrl(QStringLiteral("mailto:?subject=%1&body=%2").arg(escaped(subject), escaped(body)),
                QUrl::StrictMode);
}
