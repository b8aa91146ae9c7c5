// Writes QuillBay's icon at every size the desktop asks for into the folder it is given; the shapes are
// those of quillbay.svg. It never writes anything else.
#include "platform/QuillBayIcon.h"

#include <QCoreApplication>
#include <QDir>
#include <QTextStream>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTextStream err(stderr);
    if (argc != 2) {
        err << "usage: make-icons OUTPUT_FOLDER\n";
        return 2;
    }
    const QDir output(QString::fromLocal8Bit(argv[1]));
    if (!QDir().mkpath(output.path())) {
        err << "make-icons: cannot make " << output.path() << "\n";
        return 1;
    }
    for (const int size : {16, 32, 48, 64, 128, 256}) {
        const QString file = output.filePath(QStringLiteral("quillbay-%1.png").arg(size));
        if (!QuillBayIcon::draw(size).save(file)) {
            err << "make-icons: cannot write " << file << "\n";
            return 1;
        }
    }
    return 0;
}
