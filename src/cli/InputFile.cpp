#include "cli/InputFile.h"

#include "cli/Console.h"

#include <QFile>
#include <QFileInfo>

std::optional<QByteArray> InputFile::read(const QString &path)
{
    // Opening a folder succeeds on Linux and only the read fails, without a reason worth showing.
    if (QFileInfo(path).isDir()) {
        Console::complain(QStringLiteral("cannot read %1: it is a folder").arg(path));
        return std::nullopt;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        Console::complain(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
        return std::nullopt;
    }
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        Console::complain(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
        return std::nullopt;
    }
    // A null array means "no download" to the parser front, which an empty file is not.
    if (bytes.isNull())
        bytes = QByteArray("");
    return bytes;
}
