#include "WizardTest.h"
#include "wizard/ui/TemplateEditing.h"
#include "wordlink/UserOffice.h"
#include "wordlink/WriterSession.h"

#include <QJsonArray>
#include <QProcess>
#include <QStandardPaths>

namespace {

QJsonObject ask(wordlink::WriterSession* writer, const QJsonObject& request)
{
    if (writer == nullptr) {
        return {};
    }
    const Result<QJsonObject> answer = writer->call(request);
    return answer.ok() ? answer.value() : QJsonObject{};
}

bool processAlive(qint64 pid)
{
    QFile stat(u"/proc/%1/stat"_s.arg(pid));
    return pid > 0 && stat.open(QIODevice::ReadOnly) && !stat.readAll().contains(") Z ");
}

} // namespace

// The template page's New and Edit with the real writer session: what a user on a fresh
// machine does to write a template with the field menu and get it back into the wizard.
class WizardTemplateSessionTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QProcess m_display;
    QPointer<FrmMailMerge> m_wizard;

    wordlink::WriterSession* writer() const
    {
        TemplateEditing* editing = m_wizard->templateEditing();
        return editing != nullptr && editing->doc() != nullptr ? editing->doc()->writer() : nullptr;
    }

    qint64 officeProcess() const { return ask(writer(), {{u"op"_s, u"pid"_s}}).value(u"pid"_s).toInteger(); }

    QList<QJsonArray> popups() const
    {
        QList<QJsonArray> found;
        for (const QJsonValue popup : ask(writer(), {{u"op"_s, u"menu"_s}}).value(u"popups"_s).toArray()) {
            found << popup.toArray();
        }
        return found;
    }

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        if (!wordlink::visibleWriterProblem(QStandardPaths::findExecutable(u"soffice"_s)).isEmpty()) {
            QSKIP("no office suite with a window system is installed (libreoffice-writer, libreoffice-gtk3)");
        }
        const QString noDisplay = TestSupport::ensureWriterDisplay(m_display);
        if (!noDisplay.isEmpty()) {
            QSKIP(qPrintable(noDisplay));
        }
        // The offer to add the document log to the user's own office suite was answered.
        SettingsStore::instance().setValue(Keys::LogExtensionOffered, u"Y"_s);
        QFile list(m_dir.filePath(u"list.csv"_s));
        QVERIFY(list.open(QIODevice::WriteOnly));
        list.write("First Name,Last Name,Email\r\nAnn,Lee,ann@example.com\r\n");
        list.close();
        m_wizard = FrmMailMerge::instance();
        m_wizard->show();
        m_wizard->sourcePage()->LstDataSrc->setCurrentRow(5);
        Dialogs::setNextResult(list.fileName());
        m_wizard->sourcePage()->CmdBrowseWab->click();
        m_wizard->CmdNext_Click();
        m_wizard->fieldMapPage()->ChkSkip->setChecked(true);
        m_wizard->CmdNext_Click();
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Template));
    }

    void cleanupTestCase()
    {
        delete m_wizard;
        if (m_display.state() == QProcess::Running) {
            m_display.terminate();
            m_display.waitForFinished(5000);
        }
    }

    void newTemplate_writtenWithTheMenu_savedAndClosed_comesBackIntoTheTemplateBox()
    {
        TemplatePage* page = m_wizard->templatePage();
        page->ChkAttachment->click();
        QVERIFY(page->ChkMailMerge->isChecked());
        page->CmdNewTemplate[0]->click();
        QVERIFY(writer() != nullptr);
        // "N" while the user works in the writer.
        QCOMPARE(SettingsStore::instance().value(Keys::WordRunning), u"N"_s);

        // A text source: thirteen fixed entries and the three custom columns' headings.
        const QList<QJsonArray> menus = popups();
        QCOMPARE(menus.size(), 1);
        QCOMPARE(menus.first().size(), 16);
        QCOMPARE(menus.first().at(15).toString(), m_wizard->contactTable().heading(15));

        ask(writer(), {{u"op"_s, u"dispatch"_s}, {u"command"_s, u"vnd.quillbay:field/1"_s}});
        QTRY_COMPARE(ask(writer(), {{u"op"_s, u"text"_s}}).value(u"text"_s).toString(), u"[[FirstName]]"_s);
        const QString saved = m_dir.filePath(u"new letter.docx"_s);
        ask(writer(), {{u"op"_s, u"saveAs"_s}, {u"path"_s, saved}});
        const qint64 office = officeProcess();
        ask(writer(), {{u"op"_s, u"dispatch"_s}, {u"command"_s, u".uno:CloseDoc"_s}});
        QTRY_COMPARE_WITH_TIMEOUT(page->txtTemplate[0]->text(), saved, 30000);
        QTRY_VERIFY_WITH_TIMEOUT(!processAlive(office), 30000);
        QVERIFY(writer() == nullptr);
    }
};

QTEST_MAIN(WizardTemplateSessionTest)
#include "tst_wizard_template_session.moc"
