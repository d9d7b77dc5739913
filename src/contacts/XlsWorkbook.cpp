#include "XlsWorkbook.h"

#include "ExcelCellText.h"

#include <QFile>

#include <freexl.h>

using namespace Qt::StringLiterals;

namespace {

QString cellText(const FreeXL_CellValue& value, bool date1904)
{
    switch (value.type) {
    case FREEXL_CELL_INT:
        return QString::number(value.value.int_value);
    case FREEXL_CELL_DOUBLE:
        return ExcelCellText::generalNumber(value.value.double_value);
    case FREEXL_CELL_TEXT:
    case FREEXL_CELL_SST_TEXT:
        return QString::fromUtf8(value.value.text_value);
    case FREEXL_CELL_DATE:
    case FREEXL_CELL_DATETIME:
    case FREEXL_CELL_TIME: {
        const QString iso = QString::fromUtf8(value.value.text_value);
        double serial = 0.0;
        if (!ExcelCellText::serialOfIsoText(iso, date1904, serial)) {
            return iso;
        }
        const int format = value.type == FREEXL_CELL_DATE ? 14 : value.type == FREEXL_CELL_DATETIME ? 22 : 21;
        return ExcelCellText::formatDate(serial, ExcelCellText::builtInDateFormat(format), date1904);
    }
    default:
        return QString();
    }
}

} // namespace

XlsWorkbook::XlsWorkbook(const void* handle)
    : m_handle(handle)
{
}

XlsWorkbook::~XlsWorkbook()
{
    freexl_close(m_handle);
}

Result<std::unique_ptr<Workbook>> XlsWorkbook::open(const QString& path)
{
    const void* handle = nullptr;
    const int opened = freexl_open(QFile::encodeName(path).constData(), &handle);
    if (opened != FREEXL_OK) {
        if (handle != nullptr) {
            freexl_close(handle);
        }
        return Error{Corrupt, u"%1 cannot be read as an Excel 97-2003 workbook (error %2)"_s.arg(path).arg(opened)};
    }
    std::unique_ptr<XlsWorkbook> book(new XlsWorkbook(handle));
    unsigned int info = 0;
    if (freexl_get_info(handle, FREEXL_BIFF_PASSWORD, &info) == FREEXL_OK && info == FREEXL_BIFF_OBFUSCATED) {
        return Error{PasswordProtected, u"%1 is protected by a password"_s.arg(path)};
    }
    book->m_date1904 =
        freexl_get_info(handle, FREEXL_BIFF_DATEMODE, &info) == FREEXL_OK && info == FREEXL_BIFF_DATEMODE_1904;
    unsigned int count = 0;
    if (freexl_get_info(handle, FREEXL_BIFF_SHEET_COUNT, &count) != FREEXL_OK) {
        return Error{Corrupt, u"%1 lists no sheets"_s.arg(path)};
    }
    for (unsigned int i = 0; i < count && i <= 0xFFFF; ++i) {
        const char* name = nullptr;
        if (freexl_get_worksheet_name(handle, static_cast<unsigned short>(i), &name) != FREEXL_OK || name == nullptr) {
            return Error{Corrupt, u"%1 has a sheet without a name"_s.arg(path)};
        }
        book->m_names << QString::fromUtf8(name);
    }
    return std::unique_ptr<Workbook>(std::move(book));
}

Result<Worksheet> XlsWorkbook::sheet(int number) const
{
    if (number < 1 || number > m_names.size()) {
        return Error{NoSuchSheet, u"the workbook has no sheet %1"_s.arg(number)};
    }
    if (freexl_select_active_worksheet(m_handle, static_cast<unsigned short>(number - 1)) != FREEXL_OK) {
        return Error{Corrupt, u"the sheet %1 cannot be read"_s.arg(number)};
    }
    unsigned int rows = 0;
    unsigned short columns = 0;
    if (freexl_worksheet_dimensions(m_handle, &rows, &columns) != FREEXL_OK) {
        return Error{Corrupt, u"the sheet %1 cannot be read"_s.arg(number)};
    }
    Worksheet sheet;
    for (unsigned int row = 0; row < rows && row < unsigned(Worksheet::MaxRows); ++row) {
        for (unsigned short column = 0; column < columns && column < Worksheet::MaxColumns; ++column) {
            FreeXL_CellValue value;
            if (freexl_get_cell_value(m_handle, row, column, &value) != FREEXL_OK) {
                return Error{Corrupt, u"the sheet %1 cannot be read"_s.arg(number)};
            }
            sheet.setCell(int(row) + 1, int(column) + 1, cellText(value, m_date1904));
        }
    }
    sheet.finish();
    return sheet;
}
