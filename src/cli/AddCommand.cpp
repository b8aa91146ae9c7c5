#include "cli/AddCommand.h"

#include "cli/CommandWait.h"
#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/LibraryLoader.h"
#include "cli/SettingsCopy.h"
#include "fetch/AddFeedController.h"
#include "fetch/FeedUpdater.h"
#include "model/FeedLibrary.h"
#include "platform/NotificationCenter.h"

namespace {

TreeNodePtr folderTitled(FeedLibrary &library, const QString &title)
{
    for (const TreeNodePtr &folder : library.allFolders()) {
        const auto named = std::dynamic_pointer_cast<Folder>(folder);
        if (named && named->title() == title)
            return folder;
    }
    return {};
}

} // namespace

AddCommand::AddCommand(const QString &address, const std::optional<QString> &folder)
    : m_address(address), m_folder(folder)
{
}

int AddCommand::run() const
{
    FeedLibrary &library = FeedLibrary::feedLibrary();
    if (const ExitStatus status = LibraryLoader::loadForWriting(library); status != ExitSuccess)
        return status;
    const TreeNodePtr folder = m_folder ? folderTitled(library, *m_folder) : TreeNodePtr(library.root());
    if (!folder) {
        Console::complain(QStringLiteral("no folder named '%1' in the library (try --help)").arg(*m_folder));
        return ExitUsage;
    }
    SettingsCopy settings;

    FeedPtr added;
    QString reason;
    {
        FeedUpdater updater(library, settings.settings());
        updater.setPauseScheduledUpdates(true);
        AddFeedController controller(library, updater, NotificationCenter::defaultCenter());
        controller.setFolder(folder);
        controller.setAddress(m_address);
        if (controller.doAddFeed())
            CommandWait::until([&] { return !controller.download(); });
        added = controller.state() == AddFeedController::Accepted ? controller.addedFeed() : FeedPtr();
        reason = controller.failureReason();
        if (added)
            CommandWait::until([&] { return updater.isIdle(FeedUpdater::IconLane); },
                               QDeadlineTimer(iconWaitMs));
    }
    if (!added) {
        Console::complain(
            QStringLiteral("no feed found at %1: %2")
                .arg(m_address, reason.isEmpty() ? QStringLiteral("not a web address") : reason));
        return ExitNoFeed;
    }
    library.save();
    Console::print(
        QStringLiteral("Added %1  <%2>\n").arg(Console::oneLine(added->title()), added->feed().toString()));
    return ExitSuccess;
}
