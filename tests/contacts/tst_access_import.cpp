#include "TestSupport.h"
#include "contacts/AccessDatabase.h"
#include "contacts/AccessImport.h"
#include "contacts/JetHeader.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using DatabasePointer = std::unique_ptr<AccessDatabase>;

QByteArray firstPage(const QString& path)
{
    return TestSupport::readFile(path).left(4096);
}

Result<DatabasePointer> open(const QString& path, const QString& password = {})
{
    return AccessEngine::OpenDatabase(path, AccessImport::AccessConnect(path, password));
}

// Every row of a table, each as its field texts.
QList<QStringList> allRows(AccessDatabase& database, const QString& table)
{
    QList<QStringList> rows;
    Result<std::unique_ptr<AccessRecordset>> recordset = database.openRecordset(table);
    QStringList values;
    while (recordset.ok() && recordset.value()->moveNext(values)) {
        rows << values;
    }
    return rows;
}

} // namespace

class AccessImportTest : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;

private slots:
    void initTestCase() { TestSupport::isolateUserFolders(); }

    void openDatabase_checksThePasswordStoredInTheHeader_caseCounting()
    {
        QB_REQUIRE_ACCESS_FIXTURE(empty, "emptyJet4.mdb");
        QB_REQUIRE_ACCESS_FIXTURE(nwind, "nwind.mdb");
        QB_REQUIRE_ACCESS_FIXTURE(sample, "ASampleDatabase.accdb");
        for (const QString& unprotected : {empty, nwind, sample}) {
            QCOMPARE(JetHeader::storedPassword(firstPage(unprotected)).value_or(u"<none>"_s), QString());
        }
        QVERIFY(!JetHeader::storedPassword("Name,Email\r\nAnn,ann@example.com\r\n").has_value());
        // The signature alone, on a page too short for the header, is no database either.
        QVERIFY(!JetHeader::storedPassword(QByteArray("\0\1\0\0Standard Jet DB\0", 20)).has_value());
        // Jet 4 and Jet 3 headers, each with a password of its widest characters and one of its
        // greatest length or of the connect string's separators.
        const std::pair<QString, QString> copies[] = {
            {empty, u"Wörter-ß"_s}, {empty, u"twenty characters!!!"_s}, {nwind, u"secret"_s}, {nwind, u"a;b PWD=c"_s}};
        for (const auto& [source, password] : copies) {
            const QString copy = m_dir.filePath(u"%1.mdb"_s).arg(qHash(password));
            QVERIFY(TestSupport::makeProtectedMdb(source, copy, password));
            QCOMPARE(JetHeader::storedPassword(firstPage(copy)).value_or(u"<none>"_s), password);
            QVERIFY2(open(copy, password).ok(), qPrintable(password));
            for (const QString& wrong : {QString(), password.toUpper(), password + u" "_s, password.chopped(1)}) {
                const Result<DatabasePointer> refused = open(copy, wrong);
                QVERIFY2(!refused.ok(), qPrintable(wrong));
                QCOMPARE(refused.error().code, AccessEngine::InvalidPassword);
                QCOMPARE(refused.error().message, u"Not a valid password."_s);
            }
        }
        // A database without a password ignores one given with it (a stale one, say).
        QVERIFY(open(empty, u"x"_s).ok());
    }

    void openDatabase_ofWhatIsNoDatabase_failsWithTheEnginesError()
    {
        QB_REQUIRE_ACCESS_FIXTURE(empty, "emptyJet4.mdb");
        // Text, and the first page of a real database alone: libmdb finds no catalog in them.
        const QString text = m_dir.filePath(u"list.mdb"_s);
        const QString cut = m_dir.filePath(u"cut.mdb"_s);
        QVERIFY(TestSupport::writeFile(text, "Name,Email\r\nAnn,ann@example.com\r\n"));
        QVERIFY(TestSupport::writeFile(cut, firstPage(empty)));
        const QString gone = m_dir.filePath(u"gone.mdb"_s);
        QCOMPARE(open(gone).error().code, AccessEngine::FileNotFound);
        QCOMPARE(open(gone).error().message, u"Could not find file '%1'."_s.arg(gone));
        for (const QString& path : {text, cut, m_dir.path()}) {
            const Result<DatabasePointer> refused = open(path);
            QVERIFY2(!refused.ok(), qPrintable(path));
            QCOMPARE(refused.error().code, AccessEngine::UnrecognizedFormat);
            QCOMPARE(refused.error().message, u"Unrecognized database format '%1'."_s.arg(path));
        }
    }

    void aReaderThatHangsOrCrashes_endsTheStage()
    {
        // On a damaged database mdbtools can loop for ever or crash; readers that do so stand in
        // for it here (rows that break off are the wizard's test).
        QB_REQUIRE_ACCESS_FIXTURE(nwind, "nwind.mdb");
        const auto reader = [this](const QString& name, const QByteArray& script) {
            return TestSupport::writeShellScript(m_dir.filePath(name), script);
        };
        // Were the silent one not stopped after its time of silence, the test would run into its
        // own time limit.
        const QString silent = reader(u"silent.sh"_s, "exec sleep 600\n");
        const QString crashing = reader(u"crashing.sh"_s, "kill -SEGV $$\n");
        for (const QString& program : {silent, crashing}) {
            AccessEngine::setReaderProgram(program, 300);
            const Result<DatabasePointer> refused = open(nwind);
            AccessEngine::setReaderProgram({});
            QVERIFY2(!refused.ok(), qPrintable(program));
            QCOMPARE(refused.error().code, AccessEngine::UnrecognizedFormat);
        }
    }

    void values_comeAsText_nullEmpty_numbersDecimal()
    {
        QB_REQUIRE_ACCESS_FIXTURE(nwind, "nwind.mdb");
        const Result<DatabasePointer> database = open(nwind);
        QVERIFY(database.ok());
        // Tables by name, without the system and switchboard ones.
        QCOMPARE(AccessImport::userTables(database.value()->tableNames()),
                 (QStringList{u"Categories"_s, u"Customers"_s, u"Employees"_s, u"Order Details"_s, u"Orders"_s,
                              u"Products"_s, u"Shippers"_s, u"Suppliers"_s}));
        QCOMPARE(database.value()->openRecordset(u"Clients"_s).error().code, AccessEngine::TableNotFound);

        const QList<QStringList> people = allRows(*database.value(), u"Customers"_s);
        QCOMPARE(people.size(), 91);
        QCOMPARE(people.at(1), (QStringList{u"ANATR"_s, u"Ana Trujillo Emparedados y helados"_s, u"Ana Trujillo"_s,
                                            u"Owner"_s, u"Avda. de la Constitución 2222"_s, u"México D.F."_s, QString(),
                                            u"05021"_s, u"Mexico"_s, u"(5) 555-4729"_s, u"(5) 555-3745"_s}));
        // Money, a yes/no field, whole numbers.
        QCOMPARE(allRows(*database.value(), u"Products"_s).value(0),
                 (QStringList{u"1"_s, u"Chai"_s, u"1"_s, u"1"_s, u"10 boxes x 20 bags"_s, u"18"_s, u"39"_s, u"0"_s,
                              u"10"_s, u"False"_s}));
        // A single-precision number as it was typed, money with its cents.
        QCOMPARE(allRows(*database.value(), u"Order Details"_s).value(8).mid(2, 3),
                 (QStringList{u"16.8"_s, u"6"_s, u"0.05"_s}));
        // Dates, a memo and a picture.
        const QList<QStringList> staff = allRows(*database.value(), u"Employees"_s);
        QCOMPARE(staff.at(0).at(5), u"1948-12-08"_s);
        QCOMPARE(staff.at(0).at(7), u"507 - 20th Ave. E.\r\nApt. 2A"_s);
        QCOMPARE(staff.at(0).at(14), QString());
        QVERIFY(staff.at(1).at(15).size() > 300);

        // Rows follow the map and take values as they are (blanks kept); a null address, or a
        // column the row lacks, gives the empty text and the row is added all the same.
        std::array<int, 16> columns;
        columns.fill(-1);
        columns[12] = 6;  // the region, mostly null
        columns[0] = 4;   // the street
        columns[15] = 20; // a column the rows do not have
        Result<std::unique_ptr<AccessRecordset>> customers = database.value()->openRecordset(u"Customers"_s);
        QCOMPARE(customers.value()->recordCount(), 91);
        int told = 0;
        const std::vector<Contact> rows =
            AccessImport::importRows(*customers.value(), columns, [&told](int row) { told = row; });
        QCOMPARE(told, 91);
        QCOMPARE(rows.size(), size_t(91));
        QCOMPARE(rows.at(2).cells[0], QString());
        QCOMPARE(rows.at(2).cells[1], u"Mataderos  2312"_s);
        QCOMPARE(rows.at(2).cells[15], QString());
        QVERIFY(rows.at(2).checked && rows.at(2).counted);
    }

    void accdb_readsItsTable()
    {
        QB_REQUIRE_ACCESS_FIXTURE(sample, "ASampleDatabase.accdb");
        const Result<DatabasePointer> database = open(sample);
        QVERIFY(database.ok());
        QCOMPARE(AccessImport::userTables(database.value()->tableNames()), QStringList{u"Asset Items"_s});
        const QList<QStringList> assets = allRows(*database.value(), u"Asset Items"_s);
        QCOMPARE(assets.size(), 65);
        QCOMPARE(assets.at(0).mid(0, 12),
                 (QStringList{u"30050"_s, u"Computer Hardware"_s, u"GEO Rocket"_s, u"220ZX"_s, u"Computer"_s,
                              u"Sales"_s, u"344-667"_s, u"1997-09-02"_s, u"1995.5"_s, u"12"_s, u"A"_s, u"44577"_s}));
    }
};

QTEST_GUILESS_MAIN(AccessImportTest)
#include "tst_access_import.moc"
