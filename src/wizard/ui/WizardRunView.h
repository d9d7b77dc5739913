#pragma once

#include "core/WaitCursor.h"
#include "merge/RunView.h"

#include <optional>

class FrmMailMerge;

// The wizard's run page as the send runs drive it: the labels and bar of the progress page and
// the wizard's buttons.
class WizardRunView : public RunView
{
public:
    explicit WizardRunView(FrmMailMerge& wizard);

    void setHeader(const QString& text) override;
    void setFolderText(const QString& text) override;
    void setStatus(const QString& text) override;
    void setProcess(const QString& text) override;
    QString process() const override;
    void setProcessVisible(bool visible) override;
    void setProgress(double fraction) override;
    double progress() const override;
    void setCancelEnabled(bool enabled) override;
    void setBackEnabled(bool enabled) override;
    void setNext(const QString& caption, bool enabled) override;
    void showRunPage(const QString& tabCaption) override;
    void setWaitCursor(bool waiting) override;
    void showSmtpSettings() override;
    void pumpEvents() override;

private:
    FrmMailMerge& m_wizard;
    std::optional<WaitCursor> m_wait;
};
