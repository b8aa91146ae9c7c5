// libFuzzer entry for the property-list reader. The first byte chooses how the rest becomes text:
// UTF-8 (odd) or raw UTF-16 units (even), so that lone surrogates reach the reader too. Whatever the
// reader accepts must come back unchanged through the writer. Malformed text logs a line each time;
// run with -close_fd_mask=2 to keep the output quiet.
#include "platform/PropertyList.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {
QString textFrom(const uint8_t *data, size_t size)
{
    const char *bytes = reinterpret_cast<const char *>(data + 1);
    const qsizetype length = qsizetype(size - 1);
    if (data[0] & 1)
        return QString::fromUtf8(bytes, length);
    // Copied, not cast: the units after the first byte are not aligned.
    QString units(length / 2, Qt::Uninitialized);
    std::memcpy(units.data(), bytes, size_t(units.size()) * sizeof(QChar));
    return units;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QVariant value = PropertyList::read(textFrom(data, size));
    if (value.isValid() && PropertyList::read(PropertyList::write(value)) != value)
        std::abort();
    return 0;
}
