#include "fetch/TransferDefaults.h"

#include "platform/Defaults.h"

QString TransferDefaults::userAgent()
{
    return Defaults::standard().string(QStringLiteral("UserAgent"));
}
