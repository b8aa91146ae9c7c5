// Keeps libxml2 quiet for the length of one parse of untrusted text: its handlers are per thread and are
// put back afterwards, so other readers on the same thread keep theirs. It never reports anything.
#pragma once

#include <libxml/xmlerror.h>

class SilencedLibxmlErrors
{
public:
    SilencedLibxmlErrors()
        : m_generic(xmlGenericError), m_genericContext(xmlGenericErrorContext),
          m_structured(xmlStructuredError), m_structuredContext(xmlStructuredErrorContext)
    {
        xmlSetGenericErrorFunc(nullptr, ignoreGenericError);
        xmlSetStructuredErrorFunc(nullptr, ignoreStructuredError);
    }
    ~SilencedLibxmlErrors()
    {
        xmlSetGenericErrorFunc(m_genericContext, m_generic);
        xmlSetStructuredErrorFunc(m_structuredContext, m_structured);
    }
    SilencedLibxmlErrors(const SilencedLibxmlErrors &) = delete;
    SilencedLibxmlErrors &operator=(const SilencedLibxmlErrors &) = delete;

private:
    static void ignoreGenericError(void *, const char *, ...) {}
    static void ignoreStructuredError(void *, xmlErrorPtr) {}

    xmlGenericErrorFunc m_generic;
    void *m_genericContext;
    xmlStructuredErrorFunc m_structured;
    void *m_structuredContext;
};
