#include "results/capacitance_files.h"

#include "results/curve_rows.h"
#include "results/header.h"

namespace kovin {

namespace {

constexpr NumberFormat number{NumberFormat::with_exponent, 16, 8};
constexpr NumberFormat voltage{NumberFormat::fixed_point, 12, 6};
constexpr NumberFormat permittivity{NumberFormat::fixed_point, 16, 8};

using Cv = const CvCurve&;
using Cf = const CfCurve&;
using Element = const DataListElement&;
using Row = std::size_t;

// Interface and bulk terms are stored in A/m2.
constexpr Column<CvCurve> with_doping[] = {
    {"    v(V)", " ", voltage, [](Cv c, Row i) { return c.cv_as[i]; }},
    {"   C(nF/cm2)", " ", number, [](Cv c, Row i) { return c.cvcap[i]; }},
    {"    G(S/cm2)", " ", number, [](Cv c, Row i) { return c.cvcon[i]; }},
    {"       W(\xb5m)", " ", number, [](Cv c, Row i) { return c.cvW[i]; }},
    {"  Napp(/cm3)", "", number, [](Cv c, Row i) { return c.cvN[i]; }},
    {"    jtot(mA/cm2)", " ", number, [](Cv c, Row i) { return c.dc.ivcurrent[i]; }},
    {"   jbulk(mA/cm2)", " ", number, [](Cv c, Row i) { return 0.1 * c.dc.ivbulk[i]; }},
    {"jifr(mA/cm2)", " ", number, [](Cv c, Row i) { return 0.1 * c.dc.ivifr[i]; }},
    {"  jopp_n(mA/cm2)", "", number, [](Cv c, Row i) { return c.dc.ivleftcontact[i]; }},
    {"  jopp_p(mA/cm2)", " ", number, [](Cv c, Row i) { return c.dc.ivrightcontact[i]; }},
    {"eps_s to determine W", " ", permittivity, [](Cv c, Row i) { return c.cveps_eff_W[i]; }},
    {"eps_s to determine N", " ", permittivity, [](Cv c, Row i) { return c.cveps_eff_N[i]; }},
    {"x of depletion edge (\xb5m)", " ", permittivity, [](Cv c, Row i) { return c.cvx[i]; }},
};

constexpr Column<CvCurve> without_doping[] = {
    {"    v(V)", " ", voltage, [](Cv c, Row i) { return c.cv_as[i]; }},
    {"   C(nF/cm2)", " ", number, [](Cv c, Row i) { return c.cvcap[i]; }},
    {"    G(S/cm2)", " ", number, [](Cv c, Row i) { return c.cvcon[i]; }},
    {"       W(\xb5m)", " ", number, [](Cv c, Row i) { return c.cvW[i]; }},
    {"  jtot(mA/cm2)", "", number, [](Cv c, Row i) { return c.dc.ivcurrent[i]; }},
    {"   jbulk(mA/cm2)", " ", number, [](Cv c, Row i) { return 0.1 * c.dc.ivbulk[i]; }},
    {"    jifr(mA/cm2)", " ", number, [](Cv c, Row i) { return 0.1 * c.dc.ivifr[i]; }},
    {"  jminor_left(mA/cm2)", " ", number, [](Cv c, Row i) { return c.dc.ivleftcontact[i]; }},
    {"  jminor_right(mA/cm2)", "", number, [](Cv c, Row i) { return c.dc.ivrightcontact[i]; }},
    {"eps_s to determine W", " ", permittivity, [](Cv c, Row i) { return c.cveps_eff_W[i]; }},
};

constexpr Column<CfCurve> cf_columns[] = {
    {"       f(Hz)", " ", number, [](Cf c, Row i) { return c.cf_as[i]; }},
    {"   C(nF/cm2)", " ", number, [](Cf c, Row i) { return c.cfcap[i]; }},
    {"    G(S/cm2)", " ", number, [](Cf c, Row i) { return c.cfcon[i]; }},
    {"   Z.re(ohm.cm2)", " ", number, [](Cf c, Row i) { return c.cfZre[i]; }},
    {"   Z.im(ohm.cm2)", " ", number, [](Cf c, Row i) { return c.cfZim[i]; }},
    {" Z.magn(ohm.cm2)", " ", number, [](Cf c, Row i) { return c.cfZmagn[i]; }},
    {"      Z.phase(\xb0)", " ", voltage, [](Cf c, Row i) { return c.cfZphase[i]; }},
};

constexpr Column<DataListElement> as_columns[] = {
    {"       f(Hz)", " ", number, [](Element e, Row i) { return e.cf.cf_as[i]; }},
    {"   C(nF/cm2)", " ", number, [](Element e, Row i) { return e.cf.cfcap[i]; }},
    {"  Et(eV)", " ", number, [](Element e, Row i) { return e.as.AS_Et[i]; }},
    {"-w*dC/dw(nF/cm\xb2)", " ", number, [](Element e, Row i) { return e.as.AS_deriv[i]; }},
    {"Nt(cm^-3/eV)", " ", number, [](Element e, Row i) { return e.as.AS_Nt[i]; }},
};

void write_cut(std::string& out, bool failed, std::size_t done, std::size_t asked)
{
    if (done >= asked) return;
    out += std::string("remark: ") + (failed ? "convergence failure" : "stopped") + ": the curve is cut (" +
           integer(static_cast<long>(done)) + " of " + integer(static_cast<long>(asked)) + " points)\n\n";
}

void write_remark(std::string& out, const std::string& remark)
{
    if (!remark.empty()) out += "remark: " + remark + "\n\n";
}

void write_tunnelling(std::string& out, const RunRecord& run)
{
    if (run.tunnelling)
        out +=
            "remark: small signals do not pass the tunnel paths, whose conductance and share of C are left out; what "
            "tunnels into states at interfaces enters with paths that stand still, so that G is not dJ/dV\n\n";
}

/// How the doping was found.
std::string explanation(const CvCurve& curve)
{
    const MottSchottkySettings& NW = curve.NW;
    if (NW.epsilon_mode == 0)
        return "the Mott-Schottky analysis (determination of N(W)) is done with a constant value of epsilon\t" +
               fixed(NW.constant_epsilon) + '\n';
    if (NW.epsilon_mode != 1)
        return "epsilon(x) mode " + integer(NW.epsilon_mode) + " is not known: no N(W) is determined, Napp is 0\n";
    std::string text = "space charge layer assumed in layer\t" + integer(NW.layer + 1) + '\t' + curve.layer_name + '\n';
    if (NW.side == -1) return text + "the junction is assumed at the left side of the layer\n";
    if (NW.side == 1) return text + "the junction is assumed at the right side of the layer\n";
    return text + "however, it is not specified at which side of the jayer the junction is assumed\n";
}

}  // namespace

std::string points_left_out(std::size_t done, std::size_t asked)
{
    return integer(static_cast<long>(asked - done)) + " of " + integer(static_cast<long>(asked)) +
           " points have no solution and are left out";
}

std::string cv_naar_file(const std::string& version, std::span<const DataListElement> results, CutCurves ActionListMode)
{
    constexpr std::span<const Column<CvCurve>> all(with_doping);
    std::string out;
    for (const DataListElement& element : results) {
        const CvCurve& curve = element.cv;
        const std::size_t done = curve.points();
        if (done == 0) continue;
        const bool has_gaps = curve.has_gaps();
        const std::size_t rows = has_gaps ? done : element.CV_points;
        out += WriteOutputHeader(version, element.run, OutputKind::cv);
        if (curve.has_doping()) {
            out += explanation(curve);
            const auto columns = curve.NW.epsilon_mode == 0 ? all.first(all.size() - 1) : all;
            write_rows<CvCurve>(out, columns, curve, done, rows, ActionListMode);
        } else {
            write_rows<CvCurve>(out, without_doping, curve, done, rows, ActionListMode);
        }
        if (has_gaps)
            write_remark(out, points_left_out(done, element.CV_points));
        else
            write_cut(out, curve.failed, done, element.CV_points);
        write_remark(out, curve.remark);
        write_tunnelling(out, element.run);
    }
    return out;
}

std::string cf_naar_file(const std::string& version, std::span<const DataListElement> results, CutCurves ActionListMode)
{
    std::string out;
    for (const DataListElement& element : results) {
        if (element.cf.points() == 0) continue;
        out += WriteOutputHeader(version, element.run, OutputKind::cf);
        write_rows<CfCurve>(out, cf_columns, element.cf, element.cf.points(), element.Cf_points, ActionListMode);
        write_cut(out, element.cf.failed, element.cf.points(), element.Cf_points);
        write_tunnelling(out, element.run);
    }
    return out;
}

std::string AS_naar_file(const std::string& version, std::span<const DataListElement> results, CutCurves ActionListMode)
{
    std::string out;
    for (const DataListElement& element : results) {
        const std::size_t done = element.as.points();
        if (done == 0 || element.cf.points() < done) continue;
        out += WriteOutputHeader(version, element.run, OutputKind::admittance, false, element.as.settings);
        write_rows<DataListElement>(out, as_columns, element, done, element.Cf_points, ActionListMode);
        write_cut(out, element.cf.failed, done, element.Cf_points);
    }
    return out;
}

}  // namespace kovin
