#include "Dialogs.h"

#include <QColorDialog>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHash>
#include <QInputDialog>
#include <QLineEdit>
#include <QQueue>
#include <QStandardPaths>
#include <QStringList>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace Dialogs {

namespace {

QQueue<QString>& prepared()
{
    static QQueue<QString> answers;
    return answers;
}

// Each dialog, known by its filter or title, opens in the folder last chosen in it, else in the
// user's Documents folder.
QHash<QString, QString>& lastFolders()
{
    static QHash<QString, QString> folders;
    return folders;
}

QString startIn(const QString& dialog, const QString& fileName)
{
    if (QFileInfo(fileName).isAbsolute()) {
        return fileName;
    }
    const QString folder =
        lastFolders().value(dialog, QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    return fileName.isEmpty() ? folder : QDir(folder).filePath(fileName);
}

QString remembered(const QString& dialog, const QString& chosen, bool isFolder)
{
    if (!chosen.isEmpty()) {
        lastFolders().insert(dialog, isFolder ? chosen : QFileInfo(chosen).absolutePath());
    }
    return chosen;
}

bool takePrepared(QString& answer)
{
    if (prepared().isEmpty()) {
        return false;
    }
    answer = prepared().dequeue();
    return true;
}

} // namespace

QString qtFilter(const QString& filter)
{
    const QStringList parts = filter.split(u'|');
    QStringList entries;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        // Qt reads the patterns from the brackets that end an entry, so a caption such as
        // "HTML Documents (*.html,*.htm)" gets the real patterns there: "(*.html *.htm)".
        QString description = parts.at(i);
        if (description.endsWith(u')') && description.contains(u'(')) {
            description = description.left(description.lastIndexOf(u'(')).trimmed();
        }
        const QString patterns = QString(parts.at(i + 1)).replace(u';', u' ');
        entries << description + u" ("_s + patterns + u')';
    }
    return entries.join(u";;"_s);
}

QString ShowFileDialog(const QString& filter, const QString& fileName, QWidget* parent)
{
    QString answer;
    if (takePrepared(answer)) {
        return answer;
    }
    return remembered(filter, QFileDialog::getOpenFileName(parent, {}, startIn(filter, fileName), qtFilter(filter)),
                      false);
}

QString ShowSaveDialog(const QString& filter, const QString& fileName, QWidget* parent)
{
    QString answer;
    if (takePrepared(answer)) {
        return answer;
    }
    return remembered(filter,
                      QFileDialog::getSaveFileName(parent, {}, startIn(filter, fileName), qtFilter(filter), nullptr,
                                                   QFileDialog::DontConfirmOverwrite),
                      false);
}

QString BrowseForFolder(const QString& title, int flags, QWidget* parent)
{
    Q_UNUSED(flags)
    QString answer;
    if (takePrepared(answer)) {
        return answer;
    }
    return remembered(title, QFileDialog::getExistingDirectory(parent, title, startIn(title, {})), true);
}

QString askText(const QString& title, const QString& label, const QString& preset, QWidget* parent)
{
    QString answer;
    if (takePrepared(answer)) {
        return answer;
    }
    return QInputDialog::getText(parent, title, label, QLineEdit::Normal, preset);
}

QColor chooseColor(const QColor& initial, QWidget* parent)
{
    QString answer;
    if (takePrepared(answer)) {
        return answer.isEmpty() ? QColor() : QColor(answer);
    }
    return QColorDialog::getColor(initial, parent);
}

void setNextResult(const QString& result)
{
    prepared().enqueue(result);
}

void clearNextResults()
{
    prepared().clear();
}

} // namespace Dialogs

void SetTopMost(QWidget* window)
{
    if (window == nullptr) {
        return;
    }
    const bool visible = window->isVisible();
    window->setWindowFlag(Qt::WindowStaysOnTopHint, true);
    if (visible) {
        window->show();
    }
    window->raise();
}
