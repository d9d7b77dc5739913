// quillbay-xls-reader: reads an Excel 97-2003 workbook (.xls) with libfreexl for the spreadsheet
// source of Quillbay+, which starts it for each stage and reads what it writes.
//
//   quillbay-xls-reader sheets FILE      the date system and the names of the worksheets
//   quillbay-xls-reader cells FILE N     every cell of the N-th worksheet (from 1) that holds a value
//
// libfreexl trusts what it finds in a file, and a damaged workbook can make it read out of
// bounds or crash; in a process of its own that ends one stage, never the program.
//
// Output: a sequence of items, each written as its length in decimal digits, a colon and its
// bytes (UTF-8): "OK", then for "sheets" "1" or "0" (the 1904 date system or not), the number of
// sheets and their names; for "cells" four items per cell: row, column (both from 1), a kind
// (i integer, d number, t text, D date, T date and time, H time) and the value (a number with
// 17 significant digits, or the text; dates as ISO text); then "END". A workbook locked with a
// password writes "PASSWORD"; any other failure "ERR" and a reason; both exit with status 1.

#include <cstdio>
#include <cstdlib>
#include <freexl.h>
#include <string>
#include <string_view>

namespace {

void item(std::string_view bytes)
{
    std::printf("%zu:", bytes.size());
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

void number(unsigned long value)
{
    item(std::to_string(value));
}

[[noreturn]] void fail(const char* kind, const std::string& reason)
{
    item(kind);
    item(reason);
    std::fflush(stdout);
    std::exit(1);
}

const void* open(const char* path)
{
    const void* handle = nullptr;
    const int opened = freexl_open(path, &handle);
    if (opened != FREEXL_OK) {
        fail("ERR", "error " + std::to_string(opened));
    }
    unsigned int info = 0;
    if (freexl_get_info(handle, FREEXL_BIFF_PASSWORD, &info) == FREEXL_OK && info == FREEXL_BIFF_OBFUSCATED) {
        fail("PASSWORD", "protected by a password");
    }
    return handle;
}

unsigned int sheetCount(const void* handle)
{
    unsigned int count = 0;
    if (freexl_get_info(handle, FREEXL_BIFF_SHEET_COUNT, &count) != FREEXL_OK) {
        fail("ERR", "no sheets are listed");
    }
    return count > 0xFFFF ? 0xFFFF : count;
}

void sheets(const void* handle)
{
    unsigned int mode = 0;
    const bool date1904 =
        freexl_get_info(handle, FREEXL_BIFF_DATEMODE, &mode) == FREEXL_OK && mode == FREEXL_BIFF_DATEMODE_1904;
    const unsigned int count = sheetCount(handle);
    item("OK");
    item(date1904 ? "1" : "0");
    number(count);
    for (unsigned int i = 0; i < count; ++i) {
        const char* name = nullptr;
        if (freexl_get_worksheet_name(handle, static_cast<unsigned short>(i), &name) != FREEXL_OK || name == nullptr) {
            fail("ERR", "a sheet has no name");
        }
        item(name);
    }
}

void cells(const void* handle, unsigned long sheet)
{
    if (sheet < 1 || sheet > sheetCount(handle) ||
        freexl_select_active_worksheet(handle, static_cast<unsigned short>(sheet - 1)) != FREEXL_OK) {
        fail("ERR", "no such sheet");
    }
    unsigned int rows = 0;
    unsigned short columns = 0;
    if (freexl_worksheet_dimensions(handle, &rows, &columns) != FREEXL_OK) {
        fail("ERR", "the sheet's size cannot be read");
    }
    item("OK");
    constexpr unsigned int MaxRows = 1048576;
    for (unsigned int row = 0; row < rows && row < MaxRows; ++row) {
        for (unsigned short column = 0; column < columns; ++column) {
            FreeXL_CellValue value;
            if (freexl_get_cell_value(handle, row, column, &value) != FREEXL_OK) {
                fail("ERR", "a cell cannot be read");
            }
            char text[64];
            std::string_view kind;
            std::string_view shown;
            switch (value.type) {
            case FREEXL_CELL_INT:
                std::snprintf(text, sizeof text, "%d", value.value.int_value);
                kind = "i";
                shown = text;
                break;
            case FREEXL_CELL_DOUBLE:
                std::snprintf(text, sizeof text, "%.17g", value.value.double_value);
                kind = "d";
                shown = text;
                break;
            case FREEXL_CELL_TEXT:
            case FREEXL_CELL_SST_TEXT:
                kind = "t";
                shown = value.value.text_value != nullptr ? value.value.text_value : "";
                break;
            case FREEXL_CELL_DATE:
            case FREEXL_CELL_DATETIME:
            case FREEXL_CELL_TIME:
                kind = value.type == FREEXL_CELL_DATE ? "D" : value.type == FREEXL_CELL_DATETIME ? "T" : "H";
                shown = value.value.text_value != nullptr ? value.value.text_value : "";
                break;
            default:
                continue; // an empty cell
            }
            number(row + 1UL);
            number(column + 1UL);
            item(kind);
            item(shown);
        }
    }
}

} // namespace

int main(int argc, char* argv[])
{
    const std::string_view command = argc > 1 ? argv[1] : "";
    if (argc == 3 && command == "sheets") {
        const void* handle = open(argv[2]);
        sheets(handle);
        freexl_close(handle);
    } else if (argc == 4 && command == "cells") {
        const void* handle = open(argv[2]);
        cells(handle, std::strtoul(argv[3], nullptr, 10));
        freexl_close(handle);
    } else {
        fail("ERR", "usage: quillbay-xls-reader sheets FILE | cells FILE N");
    }
    item("END");
    std::fflush(stdout);
    return 0;
}
