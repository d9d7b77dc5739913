#pragma once

#include "Workbook.h"

#include <QHash>

namespace wordlink {
class OoxmlPackage;
}

// An Office Open XML workbook (.xlsx, .xlsm) read from its zip package: the workbook part found
// through the package relationships, its worksheets through the workbook's relationships, the
// shared strings (rich text runs joined, phonetic runs left out), inline strings, the cached
// results of formulas, booleans, error values, and dates told by their cell's number format in
// the workbook's date system (1900 or 1904). Cells and rows without a reference follow the one
// before them; _xHHHH_ in a text stands for the character of that code.
class XlsxWorkbook : public Workbook
{
public:
    static Result<std::unique_ptr<Workbook>> open(const QString& path);
    ~XlsxWorkbook() override;

    QStringList sheetNames() const override { return m_names; }
    Result<Worksheet> sheet(int number) const override;

private:
    XlsxWorkbook();

    std::unique_ptr<wordlink::OoxmlPackage> m_package;
    QStringList m_names;
    QStringList m_sheetParts;
    QStringList m_sharedStrings;
    // The date format code of each cell style that shows a date; styles that show numbers are absent.
    QHash<int, QString> m_dateStyles;
    bool m_date1904 = false;
};

namespace XlsxText {

// Turns each _xHHHH_ into the character of that code: "a_x000D_b" #=> "a\rb"; "_x005F_" is the
// underscore, so "_x005F_x0041_" stays "_x0041_".
QString decodeEscapes(const QString& text);

// The 1-based column of a reference's letters ("A1" #=> 1, "AB12" #=> 28) and its row; false for
// a reference that is none or lies beyond column XFD or row 1,048,576.
bool parseReference(const char* reference, int& row, int& column);

} // namespace XlsxText
