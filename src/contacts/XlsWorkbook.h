#pragma once

#include "Workbook.h"

// A BIFF workbook (.xls) read through libfreexl. The library gives dates as ISO text without
// their number format, so a date shows as the short date (m/d/yyyy), a date with a time as
// m/d/yyyy h:mm and a time as h:mm:ss; it gives a boolean as the integer 1 or 0.
class XlsWorkbook : public Workbook
{
public:
    static Result<std::unique_ptr<Workbook>> open(const QString& path);
    ~XlsWorkbook() override;

    QStringList sheetNames() const override { return m_names; }
    Result<Worksheet> sheet(int number) const override;

private:
    explicit XlsWorkbook(const void* handle);

    const void* m_handle;
    QStringList m_names;
    bool m_date1904 = false;
};
