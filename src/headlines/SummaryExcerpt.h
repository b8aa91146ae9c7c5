// Shortens an article's summary for the headline list as far as the article-length slider asks. It
// never shortens a summary the slider leaves whole, and never lets markup of the summary through a cut.
#pragma once

#include <QString>

class SummaryExcerpt
{
public:
    // The characters a summary keeps with the slider just short of its full position.
    static constexpr int longestExcerpt = 600;

    // length 1 (or more) keeps the summary's markup as it is; 0 (or less) keeps nothing; in between, the
    // summary's text without markup, cut at a word break to that fraction of the longest excerpt.
    static QString excerpt(const QString &summaryHTML, double length);
    // The readable text of a piece of HTML: no tags, no script or style text, entities decoded and runs
    // of blanks made one space.
    static QString plainText(const QString &html);
};
