#include "reading/HTMLSanitiser.h"

#include "reading/OutsideAddress.h"
#include "reading/UntrustedHtml.h"

#include <QStringList>
#include <libxml/HTMLparser.h>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

enum class Kind : quint8
{
    Phrasing, // kept everywhere
    Flow,     // kept in summaries and full texts, unwrapped in titles
    Dropped   // gone with everything inside
};

struct ElementRule
{
    Kind kind;
    // Void in HTML; the parser, which knows only older HTML, may still hang what follows beneath some.
    bool isVoid;
};

using RuleTable = std::unordered_map<std::string_view, ElementRule>;

// Elements not named here are unwrapped: their tags go, their text stays.
const RuleTable &elementRules()
{
    static const RuleTable rules = [] {
        RuleTable table;
        for (const char *name : {"span", "em", "strong", "b", "i", "u", "s", "sub", "sup", "small", "q",
                                 "cite", "abbr", "time", "code", "kbd"})
            table.emplace(name, ElementRule{Kind::Phrasing, false});
        table.emplace("br", ElementRule{Kind::Phrasing, true});
        for (const char *name :
             {"p",          "div",     "h1",         "h2",    "h3",      "h4",    "h5",   "h6",
              "blockquote", "pre",     "ul",         "ol",    "li",      "dl",    "dt",   "dd",
              "table",      "caption", "thead",      "tbody", "tfoot",   "tr",    "th",   "td",
              "colgroup",   "figure",  "figcaption", "a",     "picture", "audio", "video"})
            table.emplace(name, ElementRule{Kind::Flow, false});
        for (const char *name : {"hr", "img", "source", "col"})
            table.emplace(name, ElementRule{Kind::Flow, true});
        for (const char *name : {"script",   "style",    "template", "noscript", "object", "applet", "iframe",
                                 "frame",    "frameset", "noframes", "noembed",  "form",   "button", "select",
                                 "textarea", "option",   "optgroup", "datalist", "output", "head",   "title",
                                 "svg",      "math",     "map",      "portal",   "slot"})
            table.emplace(name, ElementRule{Kind::Dropped, false});
        for (const char *name :
             {"embed", "param", "input", "keygen", "meta", "link", "base", "area", "track", "image"})
            table.emplace(name, ElementRule{Kind::Dropped, true});
        return table;
    }();
    return rules;
}

// Nesting deeper than any article needs only makes the page slow to lay out.
constexpr int deepestKeptElement = 64;

std::string lowerName(const xmlChar *name)
{
    std::string lower(reinterpret_cast<const char *>(name));
    for (char &c : lower)
        c = (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
    return lower;
}

const ElementRule *ruleFor(const std::string &name)
{
    const auto found = elementRules().find(name);
    return found == elementRules().end() ? nullptr : &found->second;
}

QString attributeText(const xmlAttr *attribute)
{
    QByteArray value;
    for (const xmlNode *part = attribute->children; part; part = part->next)
        if (part->content)
            value += reinterpret_cast<const char *>(part->content);
    return QString::fromUtf8(value);
}

// A size or count written as plain digits (pixels may say so); -1 for percentages, lengths and words.
int number(const QString &text)
{
    QStringView digits = QStringView(text).trimmed();
    if (digits.endsWith(u"px", Qt::CaseInsensitive))
        digits.chop(2);
    if (digits.isEmpty() || digits.size() > 5)
        return -1;
    for (const QChar c : digits)
        if (c < u'0' || c > u'9')
            return -1;
    return digits.toInt();
}

// The named attributes of one element, first occurrence of each.
class Attributes
{
public:
    explicit Attributes(const xmlNode *element) : m_element(element) {}

    QString value(const char *name) const
    {
        for (const xmlAttr *attribute = m_element->properties; attribute; attribute = attribute->next)
            if (attribute->name && lowerName(attribute->name) == name)
                return attributeText(attribute);
        return QString();
    }

private:
    const xmlNode *m_element;
};

class Writer
{
public:
    Writer(const HTMLSanitiser::Options &options, qsizetype sizeHint) : m_options(options)
    {
        m_webBase = OutsideAddress::isWebPage(options.base);
        m_out.reserve(sizeHint);
    }

    // True when the walk goes on into the node's children; leave() is then due once they are done.
    bool enter(const xmlNode *node);
    void leave();
    QString result() { return std::move(m_out); }

private:
    enum class Outcome
    {
        Written,
        Unwrapped,
        Skipped
    };

    struct Open
    {
        std::string_view closingName; // empty for an unwrapped element
        bool isLink = false;
    };

    Outcome startTag(const std::string &name, const xmlNode *element);
    Outcome link(const Attributes &attributes);
    Outcome picture(const Attributes &attributes);
    Outcome media(const std::string &name, const Attributes &attributes);
    Outcome source(const Attributes &attributes);
    void size(const Attributes &attributes, const char *name, int largest);
    void text(const char *name, const QString &value);
    QString address(const QString &value, bool mailAllowed) const;
    QString sourceSet(const QString &value) const;

    const HTMLSanitiser::Options &m_options;
    bool m_webBase = false;
    QString m_out;
    std::vector<Open> m_open;
    int m_keptDepth = 0;
    int m_openLinks = 0;
};

bool Writer::enter(const xmlNode *node)
{
    if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE) {
        if (node->content)
            m_out += QString::fromUtf8(reinterpret_cast<const char *>(node->content)).toHtmlEscaped();
        return false;
    }
    if (node->type != XML_ELEMENT_NODE || !node->name)
        return false;
    const std::string name = lowerName(node->name);
    const auto found = elementRules().find(name);
    const ElementRule *rule = found == elementRules().end() ? nullptr : &found->second;
    if (rule && rule->kind == Kind::Dropped && !rule->isVoid)
        return false;
    const bool unwrapped = !rule || rule->kind == Kind::Dropped ||
                           (rule->kind == Kind::Flow && m_options.content == HTMLSanitiser::Phrasing) ||
                           m_keptDepth >= deepestKeptElement || (name == "a" && m_openLinks > 0);
    const Outcome outcome = unwrapped ? Outcome::Unwrapped : startTag(name, node);
    // A void element's tag stands alone: what the parser hung beneath it is what follows it.
    if (rule && rule->isVoid) {
        m_open.push_back({});
        return true;
    }
    if (outcome == Outcome::Skipped)
        return false;
    if (outcome == Outcome::Unwrapped) {
        // A block taken apart inside a title still separates its words.
        if (rule && rule->kind == Kind::Flow && name != "a")
            m_out += u' ';
        m_open.push_back({});
        return true;
    }
    const bool isLink = name == "a";
    m_open.push_back({found->first, isLink});
    ++m_keptDepth;
    m_openLinks += isLink;
    return true;
}

void Writer::leave()
{
    const Open open = m_open.back();
    m_open.pop_back();
    if (open.closingName.empty())
        return;
    m_out += QLatin1String("</") +
             QLatin1String(open.closingName.data(), qsizetype(open.closingName.size())) + u'>';
    --m_keptDepth;
    m_openLinks -= open.isLink;
}

Writer::Outcome Writer::startTag(const std::string &name, const xmlNode *element)
{
    const Attributes attributes(element);
    if (name == "img")
        return picture(attributes);
    const qsizetype start = m_out.size();
    m_out += u'<' + QLatin1String(name.data(), qsizetype(name.size()));
    Outcome outcome = Outcome::Written;
    if (name == "a")
        outcome = link(attributes);
    else if (name == "audio" || name == "video")
        outcome = media(name, attributes);
    else if (name == "source")
        outcome = source(attributes);
    else if (name == "td" || name == "th") {
        size(attributes, "colspan", 1000);
        size(attributes, "rowspan", 1000);
    } else if (name == "col" || name == "colgroup")
        size(attributes, "span", 1000);
    else if (name == "ol")
        size(attributes, "start", 99999);
    else if (name == "time")
        text("datetime", attributes.value("datetime"));
    else if (name == "abbr")
        text("title", attributes.value("title"));
    if (outcome != Outcome::Written) {
        m_out.truncate(start);
        return outcome;
    }
    m_out += u'>';
    return outcome;
}

Writer::Outcome Writer::link(const Attributes &attributes)
{
    const QString href = address(attributes.value("href"), true);
    if (href.isEmpty())
        return Outcome::Unwrapped;
    m_out += QLatin1String(" href=\"") + href + u'"';
    text("title", attributes.value("title"));
    return Outcome::Written;
}

// Tracking pixels go, whatever the preference; other pictures load or wait for a click.
Writer::Outcome Writer::picture(const Attributes &attributes)
{
    const QString src = address(attributes.value("src"), false);
    const int width = number(attributes.value("width"));
    const int height = number(attributes.value("height"));
    if (src.isEmpty() || (width >= 0 && width <= 1) || (height >= 0 && height <= 1))
        return Outcome::Skipped;
    const QString alt = attributes.value("alt");
    if (m_options.holdRemotePictures) {
        m_out += QLatin1String("<span class=\"") + QLatin1String(HTMLSanitiser::heldPictureClass) +
                 QLatin1String("\" data-src=\"") + src + u'"';
        text("data-alt", alt);
        if (width > 1)
            m_out += QStringLiteral(" data-width=\"%1\"").arg(width);
        if (height > 1)
            m_out += QStringLiteral(" data-height=\"%1\"").arg(height);
        m_out += u'>' + alt.toHtmlEscaped() + QLatin1String("</span>");
        return Outcome::Written;
    }
    m_out += QLatin1String("<img src=\"") + src + u'"';
    text("alt", alt);
    text("title", attributes.value("title"));
    if (width > 1)
        m_out += QStringLiteral(" width=\"%1\"").arg(width);
    if (height > 1)
        m_out += QStringLiteral(" height=\"%1\"").arg(height);
    m_out += u'>';
    return Outcome::Written;
}

// Media never start by themselves and fetch nothing before the user presses play.
Writer::Outcome Writer::media(const std::string &name, const Attributes &attributes)
{
    const QString src = address(attributes.value("src"), false);
    if (!src.isEmpty())
        m_out += QLatin1String(" src=\"") + src + u'"';
    if (name == "video") {
        const QString poster = address(attributes.value("poster"), false);
        if (!poster.isEmpty() && !m_options.holdRemotePictures)
            m_out += QLatin1String(" poster=\"") + poster + u'"';
        size(attributes, "width", 99999);
        size(attributes, "height", 99999);
    }
    m_out += QLatin1String(" controls preload=\"none\"");
    return Outcome::Written;
}

Writer::Outcome Writer::source(const Attributes &attributes)
{
    const QString src = address(attributes.value("src"), false);
    const QString srcset = attributes.value("srcset");
    if (!srcset.isEmpty()) {
        // A picture's sources are pictures too.
        const QString kept = m_options.holdRemotePictures ? QString() : sourceSet(srcset);
        if (kept.isEmpty())
            return Outcome::Skipped;
        m_out += QLatin1String(" srcset=\"") + kept + u'"';
    } else if (src.isEmpty()) {
        return Outcome::Skipped;
    } else {
        m_out += QLatin1String(" src=\"") + src + u'"';
    }
    text("type", attributes.value("type"));
    return Outcome::Written;
}

void Writer::size(const Attributes &attributes, const char *name, int largest)
{
    const int value = number(attributes.value(name));
    if (value > 0 && value <= largest)
        m_out += u' ' + QLatin1String(name) + QLatin1String("=\"") + QString::number(value) + u'"';
}

void Writer::text(const char *name, const QString &value)
{
    if (!value.isEmpty())
        m_out += u' ' + QLatin1String(name) + QLatin1String("=\"") + value.toHtmlEscaped() + u'"';
}

// A web address, or a cleaned mail address where mail is allowed, written fully encoded and escaped;
// empty for every other scheme and for relative addresses without a web base.
QString Writer::address(const QString &value, bool mailAllowed) const
{
    const QString trimmed = value.trimmed();
    if (trimmed.isEmpty())
        return {};
    QUrl url(trimmed);
    if (!url.isValid())
        return {};
    if (url.isRelative()) {
        if (!m_webBase)
            return {};
        url = m_options.base.resolved(url);
    }
    const QString scheme = url.scheme().toLower();
    if (scheme == QLatin1String("mailto")) {
        if (!mailAllowed)
            return {};
        url = OutsideAddress::cleanedMailto(url);
    } else if ((scheme != QLatin1String("http") && scheme != QLatin1String("https")) ||
               url.host().isEmpty()) {
        return {};
    }
    return url.isEmpty() ? QString() : url.toString(QUrl::FullyEncoded).toHtmlEscaped();
}

// Each candidate an address with at most a width or density; any other candidate loses the whole set.
QString Writer::sourceSet(const QString &value) const
{
    QStringList kept;
    for (const QString &candidate : value.split(u',')) {
        const QStringList parts = candidate.simplified().split(u' ', Qt::SkipEmptyParts);
        if (parts.isEmpty() || parts.size() > 2)
            return {};
        const QString url = address(parts.first(), false);
        if (url.isEmpty())
            return {};
        if (parts.size() == 1) {
            kept << url;
            continue;
        }
        const QString &descriptor = parts.at(1);
        bool ok = false;
        if (descriptor.endsWith(u'w'))
            descriptor.chopped(1).toUInt(&ok);
        else if (descriptor.endsWith(u'x'))
            descriptor.chopped(1).toDouble(&ok);
        if (!ok)
            return {};
        kept << url + u' ' + descriptor;
    }
    return kept.join(QLatin1String(", "));
}

// Walked without recursion: hostile markup can nest deeper than the stack allows.
void walk(const xmlDoc *document, Writer &writer)
{
    const xmlNode *node = document->children;
    while (node) {
        if (writer.enter(node)) {
            if (node->children) {
                node = node->children;
                continue;
            }
            writer.leave();
        }
        while (node && !node->next) {
            node = node->parent;
            if (!node || node->type == XML_HTML_DOCUMENT_NODE || node->type == XML_DOCUMENT_NODE)
                return;
            writer.leave();
        }
        node = node->next;
    }
}

} // namespace

QString HTMLSanitiser::sanitised(const QString &html, const Options &options)
{
    if (!mayChange(html))
        return html;
    QString text = html;
    text.replace(QChar(0), QChar(QChar::ReplacementCharacter));
    // Opened explicitly, so that the parser does not wrap leading text in a paragraph of its own.
    const QByteArray bytes = QByteArrayLiteral("<html><body>") + text.toUtf8();
    if (bytes.size() > std::numeric_limits<int>::max())
        return html.toHtmlEscaped();
    const UntrustedHtml::Document document = UntrustedHtml::read(bytes);
    if (!document)
        return html.toHtmlEscaped();
    Writer writer(options, html.size());
    walk(document.get(), writer);
    return writer.result();
}

bool HTMLSanitiser::dropsWithContent(const char *elementName)
{
    const ElementRule *rule = ruleFor(lowerName(reinterpret_cast<const xmlChar *>(elementName)));
    return rule && rule->kind == Kind::Dropped;
}
