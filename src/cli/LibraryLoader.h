// Loads the library a command works on, after making sure its folder can be used, so that a bad
// --library, a damaged library or a library in use gives one clear line instead of an empty library.
// It never loads a library twice, and never lets a command write a library another program holds.
#pragma once

#include "cli/ExitStatus.h"

class FeedLibrary;

class LibraryLoader
{
public:
    // For commands that only read: they work beside the desktop program. Anything but ExitSuccess
    // comes after a one-line complaint. A folder without a library gets one, as on the desktop
    // program's first start.
    static ExitStatus load(FeedLibrary &library);
    // For commands that write: the library folder is taken first, and a library another program holds
    // is refused with ExitLibraryInUse before anything is read or written.
    static ExitStatus loadForWriting(FeedLibrary &library);

private:
    static bool prepareFolder();
    static bool reportTreeTrouble(const FeedLibrary &library);
};
