#pragma once

#include "RunView.h"

// The progress page of a run with no window: the labels are kept, not shown, so that the
// caller can read the run's closing text; letting events through keeps the sockets, the reply
// timer and the interruption of the command alive.
class WindowlessRunView : public RunView
{
public:
    void setHeader(const QString&) override {}
    void setFolderText(const QString&) override {}
    void setStatus(const QString&) override {}
    void setProcess(const QString& text) override { m_process = text; }
    QString process() const override { return m_process; }
    void setProcessVisible(bool) override {}
    void setProgress(double fraction) override { m_progress = fraction; }
    double progress() const override { return m_progress; }
    void setCancelEnabled(bool) override {}
    void setBackEnabled(bool) override {}
    void setNext(const QString&, bool) override {}
    void showRunPage(const QString&) override {}
    void setWaitCursor(bool) override {}
    // The account was checked before the run: there is no dialog to show.
    void showSmtpSettings() override {}
    void pumpEvents() override;

private:
    QString m_process;
    double m_progress = 0;
};
