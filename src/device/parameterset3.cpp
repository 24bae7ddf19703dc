#include "device/parameterset3.h"

#include "device/grading.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

/// What the scales need to know of one side of a layer.
struct SideFigures {
    double ni = 0.0;            ///< [m^-3]
    double Nmax = 0.0;          ///< the larger of net doping and ni [m^-3]
    double debye = 0.0;         ///< [m]
    double Dn = 0.0, Dp = 0.0;  ///< [m2/s]
    int sign = 0;
};

/// @param side  selects the end: &Profile::left or &Profile::right
SideFigures figures_at(const MaterialParameters& m, double Profile::*side, double T)
{
    const double t = T / 300.0;
    const double s = std::sqrt(t);
    const double kT = thermal_voltage(T);
    const double Nd = m.Nd.*side, Na = m.Na.*side;

    SideFigures f;
    f.ni = std::sqrt((s * t * m.Nc.*side) * (s * t * m.Nv.*side) * std::exp(-(m.Eg.*side) / kT));
    f.Nmax = std::max(std::abs(Nd - Na), f.ni);
    if (!(f.Nmax > 0.0)) f.Nmax = 1.0;  // ni underflows in a wide, cold, undoped gap: any positive scale will do
    f.debye = std::sqrt(kT * m.eps.*side * vacuum_permittivity / (f.Nmax * elementary_charge));
    f.Dn = s * kT * m.mu_n.*side;
    f.Dp = s * kT * m.mu_p.*side;
    f.sign = (Na > Nd) - (Nd > Na);
    return f;
}

/// Reference diffusion constant. Where the holes are faster the electrons' constant of the same place is taken: only a
/// scale, results do not depend on it.
double reference_diffusion(std::span<const SideFigures> sides)
{
    double D0 = 0.0, largest = 0.0;
    for (const SideFigures& f : sides) D0 = std::max(D0, f.Dn);
    for (const SideFigures& f : sides) {
        if (D0 < f.Dp) D0 = f.Dn;
        largest = std::max({largest, f.Dn, f.Dp});
    }
    if (D0 > 0.0) return D0;
    return largest > 0.0 ? largest : 1.0;
}

void scale_profile(Profile& p, double factor)
{
    for (double* value : {&p.pure_A, &p.pure_B, &p.left, &p.right, &p.left_lift, &p.right_lift}) *value *= factor;
    if (p.third_scaled) p.third *= factor;
    if (p.fourth_scaled) p.fourth *= factor;
    for (double& value : p.table_y) value *= factor;
}

/// Cross sections in sigma0, densities in N0, lengths in x0; the thickness in the profile stays in um.
void normalise(BulkRecombinationParameters& level, const Scale& scale, std::size_t j)
{
    const double sigma0 = scale.sigma0[j];
    for (OpticalCaptureProperties* capture : {&level.holes, &level.electrons})
        for (double& sigma : capture->sigmas) sigma /= sigma0;
    for (double* sigma : {&level.sigma_n, &level.sigma_p, &level.sigma_n_plus, &level.sigma_n_zero, &level.sigma_p_zero,
                          &level.sigma_p_min, &level.sigma_n_opt, &level.sigma_p_opt})
        *sigma /= sigma0;
    level.Lkar /= scale.x0;
    level.Nleft /= scale.N0[j];
    level.Nright /= scale.N0[j];
    scale_profile(level.Nt, 1.0 / scale.N0[j]);
}

void normalise(MetaStableDefectParameters& pair, const Scale& scale, std::size_t j)
{
    for (double* sigma : {&pair.sigma_acc_n, &pair.sigma_acc_p, &pair.sigma_don_n, &pair.sigma_don_p})
        *sigma /= scale.sigma0[j];
    scale_profile(pair.Nt, 1.0 / scale.N0[j]);
}

/// Thickness of all profiles in um.
void thickness_in_um(LayerParameters& layer)
{
    MaterialParameters& m = layer.material;
    for (Profile* p : {&m.chi, &m.Eg, &m.eps, &m.Nc, &m.Nv, &m.Nd, &m.Na, &m.mu_n, &m.mu_p, &m.m_e, &m.m_h, &m.v_th_n,
                       &m.v_th_p, &m.K_rad, &m.c_n_auger, &m.c_p_auger, &m.absorption.grading, &layer.composition})
        p->thickness = m.d * 1e6;
    for (auto& defect : layer.srh)
        for (auto& level : defect) level.Nt.thickness = m.d * 1e6;
    for (auto& pair : layer.metastable) pair.Nt.thickness = m.d * 1e6;
}

/// Velocity over an interface, before the step's factor: the smaller of the two emission currents over the density of
/// states on the left.
double emission_velocity(double N_left, double v_left, double N_right, double v_right)
{
    return N_left > 0.0 ? std::min(N_left * v_left, N_right * v_right) / N_left : 0.0;
}

}  // namespace

double ThermionicFunction(double x) { return x < 0.0 ? std::exp(x) : 1.0; }

void parameterset1_to_3(const InputParameters& set1, double T, CalculationParameters& set3)
{
    const CellParameters& cell = set1.cell.cell;
    const double s = std::sqrt(T / 300.0);
    const double kT = thermal_voltage(T);
    const auto layers = static_cast<std::size_t>(cell.layers);
    set3.T = T;
    set3.kT = kT;
    set3.layers = cell.layers;
    set3.convergence = set1.convergence;
    set3.tunnel = tunnel_places(cell, set1.convergence);
    set3.on = OnMesh{};
    set3.phi_left = cell.left.Fi_m;
    set3.phi_right = cell.right.Fi_m;

    // Sides of the layers: left and right of layer j at 2 j and 2 j + 1.
    std::array<SideFigures, 2 * max_layers> sides{};
    for (std::size_t j = 0; j < layers; ++j) {
        set3.layer[j] = cell.layer[j];
        recalculate_ends(set3.layer[j]);
        thickness_in_um(set3.layer[j]);
        sides[2 * j] = figures_at(set3.layer[j].material, &Profile::left, T);
        sides[2 * j + 1] = figures_at(set3.layer[j].material, &Profile::right, T);
        set3.sign_left[j] = sides[2 * j].sign;
        set3.sign_right[j] = sides[2 * j + 1].sign;
    }
    if (layers == 0) return;
    set3.sign_left[0] = cell.left.majority_type;
    set3.sign_right[layers - 1] = cell.right.majority_type;

    // Scales.
    Scale& scale = set3.scale;
    scale.D0 = reference_diffusion(std::span<const SideFigures>(sides).first(2 * layers));
    scale.x0 = 0.0;
    for (std::size_t j = 0; j < layers; ++j) scale.x0 += cell.layer[j].material.d;
    scale.t0 = scale.x0 * scale.x0 / scale.D0;
    scale.v0 = scale.D0 / scale.x0;
    for (std::size_t j = 0; j < layers; ++j) {
        // Each layer keeps its own density scale, also with same_N0_all_layers set.
        const MaterialParameters& m = set3.layer[j].material;
        scale.N0[j] = std::max(sides[2 * j].Nmax, sides[2 * j + 1].Nmax);
        scale.sigma0[j] = 1.0 / (scale.x0 * scale.N0[j]);
        scale.Lambda[j] = kT * (m.eps.left + m.eps.right) / 2 * vacuum_permittivity /
                          (scale.x0 * scale.x0 * scale.N0[j] * elementary_charge);
    }

    for (std::size_t j = 0; j < layers; ++j) {
        set3.d[j] = cell.layer[j].material.d / scale.x0;
        set3.profile_points[j] = profile_points(cell.layer[j], kT);
        set3.debye_left[j] = sides[2 * j].debye / scale.x0;
        set3.debye_right[j] = sides[2 * j + 1].debye / scale.x0;
        set3.ni_left[j] = sides[2 * j].ni / scale.N0[j];
        set3.ni_right[j] = sides[2 * j + 1].ni / scale.N0[j];
        for (auto& defect : set3.layer[j].srh)
            for (auto& level : defect) normalise(level, scale, j);
        for (auto& pair : set3.layer[j].metastable) normalise(pair, scale, j);
    }

    for (std::size_t i = 0; i + 1 < layers; ++i) {
        const MaterialParameters& l = set3.layer[i].material;
        const MaterialParameters& r = set3.layer[i + 1].material;
        set3.dEc[i] = r.chi.left - l.chi.right;
        set3.dEv[i] = l.Eg.right - set3.dEc[i] - r.Eg.left;
        const double Sn = s * emission_velocity(l.Nc.right, l.v_th_n.right, r.Nc.left, r.v_th_n.left);
        const double Sp = s * emission_velocity(l.Nv.right, l.v_th_p.right, r.Nv.left, r.v_th_p.left);
        set3.vn_if[i] = Sn * ThermionicFunction(set3.dEc[i] / kT) / scale.v0;
        set3.vp_if[i] = Sp * ThermionicFunction(set3.dEv[i] / kT) / scale.v0;

        set3.interface_defects[i] = cell.interfaces[i].defects;
        set3.interface_defect_count[i] = cell.interfaces[i].defect_count;
        for (InterfaceRecombinationParameters& d : set3.interface_defects[i]) {
            d.sigma_nleft /= scale.sigma0[i];
            d.sigma_pleft /= scale.sigma0[i];
            d.sigma_nright /= scale.sigma0[i + 1];
            d.sigma_pright /= scale.sigma0[i + 1];
        }
    }
    set3.Sn_left = cell.left.Sn / scale.v0;
    set3.Sp_left = cell.left.Sp / scale.v0;
    set3.Sn_right = cell.right.Sn / scale.v0;
    set3.Sp_right = cell.right.Sp / scale.v0;
}

}  // namespace kovin
