// Transfer limits shrunk for one test, so that a stalled, dripping or endless server is judged in a
// second; the program's own limits come back when it goes, however the test ends.
#pragma once

#include "fetch/TransferDefaults.h"

struct ShrunkLimits : TransferDefaults::Limits
{
    ShrunkLimits()
    {
        pageBytes = 1024 * 1024;
        iconBytes = 64 * 1024;
        stallMs = 400;
        totalMs = 1500;
    }
    void apply() const { TransferDefaults::setLimits(*this); }
    ~ShrunkLimits() { TransferDefaults::setLimits({}); }
};
