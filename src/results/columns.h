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

/// One line of headings and `rows` lines of numbers, parted by tabs.
template <class Record>
void write_table(std::string& out, std::span<const Column<Record>> columns, const Record& record, std::size_t rows)
{
    bool first = true;
    for (const auto& column : columns) {
        if (!first) out += '\t';
        out += column.heading;
        first = false;
    }
    out += '\n';
    for (std::size_t row = 0; row < rows; ++row) {
        first = true;
        for (const auto& column : columns) {
            if (!first) out += '\t';
            out += column.lead;
            out += formatted(column.format, column.value(record, row));
            first = false;
        }
        out += '\n';
    }
}

}  // namespace kovin
