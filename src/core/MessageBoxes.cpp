#include "MessageBoxes.h"

#include <cstdio>

namespace {

MessageAnswer headlessAnswer(const Message& message)
{
    std::fprintf(stderr, "%s: %s\n", qUtf8Printable(message.title), qUtf8Printable(message.text));
    switch (message.buttons) {
    case MessageButtons::Ok:
        return MessageAnswer::Ok;
    case MessageButtons::OkCancel:
        return MessageAnswer::Cancel;
    case MessageButtons::YesNo:
        return MessageAnswer::No;
    }
    return MessageAnswer::Ok;
}

MessageBoxes::Presenter& presenter()
{
    static MessageBoxes::Presenter current = headlessAnswer;
    return current;
}

} // namespace

MessageAnswer MessageBoxes::show(const Message& message)
{
    return presenter()(message);
}

void MessageBoxes::information(const QString& text)
{
    show(Message{text});
}

bool MessageBoxes::askYesNo(const QString& text, MessageIcon icon, const QString& title)
{
    return show(Message{text, title, MessageButtons::YesNo, icon}) == MessageAnswer::Yes;
}

void MessageBoxes::setPresenter(Presenter newPresenter)
{
    presenter() = std::move(newPresenter);
}

void MessageBoxes::resetPresenter()
{
    presenter() = headlessAnswer;
}
