#include "reading/QBStringExtras.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

TEST(HtmlToText, KeepsTheTextContentWithEntitiesDecodedAndScriptsLeftOut)
{
    EXPECT_EQ(QBStringExtras::removeTags("<p>Caf&eacute; <b>bold</b> &amp; <i>done</i></p>"),
              u"Caf\u00E9 bold & done");
    EXPECT_EQ(QBStringExtras::removeTags("a < b and c > d"), "a < b and c > d");
    EXPECT_EQ(QBStringExtras::removeTags("<b>unclosed <i>tags"), "unclosed tags");
    EXPECT_EQ(
        QBStringExtras::removeTags("<script>alert(1)</script>x<style>p{}</style>y<SCRIPT>z</SCRIPT>"
                                   "<noscript>n</noscript><template>t</template><svg><text>s</text></svg>"),
        "xy");
    EXPECT_EQ(QBStringExtras::removeTags(QString::fromUtf16(u"<p>\u65E5\u672C &#x1F600;</p>")),
              u"\u65E5\u672C \U0001F600");
    EXPECT_TRUE(QBStringExtras::removeTags(QString()).isEmpty());
}

TEST(HtmlToText, SurvivesDeepNestingBinaryJunkAndNeverPrints)
{
    LogCapture log;
    EXPECT_EQ(QBStringExtras::removeTags(QString("<div>").repeated(250) + "deep"), "deep");
    // Past libxml2's nesting limit the text is lost, but nothing else happens.
    EXPECT_FALSE(QBStringExtras::removeTags(QString("<div>").repeated(100000) + "deep").contains("<"));
    const QString junk = QString::fromUtf8(QByteArray("\x00\x01<\xff\xfe>&#0;&#xD800;<!--", 22));
    QBStringExtras::removeTags(junk);
    EXPECT_TRUE(log.lines().isEmpty());
}

TEST(XmlEntities, DecodesThePredefinedFiveAndNumericReferencesOnly)
{
    EXPECT_EQ(QBStringExtras::stringByReplacingEntities("&lt;b&gt; &quot;x&apos; &amp;amp;"),
              "<b> \"x' &amp;");
    EXPECT_EQ(QBStringExtras::stringByReplacingEntities("caf&#233; caf&#xE9; caf&#XE9; &#x1F600;"),
              u"caf\u00E9 caf\u00E9 caf\u00E9 \U0001F600");
    EXPECT_EQ(QBStringExtras::stringByReplacingEntities("&eacute; &nbsp; &Amp; &unknown;"),
              "&eacute; &nbsp; &Amp; &unknown;");
    EXPECT_EQ(
        QBStringExtras::stringByReplacingEntities("& alone; &#; &#x; &#xZZ; &#0; &#xD800; &#x110000; &lt"),
        "& alone; &#; &#x; &#xZZ; &#0; &#xD800; &#x110000; &lt");
    EXPECT_EQ(QBStringExtras::stringByReplacingEntities("&&lt;&#65;;"), "&<A;");
    EXPECT_TRUE(QBStringExtras::stringByReplacingEntities(QString()).isNull());
    EXPECT_FALSE(QBStringExtras::stringByReplacingEntities("").isNull());
}
