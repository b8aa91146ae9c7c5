#include "reading/HTMLSanitiser.h"

#include "reading/OutsideAddress.h"

#include <gtest/gtest.h>

namespace {

std::string flow(const QString &html, const QUrl &base = QUrl("https://quay.example/2006/pier/"),
                 bool hold = false)
{
    return HTMLSanitiser::sanitised(html, {base, HTMLSanitiser::Flow, hold}).toStdString();
}

std::string title(const QString &html)
{
    return HTMLSanitiser::sanitised(html, {QUrl(), HTMLSanitiser::Phrasing}).toStdString();
}

} // namespace

TEST(HTMLSanitiser, KeepsTextStructureAndDropsCodeFramesFormsAndMetadataWithTheirContent)
{
    EXPECT_EQ(flow("Lead <b>bold</b><p>One<br>two</p><ul><li>a</li></ul><table><tr><td colspan=\"2\">c</td>"
                   "</tr></table><font color=red>plain</font><!-- note -->"),
              "Lead <b>bold</b><p>One<br>two</p><ul><li>a</li></ul><table><tr><td colspan=\"2\">c</td>"
              "</tr></table>plain");
    EXPECT_EQ(
        flow("a<script>x()</script><style>p{}</style><template>t</template><noscript>n</noscript>"
             "<iframe src=\"https://e.example/\">i</iframe><object data=\"o\">o</object><svg><a>s</a></svg>"
             "<math>m</math><form><input value=v>f<button>b</button></form><select><option>o</option>"
             "</select><textarea>t</textarea><title>t</title>z"),
        "az");
    // Void in HTML though the parser may nest what follows beneath them: the rest of the text stays.
    EXPECT_EQ(
        flow("<meta http-equiv=refresh content=0><base href=\"https://e.example/\"><link rel=stylesheet "
             "href=x><embed src=x>after <input>the form"),
        "after the form");
    EXPECT_EQ(HTMLSanitiser::sanitised("Tea & cake > coffee", {}).toStdString(), "Tea & cake > coffee")
        << "text that cannot make an element is used as it is";
    EXPECT_EQ(flow("<i>unclosed <b>bold"), "<i>unclosed <b>bold</b></i>");
}

TEST(HTMLSanitiser, NoHandlerIdClassOrStyleSurvivesAndOnlyWebAndCleanedMailAddressesDo)
{
    EXPECT_EQ(
        flow("<p id=\"main\" class=\"article\" style=\"position:fixed;z-index:9\" onmouseover=\"x()\" "
             "ONCLICK=\"y()\">p</p><img src=\"https://p.example/a.jpg\" onerror=\"z()\" alt='A \"quoted\"'>"),
        "<p>p</p><img src=\"https://p.example/a.jpg\" alt=\"A &quot;quoted&quot;\">");
    for (const char *refused : {"javascript:alert(1)", " JavaScript:alert(1)", "data:text/html,<b>x</b>",
                                "file:///etc/passwd", "smb://host/share/x.desktop", "quillbay:open=1",
                                "vbscript:msgbox(1)", "qbpage:headlines-1", "ftp://files.example/x"})
        EXPECT_EQ(flow(QString("<a href=\"%1\">text</a>").arg(refused)), "text") << refused;
    EXPECT_EQ(flow("<a href=\"mailto:ann@quay.example?subject=Hi&amp;attach=/etc/passwd&amp;body=Yo\" "
                   "title=\"Ann\">m</a>"),
              "<a href=\"mailto:ann@quay.example?subject=Hi&amp;body=Yo\" title=\"Ann\">m</a>");
    EXPECT_EQ(flow("<a href=\"../next?a=1&amp;b=2\">n</a><img src=\"//cdn.example/p.png\">"),
              "<a href=\"https://quay.example/2006/next?a=1&amp;b=2\">n</a><img "
              "src=\"https://cdn.example/p.png\">");
    EXPECT_EQ(flow("<a href=\"next\">n</a>", QUrl("file:///home/")), "n") << "relative needs a web base";
    EXPECT_EQ(flow("<a href=\"https://a.example/\">1<a href=\"https://b.example/\">2</a></a>"),
              "<a href=\"https://a.example/\">1</a><a href=\"https://b.example/\">2</a>");
}

TEST(HTMLSanitiser, TrackingPixelsGoMediaWaitForPlayAndHeldPicturesBecomePlaceholders)
{
    EXPECT_EQ(
        flow("<img src=\"https://t.example/p.gif\" width=\"1\" height=\"1\"><img src=\"https://t.example/z\" "
             "width=0><img src=\"https://t.example/q\" height=\"1px\"><img src=\"https://p.example/a.jpg\" "
             "width=\"600\" height=\"50%\">"),
        "<img src=\"https://p.example/a.jpg\" width=\"600\">");
    EXPECT_EQ(
        flow("<video src=\"v.mp4\" autoplay loop poster=\"p.jpg\" width=640><source src=\"w.webm\" "
             "type=\"video/webm\"></video><audio src=\"javascript:x\" autoplay></audio>"),
        "<video src=\"https://quay.example/2006/pier/v.mp4\" poster=\"https://quay.example/2006/pier/p.jpg\" "
        "width=\"640\" controls preload=\"none\"><source src=\"https://quay.example/2006/pier/w.webm\" "
        "type=\"video/webm\"></video><audio controls preload=\"none\"></audio>");
    const QString picture = "<a href=\"https://p.example/\"><picture><source srcset=\"a.webp 1x, b.webp 2x\">"
                            "<img src=\"pier.jpg\" alt=\"The pier\" width=\"600\"></picture></a>";
    EXPECT_EQ(
        flow(picture),
        "<a href=\"https://p.example/\"><picture><source srcset=\"https://quay.example/2006/pier/a.webp "
        "1x, https://quay.example/2006/pier/b.webp 2x\"><img src=\"https://quay.example/2006/pier/pier.jpg\" "
        "alt=\"The pier\" width=\"600\"></picture></a>");
    EXPECT_EQ(flow(picture, QUrl("https://quay.example/2006/pier/"), true),
              "<a href=\"https://p.example/\"><picture><span class=\"heldPicture\" "
              "data-src=\"https://quay.example/2006/pier/pier.jpg\" data-alt=\"The pier\" data-width=\"600\">"
              "The pier</span></picture></a>");
}

TEST(HTMLSanitiser, TitlesKeepOnlyTextLevelMarkupAndHostileNestingEndsWell)
{
    EXPECT_EQ(title("x<style>.article{display:none}</style><a href=\"https://elsewhere.example/\" "
                    "style=\"position:fixed;top:0;left:0;width:100%;height:100%;z-index:99999\"></a>"),
              "x");
    EXPECT_EQ(title("<h1>A <em>big</em></h1><img src=\"https://p.example/a.jpg\">day<p>B</p>"),
              " A <em>big</em>day B");
    EXPECT_EQ(title("Fish &amp; chips <3"), "Fish &amp; chips &lt;3");

    // Nesting deeper than a page needs is flattened; far deeper ends the text, never the program.
    for (const int depth : {200, 100000}) {
        const QString kept = QString::fromStdString(
            flow(QString("<div>").repeated(depth) + "deep" + QString("</div>").repeated(depth)));
        EXPECT_EQ(kept.contains("deep"), depth == 200);
        EXPECT_LE(kept.count("<div>"), 64);
        EXPECT_EQ(kept.count("<div>"), kept.count("</div>"));
    }
    EXPECT_EQ(flow(QString("a<b>") + QChar(0) + "c"), "a<b>\uFFFDc</b>");
}

TEST(OutsideAddress, OnlyWebFtpAndCleanedMailAddressesLeaveTheProgram)
{
    for (const char *passing :
         {"http://quay.example/a?b=c", "https://quay.example/", "ftp://files.example/x"})
        EXPECT_EQ(OutsideAddress::admitted(QUrl(passing)), QUrl(passing)) << passing;
    for (const char *refused :
         {"file:///etc/passwd", "smb://host/share/x.desktop", "quillbay:open=1", "https:///x",
          "javascript:alert(1)", "data:text/html,x", "mailto:a@b.example/../x", "relative/path",
          "mailto:?attach=/etc/passwd", "steam://run/1"})
        EXPECT_TRUE(OutsideAddress::admitted(QUrl(refused)).isEmpty()) << refused;
    EXPECT_EQ(OutsideAddress::admitted(QUrl("MAILTO:ann@quay.example,bo@quay.example?cc=x&Subject=Hi%26there&"
                                            "attach=/etc/passwd&body=a%20b")),
              QUrl("mailto:ann@quay.example,bo@quay.example?subject=Hi%26there&body=a%20b"));
    EXPECT_TRUE(OutsideAddress::refusalMessage(QUrl("SMB://host/x")).contains("“smb:”"));
}
