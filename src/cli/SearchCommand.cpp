#include "cli/SearchCommand.h"

#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/LibraryLoader.h"
#include "model/FeedLibrary.h"

SearchCommand::SearchCommand(const QString &text) : m_text(text) {}

int SearchCommand::run() const
{
    FeedLibrary &library = FeedLibrary::feedLibrary();
    if (const ExitStatus status = LibraryLoader::load(library); status != ExitSuccess)
        return status;
    library.performSearchWithString(m_text);
    QString lines;
    for (const TreeNodePtr &node : library.searchFolder()->children()) {
        const auto article = std::dynamic_pointer_cast<Article>(node);
        if (!article)
            continue;
        // Found articles are made afresh from their rows; the feed is looked up by the row's identifier.
        const FeedPtr feed = article->source();
        lines += QStringLiteral("%1\t%2\t%3\n")
                     .arg(Console::oneLine(feed ? feed->title() : QString()),
                          Console::oneLine(article->title()), article->link().toString());
    }
    Console::print(lines);
    return ExitSuccess;
}
