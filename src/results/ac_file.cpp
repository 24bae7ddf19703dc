#include "results/columns.h"
#include "results/header.h"
#include "results/profile_files.h"
#include "solver/small_signal.h"

#include <numbers>

namespace kovin {

namespace {

/// The answer and the charges that it moves.
struct AcState {
    const std::vector<double>& x_um;
    SmallSignal answer;
    SmallSignalCharges charges;
};

constexpr NumberFormat index3{NumberFormat::whole, 3, 0};
constexpr NumberFormat level{NumberFormat::fixed_point, 13, 6};
constexpr NumberFormat number{NumberFormat::with_exponent, 15, 6};

template <std::vector<double> SmallSignal::*current>
double mA_cm2(const AcState& s, std::size_t i)
{
    return 0.1 * (s.answer.*current)[i];
}
template <std::vector<double> SmallSignal::*change>
double plain(const AcState& s, std::size_t i)
{
    return (s.answer.*change)[i];
}
/// Levels are kept less their change at the right contact.
template <std::vector<double> SmallSignal::*change>
double raised(const AcState& s, std::size_t i)
{
    return small_signal_amplitude + (s.answer.*change)[i];
}
template <std::vector<Complex> SmallSignalCharges::*density, double Complex::*part>
double of(const AcState& s, std::size_t i)
{
    return (s.charges.*density)[i].*part;
}
template <double Complex::*part>
double total(const AcState& s, std::size_t i)
{
    const SmallSignalCharges& c = s.charges;
    return (c.defects[i] + c.p[i] - c.n[i]).*part;
}

using S = SmallSignal;
using Q = SmallSignalCharges;
using C = Complex;
constexpr Column<AcState> ac_columns[] = {
    {"i", "", index3, [](const AcState&, std::size_t i) { return static_cast<double>(i); }},
    {"x (\xb5m)", "", level, [](const AcState& s, std::size_t i) { return s.x_um[i]; }},
    {"jn.re(mA/cm2)", "", number, mA_cm2<&S::del_jn_re>},
    {"jn.im(mA/cm2)", "", number, mA_cm2<&S::del_jn_im>},
    {"jp.re(mA/cm2)", "", number, mA_cm2<&S::del_jp_re>},
    {"jp.im(mA/cm2)", "", number, mA_cm2<&S::del_jp_im>},
    {"jdispl.re(mA/cm2)", "", number, mA_cm2<&S::J_displ_re>},
    {"jdispl.im(mA/cm2)", "", number, mA_cm2<&S::J_displ_im>},
    {"j.re (mA/cm2)", "", number, mA_cm2<&S::del_j_tot_re>},
    {"j.im (mA/cm2)", "", number, mA_cm2<&S::del_j_tot_im>},
    {"psi.re(#kT/q)", "", level, plain<&S::del_Psi_re>},
    {" psi.im (#kT/q)", "", level, plain<&S::del_Psi_im>},
    {" Fn.re (#kT)", "", level, raised<&S::del_u_re>},
    {" Fn.im (#kT)", "", level, plain<&S::del_u_im>},
    {" Fp.re (#kT)", "", level, raised<&S::del_v_re>},
    {" Fp.im (#kT)", "", level, plain<&S::del_v_im>},
    {"n.re (1/cm3)", "", number, of<&Q::n, &C::re>},
    {"n.im  (1/cm3)", "", number, of<&Q::n, &C::im>},
    {"p,re (1/cm3)", "", number, of<&Q::p, &C::re>},
    {"p.im (1/cm3)", "", number, of<&Q::p, &C::im>},
    {"rho_defect.re (1/cm3)", "", number, of<&Q::defects, &C::re>},
    {"rho_defect.im  (1/cm3)", "", number, of<&Q::defects, &C::im>},
    {"rho_total,re (1/cm3)", "", number, total<&C::re>},
    {"rho_total.im (1/cm3)", "", number, total<&C::im>},
};

}  // namespace

std::string ac_naar_file(const ProfileSource& source)
{
    const double omega_us = 2.0 * std::numbers::pi * source.run.wp.frequency;
    SmallSignalWork work;
    AcState state{source.cv.mesh.x_um, {}, {}};
    if (!calculate_small_signal_ac(source.problem, source.cv, omega_us, work, state.answer)) return {};
    state.charges = small_signal_charges(source.problem, source.cv, work);
    std::string out = WriteOutputHeader(source.version, source.run, OutputKind::small_signal, source.fromCurrent);
    write_table<AcState>(out, ac_columns, state, state.x_um.size());
    return out;
}

}  // namespace kovin
