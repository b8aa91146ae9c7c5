// What every HTTP transfer of the program sends and how long it waits: one place, so that feeds, icons
// and thumbnails are fetched alike. It only answers values; it never starts a transfer.
#pragma once

#include <QString>

class TransferDefaults
{
public:
    // A transfer that has not finished in this time is abandoned.
    static constexpr long timeoutSeconds = 30;

    // The "UserAgent" setting, written at start-up with the application's version; the same text when unset.
    static QString userAgent();
};
