#include "WidgetMessagePresenter.h"

#include "MessageBoxes.h"

#include <QApplication>
#include <QMessageBox>

namespace {

QMessageBox::Icon iconOf(MessageIcon icon)
{
    switch (icon) {
    case MessageIcon::None:
        return QMessageBox::NoIcon;
    case MessageIcon::Information:
        return QMessageBox::Information;
    case MessageIcon::Question:
        return QMessageBox::Question;
    case MessageIcon::Critical:
        return QMessageBox::Critical;
    }
    return QMessageBox::NoIcon;
}

MessageAnswer present(const Message& message)
{
    QMessageBox box(iconOf(message.icon), message.title, message.text, QMessageBox::NoButton,
                    QApplication::activeWindow());
    switch (message.buttons) {
    case MessageButtons::Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case MessageButtons::OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    case MessageButtons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    }
    switch (box.exec()) {
    case QMessageBox::Ok:
        return MessageAnswer::Ok;
    case QMessageBox::Yes:
        return MessageAnswer::Yes;
    case QMessageBox::No:
        return MessageAnswer::No;
    default:
        return MessageAnswer::Cancel;
    }
}

} // namespace

void installWidgetMessagePresenter()
{
    MessageBoxes::setPresenter(present);
}
