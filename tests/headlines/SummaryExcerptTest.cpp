#include "headlines/SummaryExcerpt.h"

#include <gtest/gtest.h>

TEST(SummaryExcerpt, PlainTextDropsMarkupAndUnreadableElementsAndDecodesEntities)
{
    EXPECT_EQ(SummaryExcerpt::plainText("<p>Tides&nbsp;&amp; <b>winds</b></p><p>today</p>"),
              "Tides & winds today");
    EXPECT_EQ(SummaryExcerpt::plainText("a<script>var x = '<b>';</script>b<STYLE>p{}</STYLE>c"), "a b c");
    EXPECT_EQ(SummaryExcerpt::plainText("&#65;&#x42;&lt;tag&gt; &copy; R&D &unknownentity;"),
              "AB<tag> &copy; R&D &unknownentity;");
    EXPECT_EQ(SummaryExcerpt::plainText("&#128512; smile"), QString::fromUtf8("\xF0\x9F\x98\x80 smile"));
    EXPECT_EQ(SummaryExcerpt::plainText("text <a href=\"x\" unfinished"), "text");
    EXPECT_EQ(SummaryExcerpt::plainText("a<script>never closed"), "a");
}

TEST(SummaryExcerpt, TheSliderKeepsWholeMarkupShortensToWordsOrHidesTheSummary)
{
    const QString html =
        "<p>The <i>harbour</i> froze overnight and the ferries stayed in port until noon.</p>";
    EXPECT_EQ(SummaryExcerpt::excerpt(html, 1.0), html);
    EXPECT_EQ(SummaryExcerpt::excerpt(html, -3), "");

    // 0.05 of 600 characters is 30: the cut falls at the last word break before it.
    EXPECT_EQ(SummaryExcerpt::excerpt(html, 0.05), "The harbour froze overnight…");
    EXPECT_EQ(SummaryExcerpt::excerpt(html, 0.5),
              "The harbour froze overnight and the ferries stayed in port until noon.")
        << "a summary within the budget is whole, without markup and without an ellipsis";

    // Decoded text is escaped again, so no markup can be made of entities.
    EXPECT_EQ(SummaryExcerpt::excerpt("&lt;script&gt;alert(1)&lt;/script&gt;", 0.5),
              "&lt;script&gt;alert(1)&lt;/script&gt;");
    const QString address = "https://example.org/" + QString(100, u'a');
    EXPECT_EQ(SummaryExcerpt::excerpt("see " + address, 0.05), ("see " + address).left(30) + "…")
        << "a word longer than the budget is cut, not dropped";
}
