#pragma once

#include "merge/RunView.h"

#include <QCoreApplication>
#include <QStringList>

#include <functional>

// The run page as a send or postal run drives it, recorded for the tests; onProcess and onStatus
// let a test act when a run writes a given text (a cancel at the second contact).
class FakeRunView : public RunView
{
public:
    void setHeader(const QString& text) override { header = text; }
    void setFolderText(const QString& text) override { folder = text; }
    void setStatus(const QString& text) override
    {
        statuses << text;
        if (onStatus) {
            onStatus(text);
        }
    }
    void setProcess(const QString& text) override
    {
        processes << text;
        if (onProcess) {
            onProcess(text);
        }
    }
    QString process() const override { return processes.isEmpty() ? QString() : processes.last(); }
    void setProcessVisible(bool) override {}
    void setProgress(double fraction) override { bar = fraction; }
    double progress() const override { return bar; }
    void setCancelEnabled(bool enabled) override { cancelEnabled = enabled; }
    void setBackEnabled(bool enabled) override { backEnabled = enabled; }
    void setNext(const QString& caption, bool enabled) override
    {
        nextCaption = caption;
        nextEnabled = enabled;
    }
    void showRunPage(const QString& tabCaption) override { runPage = tabCaption; }
    void setWaitCursor(bool waiting) override { waitCursor = waiting; }
    void showSmtpSettings() override { ++settingsShown; }
    void pumpEvents() override
    {
        ++yields;
        QCoreApplication::processEvents();
    }

    QString header;
    QString folder;
    QStringList statuses;
    QStringList processes;
    double bar = -1;
    bool cancelEnabled = false;
    bool backEnabled = true;
    QString nextCaption;
    bool nextEnabled = true;
    QString runPage;
    bool waitCursor = false;
    int settingsShown = 0;
    int yields = 0;
    std::function<void(const QString&)> onProcess;
    std::function<void(const QString&)> onStatus;
};
