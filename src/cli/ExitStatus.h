// The exit statuses of quillbay-cli. Scripts test them, so a value never changes its meaning.
#pragma once

enum ExitStatus : int
{
    ExitSuccess = 0,
    ExitUnreadable = 1, // a file or the library could not be read, or an export not written
    ExitUsage = 2,      // the arguments make no command
    ExitNoFeed = 3      // add found no feed at the address
};
