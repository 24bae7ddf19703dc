#include "sweeps/admittance_spectroscopy.h"

#include "base/constants.h"
#include "base/local_slope.h"
#include "base/text_format.h"
#include "sweeps/outer_circuit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kovin {

namespace {

/// C at f_ref, linear in ln f; beyond the measured range the value at that end.
double capacitance_at(double f_ref, std::span<const double> f, std::span<const double> C)
{
    for (std::size_t i = 0; i + 1 < f.size(); ++i) {
        const double low = std::min(f[i], f[i + 1]), high = std::max(f[i], f[i + 1]);
        if (low <= f_ref && f_ref <= high && low < high)
            return C[i] + (C[i + 1] - C[i]) * std::log(f_ref / f[i]) / std::log(f[i + 1] / f[i]);
    }
    const bool beyond_last = (f_ref > f.front()) == (f.back() > f.front());
    return beyond_last ? C.back() : C.front();
}

/// @param D  -dC/dln(w) [nF/cm2]; @param A  band bending at the bias [eV]; @param B  Et + Eref - Ebar [eV]; @param W
/// [m]
double density_of_states(AsModel model, double D, double kT, double A, double B, double W)
{
    const double S = D * 1e-5 / kT;  // [F/(m2 eV)]
    const double per_cm3 = 1e-6;     // m^-3 -> cm^-3
    const double e = elementary_charge;
    double Nt = 0.0;
    switch (model) {
        case AsModel::uniform_bending:
            Nt = per_cm3 * A * S / W / e;
            break;
        case AsModel::linear_bands:
            Nt = per_cm3 * S * A * A / W / (B * e);
            break;
        case AsModel::parabolic_bands:
            Nt = per_cm3 * 2.0 * S * A * std::sqrt(A) / W / e / std::sqrt(B);
            break;
        default:
            Nt = D;
    }
    return std::isfinite(Nt) ? Nt : 0.0;
}

/// What a point holds of one carrier: holes for sign 1, electrons for -1, nothing for 0.
struct Majority {
    double doping = 0.0, states = 0.0;  ///< [N0]
};
Majority majority(const OnMesh& on, std::size_t p, int sign)
{
    if (sign > 0) return {on.Na[p], on.Nv[p]};
    if (sign < 0) return {on.Nd[p], on.Nc[p]};
    return {};
}

}  // namespace

int ASDataFromCellDefinition(const CalculationParameters& set3, const Mesh& mesh, const MottSchottkySettings& NW,
                             AsSettings& settings, AsFromCell& found)
{
    if (NW.layer < 0 || NW.layer >= set3.layers || NW.layer >= mesh.nlayers) return -1;
    if (set3.on.Eg.size() != static_cast<std::size_t>(mesh.N)) return -1;
    const OnMesh& on = set3.on;
    const auto j = static_cast<std::size_t>(NW.layer);
    const bool to_left = NW.side == -1;  // where the junction is
    const auto p = static_cast<std::size_t>(to_left ? mesh.first[j] : mesh.last[j]);
    const int carrier = NW.eh_type > 0 ? 1 : NW.eh_type < 0 ? -1 : 0;
    found = {};

    const LayerParameters& layer = set3.layer[j];
    if (carrier != 0 && NW.defect >= 0 && NW.defect < layer.srhteller && NW.level >= 0) {
        const auto& levels = layer.srh[static_cast<std::size_t>(NW.defect)];
        found.has_defect = NW.level < std::min(levels[0].levels, max_levels);
        if (found.has_defect) {
            const auto& level = levels[static_cast<std::size_t>(NW.level)];
            const double sigma = carrier > 0 ? level.sigma_p : level.sigma_n;
            const double v_th = carrier > 0 ? on.vth_p[p] : on.vth_n[p];
            // v_th N grows with T^2, and nu0 is the value at 300 K.
            const double to_300K = (300.0 / set3.T) * (300.0 / set3.T);
            settings.nu0 = to_300K * sigma * set3.scale.sigma0[j] * v_th * set3.scale.v0 *
                           majority(on, p, carrier).states * set3.scale.N0[j];
            found.nu0_per_K2 = settings.nu0 * 2.0 / 300.0 / 300.0;
        }
    }

    const Majority own = majority(on, p, carrier);
    found.ratio = own.states > 0.0 ? own.doping / own.states : 0.0;
    const int step = to_left ? -1 : 1;
    found.junction = 2 * step;
    for (int k = NW.layer + step; k >= 0 && k < mesh.nlayers; k += step) {
        const auto l = static_cast<std::size_t>(k);
        const auto facing = static_cast<std::size_t>(to_left ? mesh.last[l] : mesh.first[l]);
        const int type = on.doping[facing] > 0.0 ? -1 : on.doping[facing] < 0.0 ? 1 : 0;
        const bool opposite = carrier != 0 && type == -carrier, end = k + step < 0 || k + step >= mesh.nlayers;
        if (!opposite && !end) continue;
        const Majority other = majority(on, facing, type);
        found.junction = opposite ? 1 : -1;
        found.ratio *= other.states > 0.0 ? other.doping / other.states : 0.0;
        break;
    }
    if (found.ratio > 0.0) {
        found.distance = -set3.kT * std::log(found.ratio);
        found.d300 = -0.0259 * 10.0 / 3.0 * std::log(found.ratio);
    }

    const double Eg = on.Eg[p], chi = on.chi[p], d = found.distance;
    const double phi = to_left ? set3.phi_left : set3.phi_right;
    double Eref = 0.0;
    if (found.junction == 1)
        Eref = Eg - d;
    else if (found.junction == -1)
        Eref = d;
    else
        Eref = carrier < 0 ? phi - chi - d : carrier > 0 ? chi + Eg - phi - d : std::abs(phi - chi - 0.5 * Eg);
    if (!settings.band_offset) settings.Eref = Eref;
    settings.Ebar = Eg;
    return 0;
}

int Calculate_AS_single(const AsInput& curve, const AsSettings& settings, const MottSchottkySettings& NW,
                        const PermittivityTable& table, AsCurve& out)
{
    const auto f = curve.frequency, C = curve.capacitance_nF_cm2;
    const std::size_t n = f.size();
    if (n == 0 || C.size() != n || !(curve.T > 0.0)) return -1;
    if (!std::all_of(f.begin(), f.end(), [](double value) { return value > 0.0 && std::isfinite(value); })) return -1;

    const double kT = thermal_voltage(curve.T), to_T = curve.T * curve.T / 300.0 / 300.0;
    const double nu_a = to_T * (settings.two_levels ? settings.nu0_a : settings.nu0);
    const double nu_b = to_T * (settings.two_levels ? settings.nu0_b : settings.nu0);
    const double Eref = settings.band_offset ? settings.Eg_ref + kT * std::log(settings.ratio) : settings.Eref;
    const double W_um = SCL_WidthFrom1_C(capacitance_at(settings.f_ref, f, C) * 1e-5, NW, table, 0.0).W;

    out.W = W_um * 1e-4;
    for (auto* column : {&out.AS_Et, &out.AS_deriv, &out.AS_Nt}) column->assign(n, 0.0);
    std::vector<double> lnw(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double w = 2.0 * std::numbers::pi * f[i];
        lnw[i] = std::log(w);
        const bool deep = kT * std::log(2.0 * std::sqrt(nu_a * nu_b) / w) >= settings.E_switch;
        out.AS_Et[i] = kT * std::log(2.0 * (settings.two_levels && deep ? nu_b : nu_a) / w);
    }
    afgeleide(lnw, C, NW.points, NW.order_middle, NW.order_edges, out.AS_deriv);
    for (std::size_t i = 0; i < n; ++i) {
        out.AS_deriv[i] = 0.0 - out.AS_deriv[i];
        out.AS_Nt[i] = density_of_states(settings.model, out.AS_deriv[i], kT, Eref - curve.V,
                                         out.AS_Et[i] + Eref - settings.Ebar, W_um * 1e-6);
    }
    out.settings = settings_line(settings);
    return 0;
}

int Calculate_AS(std::span<DataListElement> results, const AsSettings& settings, const MottSchottkySettings& NW,
                 const PermittivityTable& table, int forward)
{
    int analysed = 0;
    for (DataListElement& element : results) {
        const AsInput curve{element.run.wp.T, forward * element.run.wp.V, element.cf.cf_as, element.cf.cfcap};
        if (Calculate_AS_single(curve, settings, NW, table, element.as) == 0) ++analysed;
    }
    return analysed;
}

namespace {

/// -dC/dln(w) [nF/cm2] that a series resistance alone gives to the capacitance C of the device at a frequency:
///
///     C/(1 + r^2), r = w Rs C:    2 C r^2/(1 + r^2)^2
double slope_of_Rs(const DataListElement& element, std::size_t at)
{
    constexpr double ohm_cm2_of_ohm_m2 = 1e4, F_of_nF = 1e-9;
    const CfCurve& cf = element.cf;
    const double Rs = outer_circuit(element.run.wp).Rs * ohm_cm2_of_ohm_m2;
    if (!(Rs > 0.0) || cf.cfZre.size() <= at) return 0.0;
    const double w = 2.0 * std::numbers::pi * cf.cf_as[at], re = cf.cfZre[at] - Rs, im = cf.cfZim[at];
    const double C = -im / (re * re + im * im) / w;  // [F/cm2]
    const double r2 = w * Rs * C * w * Rs * C;
    return 2.0 * C / F_of_nF * r2 / ((1.0 + r2) * (1.0 + r2));
}

std::optional<std::size_t> steepest_step(const DataListElement& element)
{
    constexpr double least = 1e-3;
    const std::vector<double>& D = element.as.AS_deriv;
    const auto highest = std::max_element(D.begin(), D.end());
    const auto at = static_cast<std::size_t>(highest - D.begin());
    // Fits of degree 1 at the ends repeat the slope beside them: where that is the largest, the spectrum rises
    // throughout.
    const auto rises_to = [&](double end) { return end >= (1.0 - 1e-9) * *highest; };
    if (D.size() < 3 || rises_to(D.front()) || rises_to(D.back())) return std::nullopt;
    return *highest > least * element.cf.cfcap[at] ? std::optional(at) : std::nullopt;
}

}  // namespace

bool peak_is_of_Rs(const DataListElement& element)
{
    const std::optional<std::size_t> at = steepest_step(element);
    constexpr double most = 0.25;  // share of the peak that it makes; of half of it the level shifts by more than kT
    return at && slope_of_Rs(element, *at) >= most * element.as.AS_deriv[*at];
}

std::optional<std::size_t> level_peak(const DataListElement& element)
{
    return peak_is_of_Rs(element) ? std::nullopt : steepest_step(element);
}

std::string settings_line(const AsSettings& s)
{
    std::string line = "Admittance analysis: mode " + integer(static_cast<long>(s.model)) + "\tnu0 = ";
    line += s.two_levels ? scientific(s.nu0_a, 0, 4) + " and " + scientific(s.nu0_b, 0, 4) + " 1/s from " +
                               fixed(s.E_switch, 0, 4) + " eV"
                         : scientific(s.nu0, 0, 4) + " 1/s";
    line += s.band_offset ? "\tEref = " + fixed(s.Eg_ref, 0, 4) + " eV + kT ln(" + scientific(s.ratio, 0, 4) + ")"
                          : "\tEref = " + fixed(s.Eref, 0, 4) + " eV";
    return line + "\tEbar = " + fixed(s.Ebar, 0, 4) + " eV\tf_ref = " + scientific(s.f_ref, 0, 4) + " Hz";
}

}  // namespace kovin
