#include "WabWriter.h"
#include "WizardFixture.h"

namespace {

QByteArray book(const QStringList& emails)
{
    WabWriter writer;
    for (const QString& email : emails) {
        writer.addRecord({WabWriter::text(0x3001, u"Ann Lee"_s), WabWriter::text(0x3A11, u"Lee"_s),
                          WabWriter::text(0x3003, email), WabWriter::text(0x3A16, u"Acme"_s)});
    }
    return writer.bytes();
}

} // namespace

class WizardAddressBookTest : public QObject, protected WizardFixture
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

    void openOnAddressBook()
    {
        openWizard();
        source()->LstDataSrc->setCurrentRow(0);
    }

    void browse(const QString& path) { WizardFixture::browse(0, source()->CmdBrowseWab, path); }

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void init() { resetCase(); }

    void cleanup() { closeWizard(); }

    void wabAndVcardFiles_fromTheFirstPageToTheContactPage()
    {
        TestSupport::MessageRecorder messages;
        const QString path = m_dir.filePath(u"friends.wab"_s);
        QVERIFY(TestSupport::writeFile(path, book({u"ann@example.com"_s, QString()})));
        openOnAddressBook();
        browse(path);
        m_wizard->CmdNext_Click();
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        QCOMPARE(column(0), (QStringList{u"ann@example.com"_s, QString()}));
        QCOMPARE(m_wizard->contactTable().cell(2, 1), u"Ann"_s);
        QVERIFY(m_wizard->contactTable().at(2).checked); // no e-mail address, checked like any other
        QCOMPARE(m_wizard->contactsPage()->LsvSelection->columnWidth(13), 0);
        QVERIFY(messages.messages().isEmpty());

        // A vCard file is an address book too, whatever the case of its ending.
        const QString cards = m_dir.filePath(u"cards.VCF"_s);
        QVERIFY(TestSupport::writeFile(cards, "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Bo Berg\r\nN:Berg;Bo;;;\r\n"
                                              "EMAIL;TYPE=HOME:bo@example.com\r\nEND:VCARD\r\n"));
        m_wizard->CmdBack_Click();
        browse(cards);
        m_wizard->CmdNext_Click();
        QCOMPARE(column(0), QStringList{u"bo@example.com"_s});
    }

    void userMistakesAndDamagedBooks_eachHaveTheirMessage()
    {
        const QString list = m_dir.filePath(u"list.csv"_s);
        QVERIFY(TestSupport::writeFile(list, "Name,Email\r\n"));
        const QString damaged = m_dir.filePath(u"damaged.wab"_s);
        QVERIFY(TestSupport::writeFile(damaged, book({u"a@example.com"_s}).left(150)));
        const struct
        {
            QString typed;
            QString message;
        } rows[] = {
            {QString(), u"Choose a Valid file!"_s},
            {list, u"Choose a Valid file!"_s}, // a typed path is checked for its extension too
            {m_dir.filePath(u"missing.wab"_s), u"File Doesn't Exists"_s},
            {damaged,
             u"The address book %1 is damaged: record 1 at offset 128 lies past the end of the file"_s.arg(damaged)},
        };
        TestSupport::MessageRecorder messages;
        openOnAddressBook();
        for (const auto& row : rows) {
            source()->txtWabfile->setText(row.typed);
            messages.clear();
            m_wizard->CmdNext_Click();
            QCOMPARE(messages.texts(), QStringList{row.message});
            QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::DataSource));
            QVERIFY(!m_wizard->progress()->isVisible());
        }
        messages.clear();
        browse(list);
        QCOMPARE(messages.texts(), QStringList{u"Not a Legal Source"_s});
        QCOMPARE(source()->txtWabfile->text(), damaged);

        // A book without live contacts: the question, then the empty contact page.
        const QString none = m_dir.filePath(u"none.wab"_s);
        QVERIFY(TestSupport::writeFile(none, WabWriter().bytes()));
        source()->txtWabfile->setText(none);
        messages.clear();
        m_wizard->CmdNext_Click();
        QCOMPARE(messages.texts(), QStringList{u"Contacts are not Available"_s});
        QCOMPARE(messages.messages().constFirst().buttons, MessageButtons::OkCancel);
        QCOMPARE(m_wizard->currentPage(), int(FrmMailMerge::Contacts));
        QCOMPARE(m_wizard->contactTable().count(), 0);
    }
};

QTEST_MAIN(WizardAddressBookTest)
#include "tst_wizard_address_book.moc"
