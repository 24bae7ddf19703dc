#include "device/on_mesh.h"

#include "device/grading.h"
#include "device/shockley_queisser.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace kovin {

namespace {

/// One quantity of a layer at its points; scales that depend on the layer are handed in as `factor`.
struct LayerPoints {
    const Mesh& mesh;
    std::size_t first, count;
    double thickness_um;
    std::vector<double> x_um;  ///< from the left end of the layer

    void fill(const Profile& profile, double factor, std::vector<double>& values) const
    {
        const std::span<double> out(values.data() + first, count);
        evaluate(profile, out);
        for (double& value : out) value *= factor;
    }
    void evaluate(const Profile& profile, std::span<double> out) const
    {
        const std::span<const double> y(mesh.y.data() + first, count);
        evaluate_profile(profile, profile.dependence == Dependence::on_x ? std::span(x_um) : y, thickness_um, out);
    }
};

/// K_rad of a layer [m3/s] at its points as its profile gives it, raised to the limit that holds at each of them.
void raise_to_limit(const CalculationParameters& set3, const MaterialParameters& m, const LayerPoints& points,
                    std::span<double> K_rad)
{
    const int mode = set3.convergence.shockley_queisser;
    if (mode == 0 || !limit_follows_mesh(m)) return;
    constexpr double per_cm3 = 1e-6;  // and m3 of a cm3
    std::vector<double> Eg(points.count), Nc(points.count), Nv(points.count);
    points.evaluate(m.Eg, Eg);
    points.evaluate(m.Nc, Nc);
    points.evaluate(m.Nv, Nv);
    for (std::size_t i = 0; i < points.count; ++i) {
        const double limit =
            shockley_queisser_K_rad(Eg[i], Nc[i] * per_cm3, Nv[i] * per_cm3, points.thickness_um, set3.T);
        K_rad[i] = limited_K_rad(K_rad[i], limit * per_cm3, mode);
    }
}

LayerPoints points_of(const CalculationParameters& set3, const Mesh& mesh, std::size_t layer)
{
    return {mesh, static_cast<std::size_t>(mesh.first[layer]), static_cast<std::size_t>(mesh.n_in_layer[layer]),
            set3.layer[layer].material.d * 1e6, places_in_layer(mesh, layer)};
}

void resize(OnMesh& on, std::size_t N)
{
    for (auto* v :
         {&on.Eg, &on.chi, &on.eps, &on.Dn, &on.Dp, &on.Nc,     &on.Nv, &on.vth_n, &on.vth_p, &on.K_rad, &on.Cn,
          &on.Cp, &on.m_e, &on.m_h, &on.Na, &on.Nd, &on.doping, &on.Wn, &on.Wp,    &on.Gn,    &on.Gp})
        v->resize(N);
}

/// Weights of the carriers and band terms of the Scharfetter-Gummel arguments, on the points of one layer:
///
///     Wn = Nc exp(-(phi_left - chi)/kT)            Gn = ln(Nc/Nc_max) + (chi - chi_max)/kT
///     Wp = Nv exp((phi_left - chi - Eg)/kT)        Gp = ((chi + Eg) - (chi + Eg)_max)/kT - ln(Nv/Nv_max)
///
/// with the largest values of the layer; Nc and Nv are already scaled and at temperature.
void band_terms(const CalculationParameters& set3, std::size_t first, std::size_t count, OnMesh& on)
{
    const std::size_t end = first + count;
    double chi_max = on.chi[first], gap_max = on.chi[first] + on.Eg[first];
    double Nc_max = on.Nc[first], Nv_max = on.Nv[first];
    for (std::size_t i = first; i < end; ++i) {
        chi_max = std::max(chi_max, on.chi[i]);
        gap_max = std::max(gap_max, on.chi[i] + on.Eg[i]);
        Nc_max = std::max(Nc_max, on.Nc[i]);
        Nv_max = std::max(Nv_max, on.Nv[i]);
    }
    for (std::size_t i = first; i < end; ++i) {
        const double gap = on.chi[i] + on.Eg[i];
        on.Wn[i] = on.Nc[i] * std::exp(-(set3.phi_left - on.chi[i]) / set3.kT);
        on.Wp[i] = on.Nv[i] * std::exp((set3.phi_left - gap) / set3.kT);
        on.Gn[i] = std::log(on.Nc[i] / Nc_max) + (on.chi[i] - chi_max) / set3.kT;
        on.Gp[i] = (gap - gap_max) / set3.kT - std::log(on.Nv[i] / Nv_max);
    }
}

}  // namespace

std::vector<double> places_in_layer(const Mesh& mesh, std::size_t layer)
{
    const auto first = mesh.x_um.begin() + mesh.first[layer];
    std::vector<double> x(first, first + mesh.n_in_layer[layer]);
    for (std::size_t i = x.size(); i-- > 0;) x[i] -= x[0];
    return x;
}

void Full_x_Dependence(CalculationParameters& set3, Mesh& mesh)
{
    const Scale& scale = set3.scale;
    const double t = set3.T / 300.0;
    const double s = std::sqrt(t);
    OnMesh& on = set3.on;
    resize(on, static_cast<std::size_t>(mesh.N));
    mesh.y.resize(static_cast<std::size_t>(mesh.N));

    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const LayerPoints points = points_of(set3, mesh, j);
        const LayerParameters& layer = set3.layer[j];
        const MaterialParameters& m = layer.material;
        const double N0 = scale.N0[j];
        const double rate = scale.x0 * scale.x0 * N0 / scale.D0;

        points.fill(layer.composition, 1.0, mesh.y);
        // A law that rounds, or a file that is continued, may touch the bounds of a composition.
        for (std::size_t i = points.first; i < points.first + points.count; ++i)
            mesh.y[i] = std::clamp(mesh.y[i], 0.0, 1.0);
        points.fill(m.Eg, 1.0, on.Eg);
        points.fill(m.chi, 1.0, on.chi);
        points.fill(m.eps, 1.0, on.eps);
        points.fill(m.mu_n, s * set3.kT / scale.D0, on.Dn);
        points.fill(m.mu_p, s * set3.kT / scale.D0, on.Dp);
        points.fill(m.Nc, s * t / N0, on.Nc);
        points.fill(m.Nv, s * t / N0, on.Nv);
        points.fill(m.v_th_n, s / scale.v0, on.vth_n);
        points.fill(m.v_th_p, s / scale.v0, on.vth_p);
        points.fill(m.K_rad, 1.0, on.K_rad);
        const std::span<double> K_rad(on.K_rad.data() + points.first, points.count);
        raise_to_limit(set3, m, points, K_rad);
        for (double& value : K_rad) value *= rate;
        points.fill(m.c_n_auger, rate * N0, on.Cn);
        points.fill(m.c_p_auger, rate * N0, on.Cp);
        points.fill(m.m_e, 1.0, on.m_e);
        points.fill(m.m_h, 1.0, on.m_h);
        points.fill(m.Na, 1.0 / N0, on.Na);
        points.fill(m.Nd, 1.0 / N0, on.Nd);
        for (std::size_t i = points.first; i < points.first + points.count; ++i) on.doping[i] = on.Nd[i] - on.Na[i];
        band_terms(set3, points.first, points.count, on);
    }
}

void graded_values(const CalculationParameters& set3, const Mesh& mesh, Profile MaterialParameters::*quantity,
                   std::span<double> values)
{
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const LayerPoints points = points_of(set3, mesh, j);
        const MaterialParameters& m = set3.layer[j].material;
        const std::span<double> of_layer = values.subspan(points.first, points.count);
        points.evaluate(m.*quantity, of_layer);
        if (quantity == &MaterialParameters::K_rad) raise_to_limit(set3, m, points, of_layer);
    }
}

void Full_Nt_x_Dependence(const CalculationParameters& set3, const Mesh& mesh, std::size_t layer,
                          const BulkRecombinationParameters& level, double weight, std::span<double> Nt)
{
    const LayerPoints points = points_of(set3, mesh, layer);
    assert(Nt.size() == points.count);
    points.evaluate(level.Nt, Nt);
    for (double& value : Nt) value *= weight;
}

void Full_MetaNt_x_Dependence(const CalculationParameters& set3, const Mesh& mesh, std::size_t layer,
                              const MetaStableDefectParameters& pair, std::span<double> Nt)
{
    const LayerPoints points = points_of(set3, mesh, layer);
    assert(Nt.size() == points.count);
    points.evaluate(pair.Nt, Nt);
}

}  // namespace kovin
