#include "app/BlogEditorCommand.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryFile>

namespace {

const QString titleField = QStringLiteral("{title}");
const QString linkField = QStringLiteral("{link}");
const QString textField = QStringLiteral("{text}");
const QString fileField = QStringLiteral("{file}");
// One argument may hold 128 KiB on Linux; a longer text is cut, and the draft file holds all of it.
constexpr qsizetype longestTextArgument = 30000;

// A title or an address is one line; a text keeps its lines but no other control characters.
QString withoutControls(const QString &value, bool keepLines)
{
    QString clean;
    clean.reserve(value.size());
    for (const QChar c : value)
        if (c.category() != QChar::Other_Control || (keepLines && c == u'\n'))
            clean.append(c);
    return keepLines ? clean.trimmed() : clean.simplified();
}

} // namespace

BlogEditorCommand::BlogEditorCommand(const QString &commandLine)
    : m_words(QProcess::splitCommand(commandLine))
{
}

QString BlogEditorCommand::program() const
{
    const QString command = m_words.value(0);
    // The program is the user's own choice; a field never stands in for it.
    if (command.isEmpty() || command.contains(u'{'))
        return {};
    const QString found = command.contains(u'/') ? command : QStandardPaths::findExecutable(command);
    const QFileInfo file(found);
    return !found.isEmpty() && file.isFile() && file.isExecutable() ? file.absoluteFilePath() : QString();
}

bool BlogEditorCommand::asksForFile() const
{
    for (const QString &word : m_words.mid(1))
        if (word.contains(fileField))
            return true;
    return false;
}

QStringList BlogEditorCommand::argumentsFor(const Post &post, const QString &draftFile) const
{
    const QString title = withoutControls(post.title, false);
    const QString link = withoutControls(post.link, false);
    const QString text = withoutControls(post.text, true).left(longestTextArgument);
    QStringList arguments;
    for (const QString &word : m_words.mid(1)) {
        QString argument = word;
        argument.replace(titleField, title).replace(linkField, link).replace(textField, text);
        argument.replace(fileField, draftFile);
        // A feed's title beginning with a dash would otherwise be read as one of the editor's options.
        if (argument.startsWith(u'-') && !word.startsWith(u'-'))
            argument.prepend(u' ');
        arguments.append(argument);
    }
    return arguments;
}

QString BlogEditorCommand::writeDraft(const Post &post)
{
    QTemporaryFile draft(QDir::temp().filePath(QStringLiteral("QuillBay-post-XXXXXX.txt")));
    // The editor opens it after this program has moved on; it is the user's to keep or delete.
    draft.setAutoRemove(false);
    if (!draft.open())
        return {};
    const QString body = withoutControls(post.title, false) + QStringLiteral("\n\n") +
                         withoutControls(post.text, true) + QStringLiteral("\n\n") +
                         withoutControls(post.link, false) + u'\n';
    const bool written = draft.write(body.toUtf8()) >= 0 && draft.flush();
    draft.close();
    if (!written) {
        draft.remove();
        return {};
    }
    return draft.fileName();
}

bool BlogEditorCommand::start(const Post &post) const
{
    const QString editor = program();
    if (editor.isEmpty())
        return false;
    QString draftFile;
    if (asksForFile() && (draftFile = writeDraft(post)).isEmpty())
        return false;
    return QProcess::startDetached(editor, argumentsFor(post, draftFile));
}

QString BlogEditorCommand::notSetHint()
{
    return QCoreApplication::translate(
        "BlogEditorCommand", "Choose a weblog editor in Preferences \u25b8 General to post articles to it.");
}

QList<BlogEditorCommand::Editor> BlogEditorCommand::installedEditors()
{
    static const char *const editors[] = {"gnome-text-editor", "gedit", "kate",  "kwrite",
                                          "mousepad",          "xed",   "pluma", "geany",
                                          "featherpad",        "gvim",  "emacs", "xdg-open"};
    QList<Editor> found;
    for (const char *name : editors) {
        const QString program = QString::fromLatin1(name);
        if (!QStandardPaths::findExecutable(program).isEmpty())
            found.append({program, program + QStringLiteral(" ") + fileField});
    }
    return found;
}
