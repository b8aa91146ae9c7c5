#include "platform/LocalizedStrings.h"

#include "platform/Log.h"
#include "platform/Resources.h"

#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
QHash<QString, QString> loadTable()
{
    QHash<QString, QString> table;
    const QString path = Resources::path(QStringLiteral("Localizable"), QStringLiteral("json"));
    const QJsonDocument document = QJsonDocument::fromJson(Resources::text(QStringLiteral("Localizable"),
                                                                            QStringLiteral("json")).toUtf8());
    if (!document.isObject()) {
        Log::write(QStringLiteral("-[LocalizedStrings text:] no string table at %1").arg(path));
        return table;
    }
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it)
        table.insert(it.key(), it.value().toString());
    return table;
}
} // namespace

QString LocalizedStrings::text(const QString &key)
{
    static const QHash<QString, QString> table = loadTable();
    return table.value(key, QStringLiteral(""));
}
