// The exit statuses of quillbay-cli. Scripts test them, so a value never changes its meaning.
#pragma once

enum ExitStatus : int
{
    ExitSuccess = 0,
    ExitUnreadable = 1,   // a file or the library could not be read, or an export not written
    ExitUsage = 2,        // the arguments make no command
    ExitLibraryInUse = 3, // a command that writes found the library held by another program
    ExitNoFeed = 4        // add found no feed at the address
};
