// The vocabulary the keyed archive's writer and reader share: top-level keys and the CBOR tags that
// keep each value's type. A meaning given here must never change once an archive version is out.
#pragma once

#include <QLatin1String>
#include <QString>
#include <QtCborCommon>

namespace ArchiveFormat {

inline constexpr int Version = 1;
inline constexpr QLatin1String Marker("QuillBayKeyedArchive");

inline constexpr QLatin1String FormatKey("format");
inline constexpr QLatin1String VersionKey("version");
inline constexpr QLatin1String ClassesKey("classes");
inline constexpr QLatin1String ObjectsKey("objects");
inline constexpr QLatin1String RootKey("root");
inline constexpr QLatin1String ClassKey("class");
inline constexpr QLatin1String ValuesKey("values");

// Private tag numbers ("QB" and a serial), wrapping: an integer holding the bits of an unsigned
// 64-bit value; [milliseconds since the epoch, offset seconds, format] of a calendar date;
// [milliseconds since the epoch, Qt::TimeSpec code, offset seconds or zone id] of a date-time; an index
// into the object table.
inline constexpr QCborTag UInt64Tag = QCborTag(0x51420001);
inline constexpr QCborTag CalendarDateTag = QCborTag(0x51420002);
inline constexpr QCborTag DateTimeTag = QCborTag(0x51420003);
inline constexpr QCborTag ObjectReferenceTag = QCborTag(0x51420004);

// Sequentially written values are kept under these keys, which keyed values never use.
inline QString sequentialKey(int position)
{
    return QStringLiteral("$%1").arg(position);
}

} // namespace ArchiveFormat
