#pragma once

#include "TestSupport.h"
#include "core/Dialogs.h"
#include "core/SettingsKeys.h"
#include "core/SettingsStore.h"
#include "delivery/SmtpAccount.h"
#include "wizard/ui/ContactListView.h"
#include "wizard/ui/FrmMailMerge.h"
#include "wizard/ui/ProgressPanel.h"
#include "wizard/ui/WizardPages.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

using namespace Qt::StringLiterals;

// The wizard window of one test case, for the test classes of the wizard to inherit: each case
// starts with an empty settings store and no prepared dialog answers, and its window is gone
// after it. Call resetCase() from init() and closeWizard() from cleanup().
class WizardFixture
{
protected:
    QPointer<FrmMailMerge> m_wizard;

    void resetCase()
    {
        TestSupport::resetSettings();
        Dialogs::clearNextResults();
    }

    void closeWizard()
    {
        delete m_wizard;
        m_wizard = nullptr;
    }

    FrmMailMerge* openWizard()
    {
        m_wizard = FrmMailMerge::instance();
        m_wizard->show();
        return m_wizard;
    }

    // Stores the account the wizard reads when it opens: a server on this loopback port, with
    // this reply timeout in seconds (0: none) and events@example.org as the sender.
    static void saveAccount(quint16 port, int interval = 5)
    {
        SmtpAccount account;
        account.server = QStringLiteral("127.0.0.1");
        account.port = port;
        account.interval = interval;
        account.fromEmail = QStringLiteral("events@example.org");
        account.save();
    }

    SourcePage* source() const { return m_wizard->sourcePage(); }
    FieldMapPage* map() const { return m_wizard->fieldMapPage(); }

    // Chooses the source of that row of the source list, and a file through the browse button.
    void browse(int sourceRow, QAbstractButton* button, const QString& path)
    {
        source()->LstDataSrc->setCurrentRow(sourceRow);
        Dialogs::setNextResult(path);
        button->click();
    }

    void chooseCommaFile(const QString& path) { browse(5, source()->CmdBrowseWab, path); }

    // Maps a column onto a field as the user's choice in the field's box does.
    void mapColumn(int field, int column)
    {
        map()->CboField[field]->setCurrentIndex(column);
        emit map()->CboField[field]->activated(column);
    }

    // The texts of one column of the contact list, top to bottom.
    QStringList column(int cell) const
    {
        QStringList texts;
        for (int row = 1; row <= m_wizard->contactTable().count(); ++row) {
            texts << m_wizard->contactTable().cell(row, cell);
        }
        return texts;
    }

    // Opens the wizard on a comma file whose first row names the columns, up to the template page.
    void toTemplatePage(const QString& commaFile)
    {
        openWizard();
        chooseCommaFile(commaFile);
        m_wizard->CmdNext_Click();
        map()->ChkSkip->setChecked(true);
        m_wizard->CmdNext_Click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Template));
    }
};
