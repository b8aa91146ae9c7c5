#include "reading/TextDecoder.h"

#include <QSysInfo>
#include <cerrno>
#include <iconv.h>

namespace {
// iconv writes UTF-16 in the byte order it is asked for; QString holds the machine's own.
const char *const nativeUtf16 = QSysInfo::ByteOrder == QSysInfo::LittleEndian ? "UTF-16LE" : "UTF-16BE";

class Conversion
{
public:
    explicit Conversion(const QByteArray &fromName) : m_handle(iconv_open(nativeUtf16, fromName.constData()))
    {
    }
    ~Conversion()
    {
        if (isOpen())
            iconv_close(m_handle);
    }
    Conversion(const Conversion &) = delete;
    Conversion &operator=(const Conversion &) = delete;

    bool isOpen() const { return m_handle != reinterpret_cast<iconv_t>(-1); }

    // The whole input converted, or nothing when a byte is invalid or a sequence is cut off at the end;
    // leniently, such bytes become replacement characters instead.
    std::optional<QString> run(const QByteArray &bytes, bool lenient)
    {
        // One byte rarely gives more than one UTF-16 unit; the buffer grows for the sets where it does.
        m_text = QString(bytes.size() + 16, Qt::Uninitialized);
        m_written = 0;
        char *input = const_cast<char *>(bytes.constData());
        size_t inputLeft = size_t(bytes.size());
        while (inputLeft > 0) {
            if (step(&input, &inputLeft) != Failed)
                continue;
            if (!lenient)
                return std::nullopt;
            // EILSEQ stops at the bad byte, EINVAL at a sequence the input ends inside.
            const bool cutOff = errno == EINVAL;
            appendReplacement();
            iconv(m_handle, nullptr, nullptr, nullptr, nullptr);
            ++input;
            --inputLeft;
            if (cutOff)
                break;
        }
        // What a stateful set (ISO-2022-JP and the like) still holds is written out at the end.
        Outcome flushed;
        while ((flushed = step(nullptr, nullptr)) == Grown) {
        }
        if (flushed == Failed && !lenient)
            return std::nullopt;
        m_text.truncate(qsizetype(m_written / 2));
        return m_text;
    }

private:
    void appendReplacement()
    {
        if (m_written + 2 > size_t(m_text.size()) * 2)
            m_text.resize(m_text.size() * 2);
        m_text[qsizetype(m_written / 2)] = QChar(QChar::ReplacementCharacter);
        m_written += 2;
    }

    enum Outcome
    {
        Converted,
        Grown,
        Failed
    };

    // One call of iconv. A full buffer is doubled and is no failure: the caller simply goes on.
    Outcome step(char **input, size_t *inputLeft)
    {
        char *start = reinterpret_cast<char *>(m_text.data());
        char *output = start + m_written;
        size_t outputLeft = size_t(m_text.size()) * 2 - m_written;
        const size_t result = iconv(m_handle, input, inputLeft, &output, &outputLeft);
        m_written = size_t(output - start);
        if (result != size_t(-1))
            return Converted;
        if (errno != E2BIG)
            return Failed;
        m_text.resize(m_text.size() * 2);
        return Grown;
    }

    iconv_t m_handle;
    QString m_text;
    size_t m_written = 0;
};
} // namespace

std::optional<QString> TextDecoder::decode(const QByteArray &bytes, const QString &ianaName)
{
    return run(bytes, ianaName, false);
}

std::optional<QString> TextDecoder::decodeLeniently(const QByteArray &bytes, const QString &ianaName)
{
    return run(bytes, ianaName, true);
}

bool TextDecoder::isKnown(const QString &ianaName)
{
    return isCharacterSetName(ianaName) && Conversion(ianaName.toUpper().toLatin1()).isOpen();
}

std::optional<QString> TextDecoder::run(const QByteArray &bytes, const QString &ianaName, bool lenient)
{
    if (!isCharacterSetName(ianaName))
        return std::nullopt;
    Conversion conversion(ianaName.toUpper().toLatin1());
    if (!conversion.isOpen())
        return std::nullopt;
    return conversion.run(bytes, lenient);
}

// iconv reads more than a name: "" stands for the locale's own set and suffixes such as "//IGNORE"
// change how bad bytes are treated. A document must choose neither, so only what a registered name
// can hold gets through.
bool TextDecoder::isCharacterSetName(const QString &name)
{
    if (name.isEmpty() || name.size() > 64)
        return false;
    for (const QChar c : name) {
        const char16_t u = c.unicode();
        const bool allowed = (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') ||
                             u == '-' || u == '_' || u == '.' || u == ':' || u == '+' || u == '(' || u == ')';
        if (!allowed)
            return false;
    }
    return true;
}
