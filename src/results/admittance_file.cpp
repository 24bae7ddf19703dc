#include "results/admittance_file.h"

#include "results/columns.h"
#include "results/header.h"

namespace kovin {

namespace {

constexpr NumberFormat number{NumberFormat::with_exponent, 16, 8};

constexpr Column<DataListElement> as_columns[] = {
    {"       f(Hz)", " ", number, [](const DataListElement& e, std::size_t i) { return e.cf.cf_as[i]; }},
    {"   C(nF/cm2)", " ", number, [](const DataListElement& e, std::size_t i) { return e.cf.cfcap[i]; }},
    {"  Et(eV)", " ", number, [](const DataListElement& e, std::size_t i) { return e.as.AS_Et[i]; }},
    {"-w*dC/dw(nF/cm\xb2)", " ", number, [](const DataListElement& e, std::size_t i) { return e.as.AS_deriv[i]; }},
    {"Nt(cm^-3/eV)", " ", number, [](const DataListElement& e, std::size_t i) { return e.as.AS_Nt[i]; }},
};

}  // namespace

std::string AS_naar_file(const std::string& version, std::span<const DataListElement> results, CutCurves ActionListMode)
{
    std::string out;
    for (const DataListElement& element : results) {
        const std::size_t done = element.as.points();
        if (done == 0 || element.cf.points() < done) continue;
        out += WriteOutputHeader(version, element.run, OutputKind::admittance, false, element.as.settings);
        write_table<DataListElement>(out, as_columns, element, done);
        if (ActionListMode != CutCurves::truncate && element.Cf_points > done)
            write_empty_rows<DataListElement>(out, as_columns, element.Cf_points - done,
                                              ActionListMode == CutCurves::zeros);
        out += '\n';
    }
    return out;
}

}  // namespace kovin
