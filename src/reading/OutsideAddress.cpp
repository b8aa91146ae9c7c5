#include "reading/OutsideAddress.h"

#include "platform/LocalizedStrings.h"

#include <QUrlQuery>

namespace {

// Recipients are addresses and nothing more: no room for a query, a header or a path in disguise.
bool isPlainRecipientList(const QString &recipients)
{
    for (const QChar c : recipients) {
        if (c.isSpace() || c.category() == QChar::Other_Control || QStringView(u"?&=<>\"\\/;:").contains(c))
            return false;
    }
    return true;
}

QString escaped(const QString &text)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

} // namespace

QUrl OutsideAddress::admitted(const QUrl &url)
{
    if (!url.isValid())
        return {};
    const QString scheme = url.scheme().toLower();
    if (scheme == QLatin1String("mailto"))
        return cleanedMailto(url);
    const bool webScheme =
        scheme == QLatin1String("http") || scheme == QLatin1String("https") || scheme == QLatin1String("ftp");
    return webScheme && !url.host().isEmpty() ? url : QUrl();
}

bool OutsideAddress::isWebPage(const QUrl &url)
{
    return (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https")) &&
           !url.host().isEmpty();
}

QUrl OutsideAddress::cleanedMailto(const QUrl &url)
{
    if (url.scheme().compare(QLatin1String("mailto"), Qt::CaseInsensitive) != 0)
        return {};
    const QString recipients = url.path(QUrl::FullyDecoded);
    if (!isPlainRecipientList(recipients))
        return {};
    QString query;
    const QList<std::pair<QString, QString>> items = QUrlQuery(url).queryItems(QUrl::FullyDecoded);
    for (const QLatin1String key : {QLatin1String("subject"), QLatin1String("body")}) {
        for (const auto &[name, value] : items) {
            if (name.compare(key, Qt::CaseInsensitive) != 0)
                continue;
            query += (query.isEmpty() ? u'?' : u'&') + key + u'=' + escaped(value);
            break;
        }
    }
    if (recipients.isEmpty() && query.isEmpty())
        return {};
    return QUrl(QStringLiteral("mailto:") + QString::fromLatin1(QUrl::toPercentEncoding(recipients, "@,+")) +
                    query,
                QUrl::StrictMode);
}

QString OutsideAddress::refusalMessage(const QUrl &url)
{
    const QString scheme = url.scheme().toLower();
    if (scheme.isEmpty())
        return LocalizedStrings::text(QStringLiteral("RefusedAddressWithoutScheme"));
    return LocalizedStrings::text(QStringLiteral("RefusedAddressScheme")).arg(scheme);
}
