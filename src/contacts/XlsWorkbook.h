#pragma once

#include "Workbook.h"

// A BIFF workbook (.xls) read through libfreexl, which runs in the helper program
// quillbay-xls-reader (src/contacts/xlsreader): on a damaged file the library can read out of
// bounds or crash, and then only the helper ends, and the stage with it. The library gives dates
// as ISO text without their number format, so a date shows as the short date (m/d/yyyy), a date
// with a time as m/d/yyyy h:mm and a time as h:mm:ss; it gives a boolean as the integer 1 or 0.
class XlsWorkbook : public Workbook
{
public:
    static Result<std::unique_ptr<Workbook>> open(const QString& path);

    QStringList sheetNames() const override { return m_names; }
    Result<Worksheet> sheet(int number) const override;

    // The helper program the tests put in place of the built one; "" for the built one.
    static void setReaderProgram(const QString& program);

private:
    explicit XlsWorkbook(QString path)
        : m_path(std::move(path))
    {
    }

    QString m_path;
    QStringList m_names;
    bool m_date1904 = false;
};
