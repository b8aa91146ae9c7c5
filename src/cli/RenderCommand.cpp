#include "cli/RenderCommand.h"

#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/LibraryLoader.h"
#include "headlines/HeadlinePage.h"
#include "model/SettingsTable.h"
#include "platform/Defaults.h"

#include <QFile>
#include <QFileInfo>

RenderCommand::RenderCommand(const QStringList &arguments) : m_arguments(arguments) {}

int RenderCommand::usageError(const QString &problem) const
{
    Console::complain(QStringLiteral("render: ") + problem + QStringLiteral(" (try --help)"));
    return ExitUsage;
}

// Reads "--option VALUE" or "--option=VALUE" for the option at the position; the position moves past it.
bool RenderCommand::takeValue(qsizetype &at, std::optional<QString> &value)
{
    const QString &argument = m_arguments.at(at);
    const qsizetype equals = argument.indexOf(u'=');
    if (equals > 0)
        value = argument.sliced(equals + 1);
    else if (at + 1 < m_arguments.size())
        value = m_arguments.at(++at);
    return value && !value->isEmpty();
}

bool RenderCommand::readArguments()
{
    const struct
    {
        const char *name;
        std::optional<QString> RenderCommand::*value;
    } valued[] = {{"--feed", &RenderCommand::m_feed},       {"--folder", &RenderCommand::m_folder},
                  {"--article", &RenderCommand::m_article}, {"--search", &RenderCommand::m_search},
                  {"--mode", &RenderCommand::m_mode},       {"--sort", &RenderCommand::m_sort},
                  {"--filter", &RenderCommand::m_filter},   {"--out", &RenderCommand::m_out},
                  {"--library", &RenderCommand::m_library}};
    for (qsizetype at = 0; at < m_arguments.size(); ++at) {
        const QString argument = m_arguments.at(at);
        const QString name = argument.section(u'=', 0, 0);
        if (argument == QLatin1String("--unread")) {
            m_unread = true;
            continue;
        }
        if (argument == QLatin1String("--today")) {
            m_today = true;
            continue;
        }
        bool known = false;
        for (const auto &option : valued) {
            if (name != QLatin1String(option.name))
                continue;
            known = true;
            if (!takeValue(at, this->*option.value)) {
                usageError(QStringLiteral("%1 needs a value").arg(name));
                return false;
            }
        }
        if (!known) {
            usageError(QStringLiteral("unknown argument '%1'").arg(argument));
            return false;
        }
    }
    return readChoices();
}

bool RenderCommand::readChoices()
{
    const int selections = int(bool(m_feed)) + int(bool(m_folder)) + int(bool(m_article)) +
                           int(bool(m_search)) + int(m_unread) + int(m_today);
    if (selections > 1) {
        usageError(
            QStringLiteral("choose one of --feed, --folder, --article, --unread, --today and --search"));
        return false;
    }
    const QStringList modes = {QStringLiteral("list"), QStringLiteral("tiles")};
    const QStringList sorts = {QStringLiteral("date"), QStringLiteral("feed"), QStringLiteral("state")};
    if (m_mode && !modes.contains(*m_mode)) {
        usageError(QStringLiteral("--mode is list or tiles"));
        return false;
    }
    if (m_sort && !sorts.contains(*m_sort)) {
        usageError(QStringLiteral("--sort is date, feed or state"));
        return false;
    }
    bool isNumber = true;
    if (m_filter)
        m_filterMethod = m_filter->toInt(&isNumber);
    if (!isNumber) {
        usageError(QStringLiteral("--filter needs a whole number"));
        return false;
    }
    m_displayMode = m_mode ? int(modes.indexOf(*m_mode)) : HeadlinePage::ListMode;
    m_sortMethod = m_sort ? int(sorts.indexOf(*m_sort)) + 1 : 1;
    return true;
}

// Chooses the library's selection the way the side bar, a search or a link in the page would.
bool RenderCommand::select(FeedLibrary &library) const
{
    const std::optional<QString> &wanted = m_feed ? m_feed : m_folder ? m_folder : m_article;
    const int kind = m_feed ? TreeNode::FeedKind : m_folder ? TreeNode::FolderKind : TreeNode::ArticleKind;
    if (wanted) {
        const TreeNodePtr item = library.itemWithUniqueID(*wanted);
        if (!item || item->kindOfObject() != kind) {
            Console::complain(QStringLiteral("render: no %1 with identifier %2")
                                  .arg(m_feed     ? QStringLiteral("feed")
                                       : m_folder ? QStringLiteral("folder")
                                                  : QStringLiteral("article"),
                                       *wanted));
            return false;
        }
        library.setSelectedItems({item});
    } else if (m_search) {
        library.performSearchWithString(*m_search);
    } else if (m_unread || m_today) {
        auto folder = std::make_shared<VirtualFolder>();
        const ArticleList found =
            m_unread ? library.allUnreadArticles() : library.articlesMatchingDate(CalendarDate::now());
        folder->addChildren(TreeNodeList(found.cbegin(), found.cend()));
        library.setSelectedItems({folder});
    } else {
        library.setSelectedItems({library.root()});
    }
    return true;
}

int RenderCommand::run()
{
    if (!readArguments())
        return ExitUsage;
    if (m_library)
        FeedLibrary::setLibraryPath(QFileInfo(*m_library).absoluteFilePath());
    FeedLibrary &library = FeedLibrary::feedLibrary();
    if (const ExitStatus status = LibraryLoader::load(library); status != ExitSuccess)
        return status;
    if (!select(library))
        return ExitUnreadable;
    SettingsTable::install();
    HeadlinePage page(library, Defaults::standard());
    page.setDisplayMode(m_displayMode);
    page.setSortMethod(m_sortMethod);
    page.setFilterMethod(m_filterMethod);
    const QByteArray html = page.generateHTML().toUtf8();
    if (!m_out) {
        Console::printBytes(html);
        return ExitSuccess;
    }
    QFile file(*m_out);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(html) != html.size()) {
        Console::complain(QStringLiteral("render: cannot write %1").arg(*m_out));
        return ExitUnreadable;
    }
    return ExitSuccess;
}
