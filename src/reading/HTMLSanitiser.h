// The one way feed text reaches a page: read by libxml2's HTML parser and written out again with only the
// elements and attributes of an allow-list and only web and mail addresses. Nothing it writes can run,
// style or position itself, frame, submit, or reach a local file; it never passes on markup it did not read.
#pragma once

#include <QString>
#include <QUrl>

class HTMLSanitiser
{
public:
    enum Content
    {
        Flow,    // summaries and full texts: structure, links, pictures and media
        Phrasing // titles, names and labels that sit inside the page's own links: text-level elements only
    };

    struct Options
    {
        QUrl base; // what relative addresses mean; without a web base they are dropped
        Content content = Flow;
        bool holdRemotePictures = false; // pictures become placeholders that the page loads on a click
    };

    // The class and attribute the page's own script looks for on a held picture's placeholder.
    static constexpr const char *heldPictureClass = "heldPicture";

    static QString sanitised(const QString &html, const Options &options);
    // Text without a '<' cannot make an element, so it reaches a page as it is.
    static bool mayChange(QStringView text) { return text.contains(u'<'); }
    // Elements whose content is code, a frame, a form or metadata rather than text to read.
    static bool dropsWithContent(const char *elementName);
};
