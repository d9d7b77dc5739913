#pragma once

#include <QString>
#include <QStringView>

// The text of a worksheet cell's value, as the spreadsheet gives it when a value is turned into
// text: a number in its general decimal form, a date or time as its number format shows it.
namespace ExcelCellText {

// Up to 15 significant digits, the shortest that stand for the number, no trailing zeros, and
// scientific notation from 1E+15 up and below 1E-04:
//     12 #=> "12"   0.1 #=> "0.1"   0.1 + 0.2 #=> "0.3"   1/3 #=> "0.333333333333333"
//     -2.5e-7 #=> "-2.5E-07"   1e20 #=> "1E+20"
QString generalNumber(double value);

// The format code of a built-in number format that shows a date or a time (ids 14 to 22 and
// 45 to 47); empty for every other id.
QString builtInDateFormat(int numFmtId);

// True when a format code shows a date or time: it holds d, m, y, h or s outside quoted text,
// bracketed parts ([Red], [$-409]) and escaped characters. "0.00", "#,##0 \"days\"" are numbers.
bool isDateFormat(QStringView formatCode);

// The serial number of a date (days since the workbook's epoch, the fraction the time of day)
// shown through a date format code. The 1900 system counts the phantom 29 February 1900 as day
// 60; the 1904 system counts from 1 January 1904 as day 0. Patterns: y yy yyyy, m mm mmm mmmm
// mmmmm, d dd ddd dddd, h hh, m mm after h or before s as minutes, s ss with .0 fractions,
// [h] [m] [s] elapsed, AM/PM and A/P, "quoted" and \escaped text; only the first section counts.
//     45306.5 with "m/d/yyyy h:mm" #=> "1/15/2024 12:00"
//     45306 with "dd mmmm yyyy"   #=> "15 January 2024"
QString formatDate(double serial, QStringView formatCode, bool date1904);

// The serial number of an ISO 8601 date and time ("2024-01-15", "2024-01-15T10:30:00",
// "10:30:00"), in the given date system; false when the text is none of these.
bool serialOfIsoText(QStringView text, bool date1904, double& serial);

} // namespace ExcelCellText
