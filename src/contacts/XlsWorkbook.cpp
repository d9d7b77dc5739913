#include "XlsWorkbook.h"

#include "ExcelCellText.h"
#include "HelperRun.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

// How long the helper may write nothing before it is taken to be stuck on a damaged file.
constexpr int SilenceLimitMs = 10000;

QString& readerOverride()
{
    static QString program;
    return program;
}

QString readerProgram()
{
    return readerOverride().isEmpty()
               ? helperProgram(QStringLiteral(QUILLBAY_XLS_READER_FROM_BIN), QStringLiteral(QUILLBAY_XLS_READER_BUILT))
               : readerOverride();
}

QString cellText(char kind, const QString& value, bool date1904)
{
    switch (kind) {
    case 'i':
        return value;
    case 'd':
        return ExcelCellText::generalNumber(value.toDouble());
    case 'D':
    case 'T':
    case 'H': {
        double serial = 0.0;
        if (!ExcelCellText::serialOfIsoText(value, date1904, serial)) {
            return value;
        }
        const int format = kind == 'D' ? 14 : kind == 'T' ? 22 : 21;
        return ExcelCellText::formatDate(serial, ExcelCellText::builtInDateFormat(format), date1904);
    }
    default:
        return value;
    }
}

// The helper's first item: "OK", or the failure it names.
Status opening(HelperRun& run, const QString& path)
{
    if (!run.started()) {
        return Error{Workbook::Unreadable, u"the workbook reader cannot be started"_s};
    }
    const std::optional<QByteArray> head = run.next();
    if (head == "OK") {
        return {};
    }
    if (head == "PASSWORD") {
        return Error{Workbook::PasswordProtected, u"%1 is protected by a password"_s.arg(path)};
    }
    const QString reason = head ? QString::fromUtf8(run.next().value_or("unreadable")) : u"unreadable"_s;
    return Error{Workbook::Corrupt, u"%1 cannot be read as an Excel 97-2003 workbook (%2)"_s.arg(path, reason)};
}

} // namespace

void XlsWorkbook::setReaderProgram(const QString& program)
{
    readerOverride() = program;
}

Result<std::unique_ptr<Workbook>> XlsWorkbook::open(const QString& path)
{
    const QString absolute = QFileInfo(path).absoluteFilePath();
    HelperRun run(readerProgram(), {u"sheets"_s, absolute}, SilenceLimitMs);
    if (const Status opened = opening(run, path); !opened.ok()) {
        return opened.error();
    }
    std::unique_ptr<XlsWorkbook> book(new XlsWorkbook(absolute));
    const std::optional<QByteArray> mode = run.next();
    const std::optional<int> count = run.nextNumber();
    if (!mode || !count) {
        return Error{Corrupt, u"%1 lists no sheets"_s.arg(path)};
    }
    book->m_date1904 = *mode == "1";
    for (int i = 0; i < *count; ++i) {
        const std::optional<QByteArray> name = run.next();
        if (!name) {
            return Error{Corrupt, u"%1 has a sheet without a name"_s.arg(path)};
        }
        book->m_names << QString::fromUtf8(*name);
    }
    if (run.next() != "END") {
        return Error{Corrupt, u"%1 cannot be read as an Excel 97-2003 workbook"_s.arg(path)};
    }
    return std::unique_ptr<Workbook>(std::move(book));
}

Result<Worksheet> XlsWorkbook::sheet(int number) const
{
    if (number < 1 || number > m_names.size()) {
        return Error{NoSuchSheet, u"the workbook has no sheet %1"_s.arg(number)};
    }
    HelperRun run(readerProgram(), {u"cells"_s, m_path, QString::number(number)}, SilenceLimitMs);
    if (!opening(run, m_path).ok()) {
        return Error{Corrupt, u"the sheet %1 cannot be read"_s.arg(number)};
    }
    Worksheet sheet;
    for (;;) {
        const std::optional<QByteArray> first = run.next();
        if (first == "END") {
            break;
        }
        bool ok = false;
        const int row = first ? first->toInt(&ok) : 0;
        const std::optional<int> column = run.nextNumber();
        const std::optional<QByteArray> kind = run.next();
        const std::optional<QByteArray> value = run.next();
        // Output that breaks off (the library crashed or hung) ends the stage.
        if (!ok || !column || !kind || kind->size() != 1 || !value) {
            return Error{Corrupt, u"the sheet %1 cannot be read"_s.arg(number)};
        }
        sheet.setCell(row, *column, cellText(kind->at(0), QString::fromUtf8(*value), m_date1904));
    }
    sheet.finish();
    return sheet;
}
