#include "fetch/TransferDefaults.h"

#include "platform/Defaults.h"

QString TransferDefaults::userAgent()
{
    const QString stored = Defaults::standard().string(QStringLiteral("UserAgent"));
    // Tools that never ran the application's start-up still announce themselves the same way.
    return stored.isEmpty() ? QStringLiteral("QuillBay/%1 Macintosh").arg(QStringLiteral(QB_VERSION))
                            : stored;
}
