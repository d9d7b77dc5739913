#include "TestSupport.h"
#include "core/AppPaths.h"
#include "core/ListSeparator.h"
#include "core/SettingsKeys.h"
#include "explorer/FrmShowLog.h"
#include "wordlink/UserOffice.h"

#include <QFile>
#include <QLabel>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {

QString setting(const SettingKey& key)
{
    return SettingsStore::instance().value(key);
}

QByteArray record(const QStringList& fields)
{
    return fields.join(ListSeparator()).toUtf8() + "\r\n";
}

void writeLog(const QByteArray& content)
{
    QFile log(AppPaths::file(u"Log.Dat"_s));
    QVERIFY(log.open(QIODevice::WriteOnly | QIODevice::Truncate));
    log.write(content);
}

QStringList rowTexts(const QTreeWidgetItem* item)
{
    QStringList texts;
    for (int column = 0; column < item->columnCount(); ++column) {
        texts << item->text(column);
    }
    return texts;
}

// The log window, once its timer has read the log.
FrmShowLog* loadedLogWindow()
{
    FrmShowLog* window = FrmShowLog::instance();
    window->show();
    if (!QTest::qWaitFor([window] { return !window->tmrStart->isActive(); }, 2000)) {
        return nullptr;
    }
    return window;
}

struct Launch
{
    QStringList arguments;
    QString running;
};

} // namespace

class ShowLogTest : public QObject
{
    Q_OBJECT

    QList<Launch> m_launches;

private slots:
    void initTestCase()
    {
        TestSupport::isolateUserFolders();
        wordlink::setOfficeLauncher([this](const QString&, const QStringList& arguments) {
            m_launches << Launch{arguments, setting(Keys::WordRunning)};
            return true;
        });
    }

    void init()
    {
        TestSupport::resetSettings();
        m_launches.clear();
    }

    void cleanup()
    {
        delete FrmShowLog::instance();
        QFile::remove(AppPaths::file(u"Log.Dat"_s));
    }

    void load_putsTheNewestOnTop_andSkipsLinesOfFourFields()
    {
        writeLog(
            record({u"/home/ann/Letters/Offer.docx"_s, u"02/03/2026"_s, u"01/03/2026"_s, u"12/01/2026"_s, u"14"_s}) +
            record({u"/home/ann/four fields.doc"_s, u"a"_s, u"b"_s, u"c"_s}) + "\r\n" +
            record({u"/Budget.doc"_s, u"03/03/2026"_s, u"03/03/2026"_s, u"03/03/2026"_s, u"7"_s, u"extra"_s}) +
            record({u"/home/ann/Letters/Offer.docx"_s, u"04/03/2026"_s, u"04/03/2026"_s, u"12/01/2026"_s, u"15"_s}));
        FrmShowLog* window = FrmShowLog::instance();
        // The log is read a moment after the window is made.
        QCOMPARE(window->lvList->topLevelItemCount(), 0);
        window->show();
        QTRY_COMPARE(window->lvList->topLevelItemCount(), 3);
        QVERIFY(!window->tmrStart->isActive());

        // A document opened twice is listed twice; the blank line joins nothing here.
        QCOMPARE(rowTexts(window->lvList->topLevelItem(0)),
                 (QStringList{u"Offer.docx"_s, u"/home/ann/Letters"_s, u"04/03/2026"_s, u"04/03/2026"_s,
                              u"12/01/2026"_s, u"15 KB"_s}));
        QCOMPARE(rowTexts(window->lvList->topLevelItem(1)), (QStringList{u"Budget.doc"_s, QString(), u"03/03/2026"_s,
                                                                         u"03/03/2026"_s, u"03/03/2026"_s, u"7 KB"_s}));
        QCOMPARE(window->lvList->topLevelItem(2)->text(3), u"01/03/2026"_s);
        QCOMPARE(window->SbStatusPanel1->text(), u"Total Documents : 50 "_s);
    }

    void logWithoutAUsableLine_closesTheWindowWithoutAWord()
    {
        // Only records of four fields and blank lines, then a log gone since the command looked.
        writeLog(record({u"/a.doc"_s, u"1"_s, u"2"_s, u"3"_s}) + "\r\n\r\n");
        for (int pass = 0; pass < 2; ++pass) {
            TestSupport::MessageRecorder messages;
            QPointer<FrmShowLog> window = FrmShowLog::instance();
            window->show();
            QTRY_VERIFY(window.isNull());
            QVERIFY(messages.messages().isEmpty());
            // It was unloaded as a window is: its rectangle is stored.
            QVERIFY(!setting(Keys::LogWidth).isEmpty());
            QFile::remove(AppPaths::file(u"Log.Dat"_s));
            TestSupport::resetSettings();
        }
    }

    void rectangle_comesFromTheStore_andIsSavedAgainMinimisedOrNot()
    {
        writeLog(record({u"/d/a.doc"_s, u"1"_s, u"2"_s, u"3"_s, u"4"_s}));
        FrmShowLog* window = FrmShowLog::instance();
        QCOMPARE(QRect(window->pos(), window->size()), QRect(67, 67, 533, 433)); // 1000, 1000, 8000, 6500 twips
        delete window;

        const SettingKey* keys[] = {&Keys::LogLeft, &Keys::LogTop, &Keys::LogWidth, &Keys::LogHeight};
        const auto stored = [&keys] {
            QStringList values;
            for (const SettingKey* key : keys) {
                values << setting(*key);
            }
            return values.join(u' ');
        };
        const QStringList twips{u"1500"_s, u"3000"_s, u"9000"_s, u"6000"_s};
        for (int i = 0; i < 4; ++i) {
            SettingsStore::instance().setValue(*keys[i], twips.at(i));
        }
        // Closed as it stands, and minimised with the rectangle it had before.
        const struct
        {
            bool minimised;
            QRect rectangle;
            QString twips;
        } passes[] = {{false, {150, 90, 660, 450}, u"2250 1350 9900 6750"_s},
                      {true, {120, 60, 600, 420}, u"1800 900 9000 6300"_s}};
        for (const auto& pass : passes) {
            window = loadedLogWindow();
            QVERIFY(window);
            if (!pass.minimised) {
                QCOMPARE(QRect(window->pos(), window->size()), QRect(100, 200, 600, 400));
            }
            window->move(pass.rectangle.topLeft());
            window->resize(pass.rectangle.size());
            if (pass.minimised) {
                window->showMinimized();
                QTRY_VERIFY(window->isMinimized());
            }
            window->close();
            QCOMPARE(stored(), pass.twips);
        }
    }

    void doubleClickAndEnter_openTheDocument_withRunningSetMeanwhile()
    {
        const QString offer = TestSupport::homeFolder() + u"/Offer.docx"_s;
        QVERIFY(TestSupport::writeFile(offer, "PK"));
        const QString gone = TestSupport::homeFolder() + u"/Moved away.doc"_s;
        writeLog(record({gone, u"01/02/2026"_s, u"01/01/2026"_s, u"01/01/2026"_s, u"3"_s}) +
                 record({offer, u"05/03/2026 09:15"_s, u"04/03/2026 17:40"_s, u"01/03/2026"_s, u"1"_s}));
        TestSupport::MessageRecorder messages;
        FrmShowLog* window = loadedLogWindow();
        QVERIFY(window);
        QTreeWidget* list = window->lvList;

        // Enter with nothing selected does nothing.
        list->clearSelection();
        QTest::keyClick(list, Qt::Key_Return);
        QVERIFY(m_launches.isEmpty());

        const QPoint offerRow = list->visualItemRect(list->topLevelItem(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, offerRow);
        QCOMPARE(window->SbStatusPanel1->text(),
                 u"Last Accessed Date: 05/03/2026 09:15     Last Modified Date: 04/03/2026 17:40"_s);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, offerRow);
        QCOMPARE(m_launches.size(), 1);
        QCOMPARE(m_launches.first().arguments.last(), offer);
        QCOMPARE(m_launches.first().running, u"Y"_s);
        QCOMPARE(setting(Keys::WordRunning), u"N"_s);
        QVERIFY(messages.messages().isEmpty());

        // A document that is no longer there: the user is told, and Running goes back to "N".
        list->setCurrentItem(list->topLevelItem(1));
        QTest::keyClick(list, Qt::Key_Enter);
        QCOMPARE(m_launches.size(), 1);
        QCOMPARE(messages.messages().size(), 1);
        QVERIFY(messages.lastText().contains(gone));
        QCOMPARE(messages.messages().first().icon, MessageIcon::Information);
        QCOMPARE(setting(Keys::WordRunning), u"N"_s);
    }
};

QTEST_MAIN(ShowLogTest)
#include "tst_show_log.moc"
