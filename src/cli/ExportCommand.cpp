#include "cli/ExportCommand.h"

#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/LibraryLoader.h"
#include "model/FeedLibrary.h"
#include "model/OPMLExporter.h"

ExportCommand::ExportCommand(const QString &path) : m_path(path) {}

int ExportCommand::run() const
{
    FeedLibrary &library = FeedLibrary::feedLibrary();
    if (const ExitStatus status = LibraryLoader::load(library); status != ExitSuccess)
        return status;
    OPMLExporter exporter(library.root());
    if (!exporter.saveToOPMLFile(m_path)) {
        Console::complain(QStringLiteral("cannot write %1: %2").arg(m_path, exporter.errorString()));
        return ExitUnreadable;
    }
    const qsizetype count = library.allFeeds().size();
    Console::print(QStringLiteral("Exported %1 %2 to %3\n")
                       .arg(count)
                       .arg(count == 1 ? QStringLiteral("feed") : QStringLiteral("feeds"))
                       .arg(m_path));
    return ExitSuccess;
}
