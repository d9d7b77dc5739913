#pragma once

#include <QString>

// How a run (postal, SMTP, outbox, search) ended, for the window and the command line that
// started it: they read this, never the labels of the run page.
struct RunOutcome
{
    enum class Ending
    {
        Completed,
        Cancelled,
        Failed
    };

    Ending ending = Ending::Completed;
    QString error; // why a failed run stopped
    int done = 0;  // the contacts the run finished with (letters written, mails accepted)

    bool completed() const { return ending == Ending::Completed; }
    static RunOutcome failed(QString why, int done) { return {Ending::Failed, std::move(why), done}; }
};
