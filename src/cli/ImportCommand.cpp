#include "cli/ImportCommand.h"

#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/InputFile.h"
#include "cli/LibraryLoader.h"
#include "model/FeedLibrary.h"
#include "reading/OPMLImporter.h"

ImportCommand::ImportCommand(const QString &path) : m_path(path) {}

int ImportCommand::run() const
{
    // The importer reads an unreadable file as an empty list; here that must be an error instead.
    if (!InputFile::read(m_path))
        return ExitUnreadable;
    FeedLibrary &library = FeedLibrary::feedLibrary();
    if (const ExitStatus status = LibraryLoader::loadForWriting(library); status != ExitSuccess)
        return status;

    const OPMLImporter importer = OPMLImporter::importFeedsFromPath(m_path);
    const FolderPtr root = library.root();
    // Top-level folders and feeds move across whole, each after the root's last child.
    for (const TreeNodePtr &item : importer.importedFeedsFolder()->children())
        library.add(item, root, root->childCount());
    library.save();

    const qsizetype count = importer.feeds().size();
    Console::print(QStringLiteral("Imported %1 %2 into %3\n")
                       .arg(count)
                       .arg(count == 1 ? QStringLiteral("feed") : QStringLiteral("feeds"))
                       .arg(FeedLibrary::libraryPath()));
    return ExitSuccess;
}
