#include "WizardRunView.h"

#include "FrmMailMerge.h"
#include "WizardPages.h"
#include "delivery/FrmSmtp.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>

WizardRunView::WizardRunView(FrmMailMerge& wizard)
    : m_wizard(wizard)
{
}

void WizardRunView::setHeader(const QString& text)
{
    m_wizard.finishPage()->lblheader->setText(text);
}

void WizardRunView::setFolderText(const QString& text)
{
    m_wizard.finishPage()->lblSendFolder->setText(text);
}

void WizardRunView::setStatus(const QString& text)
{
    m_wizard.finishPage()->lblstatus->setText(text);
}

void WizardRunView::setProcess(const QString& text)
{
    m_wizard.finishPage()->lblSendProcess->setText(text);
}

QString WizardRunView::process() const
{
    return m_wizard.finishPage()->lblSendProcess->text();
}

void WizardRunView::setProcessVisible(bool visible)
{
    m_wizard.finishPage()->lblSendProcess->setVisible(visible);
}

void WizardRunView::setProgress(double fraction)
{
    m_wizard.finishPage()->setProgress(fraction);
}

double WizardRunView::progress() const
{
    return m_wizard.finishPage()->progress();
}

void WizardRunView::setCancelEnabled(bool enabled)
{
    m_wizard.finishPage()->CmdCancelSend->setEnabled(enabled);
}

void WizardRunView::setBackEnabled(bool enabled)
{
    m_wizard.CmdBack()->setEnabled(enabled);
}

void WizardRunView::setNext(const QString& caption, bool enabled)
{
    m_wizard.CmdNext()->setText(caption);
    m_wizard.CmdNext()->setEnabled(enabled);
}

void WizardRunView::showRunPage(const QString& tabCaption)
{
    if (!tabCaption.isEmpty()) {
        m_wizard.finishPage()->FinishTab->setTabText(0, tabCaption);
    }
    m_wizard.ShowPage(FrmMailMerge::Finish);
}

void WizardRunView::setWaitCursor(bool waiting)
{
    if (waiting && !m_wait) {
        m_wait.emplace();
    } else if (!waiting) {
        m_wait.reset();
    }
}

void WizardRunView::showSmtpSettings()
{
    FrmSmtp::instance()->exec();
}

void WizardRunView::pumpEvents()
{
    QCoreApplication::processEvents();
}
