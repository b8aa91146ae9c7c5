#include "cli/LibraryLoader.h"

#include "cli/Console.h"
#include "model/FeedLibrary.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

bool LibraryLoader::load(FeedLibrary &library)
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
    // The library would start afresh from a tree it cannot open, and the next save would replace it.
    QFile tree(FeedLibrary::libraryFilePath());
    if (tree.exists() && !tree.open(QIODevice::ReadOnly)) {
        Console::complain(QStringLiteral("cannot read %1: %2").arg(tree.fileName(), tree.errorString()));
        return false;
    }
    tree.close();
    library.load();
    return true;
}
