// The table of a curve that may have been cut.
#pragma once

#include "results/columns.h"
#include "results/curve_files.h"

#include <span>
#include <string>

namespace kovin {

/// Headings and rows of a curve of which `done` points were calculated and `asked` asked for, and an empty line.
template <class Curve>
void write_rows(std::string& out, std::span<const Column<Curve>> columns, const Curve& curve, std::size_t done,
                std::size_t asked, CutCurves mode)
{
    write_table<Curve>(out, columns, curve, done);
    if (mode != CutCurves::truncate && asked > done)
        write_empty_rows<Curve>(out, columns, asked - done, mode == CutCurves::zeros);
    out += '\n';
}

}  // namespace kovin
