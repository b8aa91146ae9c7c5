#include "fetch/TransferDefaults.h"

#include "platform/Defaults.h"

#include <mutex>

namespace {
// Read by the thumbnail worker as well as the main thread.
std::mutex limitsLock;
TransferDefaults::Limits currentLimits;
} // namespace

TransferDefaults::Limits TransferDefaults::limits()
{
    std::lock_guard locker(limitsLock);
    return currentLimits;
}

void TransferDefaults::setLimits(const Limits &limits)
{
    std::lock_guard locker(limitsLock);
    currentLimits = limits;
}

QString TransferDefaults::userAgent()
{
    const QString stored = Defaults::standard().string(QStringLiteral("UserAgent"));
    // Tools that never ran the application's start-up still announce themselves the same way.
    return stored.isEmpty() ? QStringLiteral("QuillBay/%1 Macintosh").arg(QStringLiteral(QB_VERSION))
                            : stored;
}
