// The weblog editor the user chose, as a command line in which {title}, {link} and {text} stand for an
// article's title, address and text, and {file} for a file holding all three. It starts the editor with the
// fields inside arguments of their own: no shell ever reads the line, and no field can become an option.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class BlogEditorCommand
{
public:
    struct Post
    {
        QString title;
        QString link;
        QString text;
    };
    struct Editor
    {
        QString name;
        QString commandLine;
    };

    explicit BlogEditorCommand(const QString &commandLine);

    // The installed program the line starts with; empty when it names none, so no editor is set.
    QString program() const;
    bool isSet() const { return !program().isEmpty(); }
    // The arguments after the program with the post's fields put in; draftFile stands for {file}.
    QStringList argumentsFor(const Post &post, const QString &draftFile) const;
    // Starts the editor without waiting for it, writing the draft file first when the line asks for one;
    // false, with nothing started, when no editor is set or the draft cannot be written.
    bool start(const Post &post) const;

    // What a disabled posting command says about where an editor is chosen.
    static QString notSetHint();
    // The text editors installed here, each with a line that opens the post's draft file.
    static QList<Editor> installedEditors();

private:
    bool asksForFile() const;
    static QString writeDraft(const Post &post);

    QStringList m_words;
};
