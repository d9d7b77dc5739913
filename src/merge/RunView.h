#pragma once

#include <QString>

// The progress page of a run (a send run or the postal run), as the run drives it: the wizard
// window implements it with its labels, bar and buttons.
class RunView
{
public:
    virtual ~RunView() = default;

    virtual void setHeader(const QString& text) = 0;     // lblheader
    virtual void setFolderText(const QString& text) = 0; // lblSendFolder
    virtual void setStatus(const QString& text) = 0;     // lblstatus
    virtual void setProcess(const QString& text) = 0;    // lblSendProcess
    virtual QString process() const = 0;
    virtual void setProcessVisible(bool visible) = 0;
    // The bar Pbr, as the part of the run done: 0 at the start, 1 when full.
    virtual void setProgress(double fraction) = 0;
    virtual double progress() const = 0;
    virtual void setCancelEnabled(bool enabled) = 0; // CmdCancelSend
    virtual void setBackEnabled(bool enabled) = 0;   // CmdBack
    virtual void setNext(const QString& caption, bool enabled) = 0;
    // Captions the first tab of the progress page (unless the caption is empty) and shows the page.
    virtual void showRunPage(const QString& tabCaption) = 0;
    virtual void setWaitCursor(bool waiting) = 0;
    // The SMTP settings dialog, modal; the run goes on when it closes.
    virtual void showSmtpSettings() = 0;
    // Lets pending events through (the window paints, Cancel can be pressed).
    virtual void pumpEvents() = 0;
};
