// An article's title and summary as the headline page shows them: passed through the sanitiser the first
// time a page needs them and kept with the article. Text that cannot hold markup is used as it is and
// costs no memory; nothing here ever lets the raw text of a feed reach a page.
#pragma once

#include "model/Article.h"

#include <QString>
#include <QUrl>

class ArticlePageText
{
public:
    static QString title(Article &article);
    static QString summary(Article &article, bool holdRemotePictures);
    // What relative addresses in the article's text mean: its own web page, else its feed's.
    static QUrl baseAddress(Article &article);
};
