// Tables of columns: each file kind lists its columns once, with heading, number format and value.
#pragma once

#include "base/text_format.h"

#include <span>
#include <string>
#include <string_view>

namespace kovin {

struct NumberFormat {
    enum Notation { fixed_point, with_exponent, whole } notation = fixed_point;
    int width = 0, digits = 6;
};

[[nodiscard]] inline std::string formatted(const NumberFormat& format, double value)
{
    switch (format.notation) {
        case NumberFormat::whole:
            return integer(static_cast<long>(value), format.width);
        case NumberFormat::with_exponent:
            return scientific(value, format.width, format.digits);
        case NumberFormat::fixed_point:
            break;
    }
    return fixed(value, format.width, format.digits);
}

/// A column of a table over a record of vectors.
template <class Record>
struct Column {
    std::string_view heading;
    std::string_view lead;  ///< blanks before the number
    NumberFormat format;
    double (*value)(const Record&, std::size_t row);
};

/// One line with a field for each column, parted by tabs.
template <class Record, class Field>
void write_line(std::string& out, std::span<const Column<Record>> columns, const Field& field)
{
    for (std::size_t k = 0; k < columns.size(); ++k) {
        if (k > 0) out += '\t';
        field(columns[k]);
    }
    out += '\n';
}

/// One line of headings and `rows` lines of numbers.
template <class Record>
void write_table(std::string& out, std::span<const Column<Record>> columns, const Record& record, std::size_t rows)
{
    write_line(out, columns, [&](const Column<Record>& column) { out += column.heading; });
    for (std::size_t row = 0; row < rows; ++row)
        write_line(out, columns, [&](const Column<Record>& column) {
            out += column.lead;
            out += formatted(column.format, column.value(record, row));
        });
}

/// `rows` lines for points that have no values: zeros, or blanks as wide.
template <class Record>
void write_empty_rows(std::string& out, std::span<const Column<Record>> columns, std::size_t rows, bool zeros)
{
    for (std::size_t row = 0; row < rows; ++row)
        write_line(out, columns, [&](const Column<Record>& column) {
            const std::string zero = std::string(column.lead) + formatted(column.format, 0.0);
            out += zeros ? zero : std::string(zero.size(), ' ');
        });
}

}  // namespace kovin
