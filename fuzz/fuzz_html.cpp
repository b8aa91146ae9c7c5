// libFuzzer entry for the page sanitiser. The first byte chooses the options (titles or full texts,
// pictures held or not); the rest is the feed text, read as UTF-8. Whatever comes out must hold only
// allowed elements and attributes, with every address a web or mail one, or the run aborts.
#include "reading/HTMLSanitiser.h"

#include <QRegularExpression>
#include <QSet>
#include <cstdint>
#include <cstdlib>

namespace {

const QSet<QString> allowedElements{
    "span",  "em",      "strong", "b",     "i",    "u",        "s",     "sub",        "sup",
    "small", "q",       "cite",   "abbr",  "time", "code",     "kbd",   "br",         "p",
    "div",   "h1",      "h2",     "h3",    "h4",   "h5",       "h6",    "blockquote", "pre",
    "ul",    "ol",      "li",     "dl",    "dt",   "dd",       "table", "caption",    "thead",
    "tbody", "tfoot",   "tr",     "th",    "td",   "colgroup", "col",   "figure",     "figcaption",
    "a",     "picture", "audio",  "video", "hr",   "img",      "source"};
const QSet<QString> allowedAttributes{"href",     "src",        "srcset",     "alt",    "title", "width",
                                      "height",   "colspan",    "rowspan",    "span",   "start", "datetime",
                                      "type",     "controls",   "preload",    "poster", "class", "data-src",
                                      "data-alt", "data-width", "data-height"};
const QSet<QString> addressAttributes{"href", "src", "poster", "data-src"};

bool isWebOrMail(const QString &address)
{
    return address.startsWith("http://") || address.startsWith("https://") || address.startsWith("mailto:");
}

void check(const QString &html)
{
    static const QRegularExpression tag("<(/?)([a-z0-9]+)((?:\\s+[a-z-]+(?:=\"[^\"<>]*\")?)*)\\s*>");
    static const QRegularExpression attribute("([a-z-]+)(?:=\"([^\"]*)\")?");
    qsizetype position = 0;
    while ((position = html.indexOf(u'<', position)) >= 0) {
        const QRegularExpressionMatch match = tag.match(html, position, QRegularExpression::NormalMatch,
                                                        QRegularExpression::AnchorAtOffsetMatchOption);
        if (!match.hasMatch() || !allowedElements.contains(match.captured(2)))
            std::abort();
        for (auto found = attribute.globalMatch(match.captured(3)); found.hasNext();) {
            const QRegularExpressionMatch pair = found.next();
            if (!allowedAttributes.contains(pair.captured(1)))
                std::abort();
            if (addressAttributes.contains(pair.captured(1)) && !isWebOrMail(pair.captured(2)))
                std::abort();
        }
        position = match.capturedEnd();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data + 1), qsizetype(size - 1));
    HTMLSanitiser::Options options;
    options.base = QUrl("https://quay.example/2006/pier/");
    options.content = data[0] & 1 ? HTMLSanitiser::Phrasing : HTMLSanitiser::Flow;
    options.holdRemotePictures = data[0] & 2;
    const QString html = HTMLSanitiser::sanitised(text, options);
    // Text without a tag passes as it is: only what the sanitiser wrote is held to its rules.
    if (HTMLSanitiser::mayChange(text))
        check(html);
    return 0;
}
