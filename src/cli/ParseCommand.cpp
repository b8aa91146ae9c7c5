#include "cli/ParseCommand.h"

#include "cli/Console.h"
#include "cli/ExitStatus.h"
#include "cli/FeedJsonWriter.h"
#include "cli/InputFile.h"
#include "model/FeedLibrary.h"
#include "reading/QBParser.h"

#include <QJsonDocument>
#include <QTemporaryDir>

ParseCommand::ParseCommand(const QString &path, const std::optional<QString> &encoding)
    : m_path(path), m_encoding(encoding)
{
}

int ParseCommand::run() const
{
    const std::optional<QByteArray> bytes = InputFile::read(m_path);
    if (!bytes)
        return ExitUnreadable;
    const QTemporaryDir scratch;
    if (!scratch.isValid()) {
        Console::complain(QStringLiteral("cannot make a scratch library: %1").arg(scratch.errorString()));
        return ExitUnreadable;
    }
    FeedLibrary::setLibraryPath(scratch.path());
    // Declared after the folder so that it closes its database before the folder goes.
    FeedLibrary library;
    prepareEmptyLibrary(library);

    auto feed = std::make_shared<Feed>();
    library.add(feed, library.root(), 0);
    QBParser parser(library);
    parser.setFeed(feed);
    // A named character set stands for the one a refresh would find stored with the feed.
    if (m_encoding) {
        feed->setEncoding(*m_encoding);
        parser.setEncoding(*m_encoding);
    }
    parser.processData(*bytes);

    const QJsonObject json = FeedJsonWriter(library).feedObject(*feed);
    Console::printBytes(QJsonDocument(json).toJson(QJsonDocument::Indented));
    return ExitSuccess;
}

// A library loaded from a folder without a tree is seeded with the default subscriptions; an empty
// archived tree written first keeps the scratch library down to the one feed being read.
void ParseCommand::prepareEmptyLibrary(FeedLibrary &library)
{
    auto root = std::make_shared<Folder>();
    root->setTitle(QStringLiteral("Feed Library"));
    root->setUniqueID(QStringLiteral("root"));
    library.setRoot(root);
    library.save();
    library.load();
}
