// The short reasons a transfer failed, as the user reads them beside a feed ("404 Not Found",
// "Timed out"). It only names failures; it never decides that one happened.
#pragma once

#include <QString>
#include <curl/curl.h>

class TransferFailure
{
public:
    static QString tooLarge() { return QStringLiteral("Too large"); }
    static QString timedOut() { return QStringLiteral("Timed out"); }
    static QString notAFeed() { return QStringLiteral("Not a feed"); }
    static QString notAnImage() { return QStringLiteral("Not an image"); }
    static QString diskFull() { return QStringLiteral("Disk full"); }
    static QString notAWebAddress() { return QStringLiteral("Not a web address"); }

    // "404 Not Found": the code with the standard phrase, never the server's own wording, which is
    // free text a hostile server could fill with anything.
    static QString forStatus(int status);
    static QString forCurlCode(CURLcode code);
};
