// quillbay-mdb-reader: reads an Access database with the mdbtools library (libmdb) for the
// Access engine of Quillbay+, which starts it for each stage and reads what it writes.
//
//   quillbay-mdb-reader tables FILE         every table, system tables included
//   quillbay-mdb-reader rows FILE TABLE     the table's fields, its record count, its rows
//
// libmdb trusts what it finds in a file, and a damaged database can make it loop or crash; in a
// process of its own that ends one stage, which the engine ends after a while without output,
// and never the program.
//
// Output: a sequence of items, each written as its length in decimal digits, a colon and its
// bytes (UTF-8): "OK", then for "tables" the number of tables and their names, for "rows" the
// number of fields n, their names, the record count and n values for each row; then "END".
// A failure writes "ERR" or "NOTABLE" and a reason instead, and exits with status 1.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <glib.h> // before mdbtools.h, which includes it inside a C block where its C++ parts cannot stand
#include <mdbtools.h>
#include <string>
#include <string_view>
#include <vector>

namespace {

// The largest text a field gives: a memo of 65,535 characters, three UTF-8 bytes each.
constexpr size_t BindSize = 3 * 65536;

void item(std::string_view bytes)
{
    std::printf("%zu:", bytes.size());
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

void number(unsigned long value)
{
    item(std::to_string(value));
}

[[noreturn]] void fail(const char* kind, const char* reason)
{
    item(kind);
    item(reason);
    std::fflush(stdout);
    std::exit(1);
}

// "18.0000" -> "18", "1995.5000" -> "1995.5": a number of fixed decimals without its trailing
// zeros, as the number itself is written.
std::string withoutTrailingZeros(std::string number)
{
    if (number.find('.') == std::string::npos) {
        return number;
    }
    while (!number.empty() && number.back() == '0') {
        number.pop_back();
    }
    if (!number.empty() && number.back() == '.') {
        number.pop_back();
    }
    return number;
}

std::string significant(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    return text;
}

// The text of one bound value by the column's type. libmdb writes single-precision numbers with
// eight significant digits ("0.050000001"); they are given with the seven a single holds
// ("0.05"), doubles with fifteen. Dates come as "%Y-%m-%d %H:%M:%S": midnight gives the date
// alone, the engine's day zero the time alone.
std::string displayText(int columnType, const char* bound, int length)
{
    if (length <= 0) {
        return {};
    }
    const std::string raw(bound, static_cast<size_t>(length));
    switch (columnType) {
    case MDB_BOOL:
        return raw == "0" ? "False" : "True";
    case MDB_FLOAT:
        return significant(std::strtof(raw.c_str(), nullptr), 7);
    case MDB_DOUBLE:
        return significant(std::strtod(raw.c_str(), nullptr), 15);
    case MDB_MONEY:
    case MDB_NUMERIC:
        return withoutTrailingZeros(raw);
    case MDB_DATETIME:
        if (raw.size() > 9 && raw.compare(raw.size() - 9, 9, " 00:00:00") == 0) {
            return raw.substr(0, raw.size() - 9);
        }
        return raw.rfind("1899-12-30 ", 0) == 0 ? raw.substr(11) : raw;
    case MDB_BINARY:
    case MDB_OLE:
    case MDB_COMPLEX:
        return {};
    default:
        return raw;
    }
}

void writeRows(MdbHandle* handle, const char* name)
{
    MdbTableDef* table = mdb_read_table_by_name(handle, const_cast<char*>(name), MDB_TABLE);
    if (table == nullptr) {
        fail("NOTABLE", name);
    }
    if (mdb_read_columns(table) == nullptr || table->columns == nullptr) {
        fail("ERR", "the table's fields cannot be read");
    }
    const unsigned int count = table->num_cols;
    std::vector<std::vector<char>> buffers(count, std::vector<char>(BindSize, '\0'));
    std::vector<int> lengths(count, 0);
    std::vector<int> types(count, 0);
    item("OK");
    number(count);
    for (unsigned int column = 0; column < count; ++column) {
        const auto* definition = static_cast<const MdbColumn*>(g_ptr_array_index(table->columns, column));
        item(definition->name);
        types[column] = definition->col_type;
        mdb_bind_column(table, static_cast<int>(column + 1), buffers[column].data(), &lengths[column]);
    }
    number(table->num_rows);
    mdb_rewind_table(table);
    while (mdb_fetch_row(table)) {
        for (unsigned int column = 0; column < count; ++column) {
            item(displayText(types[column], buffers[column].data(), lengths[column]));
        }
    }
    mdb_free_tabledef(table);
}

void writeTables(MdbHandle* handle)
{
    std::vector<std::string> names;
    for (unsigned int k = 0; k < handle->num_catalog; ++k) {
        const auto* entry = static_cast<const MdbCatalogEntry*>(g_ptr_array_index(handle->catalog, k));
        if (entry != nullptr && entry->object_type == MDB_TABLE) {
            names.emplace_back(entry->object_name);
        }
    }
    item("OK");
    number(names.size());
    for (const std::string& name : names) {
        item(name);
    }
}

} // namespace

int main(int argc, char* argv[])
{
    const bool tables = argc == 3 && std::strcmp(argv[1], "tables") == 0;
    const bool rows = argc == 4 && std::strcmp(argv[1], "rows") == 0;
    if (!tables && !rows) {
        std::fprintf(stderr, "usage: quillbay-mdb-reader tables FILE | rows FILE TABLE\n");
        return 2;
    }
    // libmdb's warnings about what it finds in a file are no concern of the program's.
    std::fclose(stderr);
    static char output[1 << 16];
    std::setvbuf(stdout, output, _IOFBF, sizeof output);
    MdbHandle* handle = mdb_open(argv[2], MDB_NOFLAGS);
    if (handle == nullptr) {
        fail("ERR", "not a database");
    }
    mdb_set_bind_size(handle, BindSize);
    mdb_set_date_fmt(handle, "%Y-%m-%d %H:%M:%S");
    mdb_set_shortdate_fmt(handle, "%Y-%m-%d %H:%M:%S");
    mdb_set_boolean_fmt_numbers(handle);
    if (mdb_read_catalog(handle, MDB_TABLE) == nullptr) {
        fail("ERR", "the list of tables cannot be read");
    }
    if (tables) {
        writeTables(handle);
    } else {
        writeRows(handle, argv[3]);
    }
    item("END");
    std::fflush(stdout);
    mdb_close(handle);
    return 0;
}
