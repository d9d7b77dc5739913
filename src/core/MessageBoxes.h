#pragma once

#include <QString>

#include <functional>

// Every message box of the program goes through here: the text, the title ("Quillbay+"
// unless a window says otherwise), the buttons and the icon. The windows install a presenter
// that shows a real box; tests install one that records the message and gives a prepared
// answer; with none installed (the command-line companion) the text goes to standard error
// and the cautious answer is taken.
enum class MessageIcon
{
    None,
    Information,
    Question,
    Critical
};
enum class MessageButtons
{
    Ok,
    OkCancel,
    YesNo
};
enum class MessageAnswer
{
    Ok,
    Cancel,
    Yes,
    No
};

struct Message
{
    QString text;
    QString title = QStringLiteral("Quillbay+");
    MessageButtons buttons = MessageButtons::Ok;
    MessageIcon icon = MessageIcon::Information;
};

class MessageBoxes
{
public:
    using Presenter = std::function<MessageAnswer(const Message&)>;

    static MessageAnswer show(const Message& message);

    // The common box: the text, title "Quillbay+", OK, information icon.
    static void information(const QString& text);
    // A yes/no question with the question icon; true on Yes.
    static bool askYesNo(const QString& text, MessageIcon icon = MessageIcon::Question,
                         const QString& title = QStringLiteral("Quillbay+"));

    static void setPresenter(Presenter presenter);
    static void resetPresenter();
};
