// Loads the library a command works on, after making sure its folder can be used, so that a bad
// --library gives one clear line instead of an empty library. It never loads a library twice.
#pragma once

class FeedLibrary;

class LibraryLoader
{
public:
    // False, after a one-line complaint, when the folder or its archived tree cannot be read.
    // A folder without a library gets one, as the desktop program makes it on its first start.
    static bool load(FeedLibrary &library);
};
