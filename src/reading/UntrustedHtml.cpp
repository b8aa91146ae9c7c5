#include "reading/UntrustedHtml.h"

#include "reading/SilencedLibxmlErrors.h"

UntrustedHtml::Document UntrustedHtml::read(const QByteArray &utf8)
{
    const SilencedLibxmlErrors silence;
    return Document(htmlReadMemory(utf8.constData(), int(utf8.size()), nullptr, "UTF-8",
                                   HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                                       HTML_PARSE_NONET),
                    &xmlFreeDoc);
}
