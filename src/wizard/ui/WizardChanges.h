#pragma once

// What a later step of the wizard must redo.
struct WizardChanges
{
    // The contacts, their selection or the templates changed since the composer's recipient
    // lists were filled: they are filled again before the composer shows.
    bool recipients = false;
    // The mail template was edited, browsed for, made anew or typed since its tokens were
    // scanned: they are scanned again before the composer shows.
    bool mailTemplate = false;

    // Template `index` (0 the mail template, 1 the letter template) was changed.
    void templateChanged(int index)
    {
        mailTemplate = mailTemplate || index == 0;
        recipients = true;
    }
};
