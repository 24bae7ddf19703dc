// Rows of keyword tables: one line of a keyed file each, with what it takes to read and to write it.
#pragma once

#include "base/text_format.h"
#include "device/keyed_source.h"

#include <string>
#include <string_view>

namespace kovin {

/// A number or a switch of a record; exactly one of the three members is set.
template <class Record>
struct KeyRow {
    std::string_view word;  ///< start of the line
    double Record::*real = nullptr;
    int Record::*whole = nullptr;
    bool Record::*flag = nullptr;
    Limits limits = any_number;
    int width = 2, digits = 0;  ///< of the written number
    bool scientific = false;
    std::string_view unit = "";  ///< written behind the value, not read
    std::string_view colon = " : ";
    bool exact = false;  ///< the case of the word counts when it is read
};

/// The row that a line belongs to.
template <class Row>
struct TakenRow {
    const Row* row = nullptr;
    bool stored = false;  ///< the line has a good value
    explicit operator bool() const { return row != nullptr; }
};

/// Reads the value behind `word`. A row may lack switches. @return true if it was stored
template <class Row, class Record>
bool read_value(KeyedSource& source, std::string_view word, const Row& row, Record& record)
{
    if constexpr (requires { row.flag; })
        if (row.flag) return source.flag(word, record.*row.flag);
    if (row.real) return source.number(word, record.*row.real, row.limits);
    return source.whole(word, record.*row.whole, static_cast<int>(row.limits.low), static_cast<int>(row.limits.high));
}

/// Reads the line by the first row that it begins with. @param prefix  in front of each word
template <class Record, std::size_t n>
TakenRow<KeyRow<Record>> read_rows(KeyedSource& source, const KeyRow<Record> (&rows)[n], Record& record,
                                   const std::string& prefix = "")
{
    for (const KeyRow<Record>& row : rows) {
        const std::string word = prefix + std::string(row.word);
        if (row.exact ? source.starts_exactly(word) : source.starts(word))
            return {&row, read_value(source, word, row, record)};
    }
    return {};
}

/// The line of a row, as it is read.
template <class Record>
void add_row(std::string& out, const KeyRow<Record>& row, const Record& record, std::string_view prefix = "")
{
    out += std::string(prefix) + std::string(row.word) + std::string(row.colon);
    if (row.real)
        out += row.scientific ? scientific(record.*row.real, row.width, row.digits)
                              : fixed(record.*row.real, row.width, row.digits);
    if (row.whole) out += integer(record.*row.whole, row.width);
    if (row.flag) out += integer(record.*row.flag ? 1 : 0, row.width);
    out += std::string(row.unit) + "\n";
}

template <class Record, std::size_t n>
void add_rows(std::string& out, const KeyRow<Record> (&rows)[n], const Record& record, std::string_view prefix = "")
{
    for (const KeyRow<Record>& row : rows) add_row(out, row, record, prefix);
}

}  // namespace kovin
