#include "results/curve_files.h"

#include "results/curve_rows.h"
#include "results/header.h"

#include <algorithm>

namespace kovin {

namespace {

constexpr NumberFormat voltage{NumberFormat::fixed_point, 10, 6};
constexpr NumberFormat current{NumberFormat::with_exponent, 16, 8};

// Interface and bulk terms are stored in A/m2.
constexpr Column<IvCurve> iv_columns[] = {
    {"    v(V)", " ", voltage, [](const IvCurve& c, std::size_t i) { return c.iv_as[i]; }},
    {"jtot(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return c.ivcurrent[i]; }},
    {"j_total_rec(mA/cm2)", "      ", current, [](const IvCurve& c, std::size_t i) { return c.TotalRec[i]; }},
    {"j_total_gen(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return c.TotalGen[i]; }},
    {"   jbulk(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return 0.1 * c.ivbulk[i]; }},
    {"jifr(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return 0.1 * c.ivifr[i]; }},
    {"jminor_left(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return c.ivleftcontact[i]; }},
    {"jminor_right(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return c.ivrightcontact[i]; }},
    {"j_SRH(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return 0.1 * c.recSRH[i]; }},
    {"j_Radiative(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return 0.1 * c.recRadiative[i]; }},
    {"j_Auger(mA/cm2)", "  ", current, [](const IvCurve& c, std::size_t i) { return 0.1 * c.recAuger[i]; }},
};

constexpr Column<QeCurve> qe_columns[] = {
    {"  lambda(nm)",
     " ",
     {NumberFormat::fixed_point, 12, 6},
     [](const QeCurve& c, std::size_t i) { return c.qe_as[i]; }},
    {"      QE(%)", " ", {NumberFormat::with_exponent, 14, 6}, [](const QeCurve& c, std::size_t i) { return c.qe[i]; }},
    {"photon energy (eV)",
     "",
     {NumberFormat::fixed_point, 12, 6},
     [](const QeCurve& c, std::size_t i) { return c.hv_as[i]; }},
};

void write_characteristics(std::string& out, const IVCharacteristics& r)
{
    const auto line = [&out](bool valid, const std::string& text, bool extrapolated) {
        if (valid) out += text + (extrapolated ? "\textrapolated\n" : "\n");
    };
    out += "solar cell parameters deduced from calculated IV-curve:\n\n";
    line(r.VocValid, "Voc =\t" + fixed(r.Voc, 12, 6) + "\tVolt", r.VocExtrapolated);
    line(r.JscValid, "Jsc =\t" + fixed(r.Jsc, 14, 8) + "\tmA/cm2", r.JscExtrapolated);
    line(r.FFValid, "FF =\t" + fixed(r.FF, 10, 4) + "\t%", r.FFExtrapolated);
    line(r.etaValid, (r.etaIsCollection ? "collection efficiency =\t" : "eta =\t") + fixed(r.eta, 10, 4) + "\t%",
         r.etaExtrapolated);
    const bool power = r.FFValid || r.etaValid;
    line(power, "V_MPP =\t" + fixed(r.Vmpp, 12, 6) + "\tVolt", r.FFExtrapolated);
    line(power, "J_MPP =\t" + fixed(r.Jmpp, 14, 8) + "\tmA/cm2", r.FFExtrapolated);
}

/// What a reader of the currents should know; nothing for a curve that is as exact as its digits.
void write_remarks(std::string& out, const IvCurve& curve)
{
    constexpr double worth_telling = 1e-3;
    const CurveAccuracy a = accuracy(curve);
    if (a.worst_relative > worth_telling)
        out += "remark: the current is uncertain by up to " + scientific(a.worst_relative, 0, 1) +
               " of its value (at V = " + fixed(a.at_V, 0, 3) + " Volt)\n";
    if (a.limited_below > 0.0)
        out += "remark: currents below " + scientific(10.0 * a.limited_below, 0, 1) + " A/m2 are limited by rounding\n";
    if (a.worst_relative > worth_telling || a.limited_below > 0.0) out += '\n';
}

}  // namespace

std::string iv_naar_file(const std::string& version, std::span<const DataListElement> results, CutCurves ActionListMode)
{
    std::string out;
    for (const DataListElement& element : results) {
        if (element.iv.points() == 0) continue;
        out += WriteOutputHeader(version, element.run, OutputKind::iv);
        write_rows<IvCurve>(out, iv_columns, element.iv, element.iv.points(), element.IV_points, ActionListMode);
        write_remarks(out, element.iv);
        write_characteristics(out, element.characteristics);
        out += '\n';
    }
    return out;
}

std::string qe_naar_file(const std::string& version, std::span<const DataListElement> results, CutCurves ActionListMode)
{
    std::string out;
    for (const DataListElement& element : results) {
        const std::size_t done = element.qe.points();
        if (done == 0) continue;
        out += WriteOutputHeader(version, element.run, OutputKind::qe);
        write_rows<QeCurve>(out, qe_columns, element.qe, element.qe.points(), element.QE_points, ActionListMode);
        constexpr double worth_telling = 0.1;
        const auto& uncertain = element.qe.uncertain;
        const auto worst = std::max_element(uncertain.begin(), uncertain.end());
        if (worst != uncertain.end() && *worst > worth_telling)
            out += "remark: the probe is weak: QE is uncertain by up to " + scientific(*worst, 0, 1) +
                   " % (at lambda = " +
                   fixed(element.qe.qe_as[static_cast<std::size_t>(worst - uncertain.begin())], 0, 2) + " nm)\n\n";
        if (done < element.QE_points)
            out += std::string("remark: ") +
                   (element.qe.lost     ? "the probe is lost in rounding"
                    : element.qe.failed ? "convergence failure"
                                        : "stopped") +
                   ": the curve is cut at lambda = " + fixed(element.qe.qe_as.back(), 0, 2) + " nm (" +
                   integer(static_cast<long>(done)) + " of " + integer(static_cast<long>(element.QE_points)) +
                   " points)\n\n";
    }
    return out;
}

}  // namespace kovin
