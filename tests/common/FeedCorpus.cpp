#include "FeedCorpus.h"

#include <QDirIterator>

QString FeedCorpus::folder()
{
    const QString configured = qEnvironmentVariable("QB_FEED_CORPUS");
    return configured.isEmpty() ? QStringLiteral(QB_FEED_CORPUS_DIR) : configured;
}

QStringList FeedCorpus::files()
{
    QStringList paths;
    QDirIterator it(folder(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        paths.append(it.next());
    paths.sort();
    return paths;
}
