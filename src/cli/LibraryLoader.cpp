#include "cli/LibraryLoader.h"

#include "cli/Console.h"
#include "model/FeedLibrary.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>

ExitStatus LibraryLoader::load(FeedLibrary &library)
{
    if (!prepareFolder())
        return ExitUnreadable;
    library.load();
    return reportTreeTrouble(library) ? ExitUnreadable : ExitSuccess;
}

ExitStatus LibraryLoader::loadForWriting(FeedLibrary &library)
{
    if (!prepareFolder())
        return ExitUnreadable;
    if (!library.lockForWriting()) {
        const QString holder = library.lockHolder();
        if (holder.isEmpty()) {
            Console::complain(QStringLiteral("cannot write the library %1: its folder cannot be written")
                                  .arg(FeedLibrary::libraryPath()));
            return ExitUnreadable;
        }
        Console::complain(QStringLiteral("the library %1 is in use by %2, so nothing was changed; run the "
                                         "command again once that program has quit")
                              .arg(FeedLibrary::libraryPath(), holder));
        return ExitLibraryInUse;
    }
    return load(library);
}

bool LibraryLoader::prepareFolder()
{
    const QString folder = FeedLibrary::libraryPath();
    const QFileInfo folderInfo(folder);
    if (folderInfo.exists() && !folderInfo.isDir()) {
        Console::complain(QStringLiteral("cannot read the library %1: it is not a folder").arg(folder));
        return false;
    }
    if (!QDir().mkpath(folder)) {
        Console::complain(
            QStringLiteral("cannot read the library %1: the folder cannot be made").arg(folder));
        return false;
    }
    return true;
}

// A command never decides what becomes of a tree it cannot read: the file stays where it is, and the
// line says how to restore it.
bool LibraryLoader::reportTreeTrouble(const FeedLibrary &library)
{
    const QString file = FeedLibrary::libraryFilePath();
    switch (library.treeTrouble()) {
    case FeedLibrary::TreeTrouble::None:
        return false;
    case FeedLibrary::TreeTrouble::Unopenable:
        Console::complain(QStringLiteral("cannot read %1: %2").arg(file, library.treeTroubleReason()));
        return true;
    case FeedLibrary::TreeTrouble::Unreadable:
        break;
    }
    const QString backup = library.newestReadableBackup();
    const QString remedy =
        backup.isEmpty()
            ? QStringLiteral("no readable backup of it exists")
            : QStringLiteral("the newest readable backup is %1, made %2: copy it over %3 to restore it, or "
                             "start QuillBay to choose")
                  .arg(backup,
                       QLocale::c().toString(QFileInfo(backup).lastModified(),
                                             QStringLiteral("yyyy-MM-dd HH:mm")),
                       file);
    Console::complain(QStringLiteral("cannot read %1: %2; it is kept as it is and nothing was changed; %3")
                          .arg(file, library.treeTroubleReason(), remedy));
    return true;
}
