// What every HTTP transfer of the program sends, how long it may take and how much it may bring: one
// place, so that feeds, pages, icons and thumbnails are fetched alike. It only answers values; it never
// starts a transfer.
#pragma once

#include <QString>

class TransferDefaults
{
public:
    // What a server may cost us. Sizes count bytes after decompression, so a small compressed answer
    // cannot grow without bound in memory.
    struct Limits
    {
        qint64 pageBytes = 50 * 1024 * 1024; // a feed, a web page, a picture, a feed's source
        qint64 iconBytes = 1024 * 1024;
        qint64 headerBytes = 256 * 1024; // all header lines of one answer together
        int totalMs = 120 * 1000;        // the whole of any transfer but an enclosure
        int stallMs = 30 * 1000;         // without a single byte arriving
        // An enclosure stops before it leaves less than this free on its disk.
        qint64 reservedDiskBytes = 256 * 1024 * 1024;
    };

    static Limits limits();
    // Tests shrink the limits so that a stalled or endless server is judged in a second.
    static void setLimits(const Limits &limits);

    // The "UserAgent" setting, written at start-up with the application's version; the same text when unset.
    static QString userAgent();
};
