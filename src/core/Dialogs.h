#pragma once

#include <QColor>
#include <QString>

class QWidget;

// The file and folder pickers of the program. Each opens in the folder last chosen in it, else
// in the user's Documents folder. A test can answer the next picker before it
// opens with setNextResult(); an empty answer stands for a cancelled dialog.
namespace Dialogs {

// The open dialog on a filter in the original notation, "Text Documents (*.txt)|*.txt|…",
// with the given name preset; "" on cancel.
QString ShowFileDialog(const QString& filter, const QString& fileName = {}, QWidget* parent = nullptr);

// The save dialog on the same kind of filter; "" on cancel.
QString ShowSaveDialog(const QString& filter, const QString& fileName = {}, QWidget* parent = nullptr);

// The folder picker with its title; "" on cancel. Flag 16 asks for an edit box in the picker
// (the folder chooser of this system always has one).
QString BrowseForFolder(const QString& title, int flags = 0, QWidget* parent = nullptr);

// A line of text asked of the user; "" on cancel.
QString askText(const QString& title, const QString& label, const QString& preset = {}, QWidget* parent = nullptr);

// The colour dialog; an invalid colour on cancel (a prepared answer is a colour name, such as
// "#ff8000", or "" for cancel).
QColor chooseColor(const QColor& initial, QWidget* parent = nullptr);

// Converts "Desc (*.a)|*.a|Other|*.b" into the Qt notation "Desc (*.a);;Other (*.b)".
QString qtFilter(const QString& filter);

void setNextResult(const QString& result);
void clearNextResults();

} // namespace Dialogs

// Keeps a window above the others.
void SetTopMost(QWidget* window);
