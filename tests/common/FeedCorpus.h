// The public feed documents kept beside the project, used as hostile inputs (never as answers).
#pragma once

#include <QStringList>

class FeedCorpus
{
public:
    static QString folder();     // QB_FEED_CORPUS in the environment wins over the shared folder
    static QStringList files();  // every document below it; empty when the corpus is not there
};
