// Finds the files the program ships with (pages, images, sounds, string table). It only answers
// paths; it never writes into the resource folder.
#pragma once

#include <QString>
#include <QUrl>

class Resources
{
public:
    // QUILLBAY_RESOURCES in the environment wins, then the installed folder beside the program, then
    // the folder the program was built with.
    static QString folder();
    // The same choice made from the given environment value and the program's own folder.
    static QString folder(const QString &fromEnvironment, const QString &programFolder);
    static QUrl folderUrl();
    static QString path(const QString &name, const QString &type);
    // The resource read as UTF-8 text; empty when it is missing.
    static QString text(const QString &name, const QString &type);
};
