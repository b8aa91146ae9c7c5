// Reads HTML from feeds into a libxml2 document the one safe way: recovering from any fault, saying
// nothing about it, and never reaching the network. It never runs or fetches anything the text names.
#pragma once

#include <QByteArray>
#include <libxml/HTMLparser.h>
#include <memory>

class UntrustedHtml
{
public:
    using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

    // The document, or none when libxml2 gives none; the bytes must fit an int, as libxml2 counts them.
    static Document read(const QByteArray &utf8);
};
