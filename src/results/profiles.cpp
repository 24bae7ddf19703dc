#include "results/profiles.h"

#include "device/boxes.h"

namespace kovin {

namespace {

/// First and last mesh point of layer j.
struct Range {
    std::size_t first, last;
};
Range points_of(const Mesh& mesh, std::size_t j)
{
    return {static_cast<std::size_t>(mesh.first[j]), static_cast<std::size_t>(mesh.last[j])};
}
std::size_t layers_of(const Mesh& mesh) { return static_cast<std::size_t>(mesh.nlayers); }

/// Normalised rates in 1/(cm3 s).
std::vector<double> rate_per_cm3(const CalculationParameters& set3, const Mesh& mesh, std::span<const double> rate)
{
    std::vector<double> result(rate.size());
    for (std::size_t j = 0; j < layers_of(mesh); ++j) {
        const double scale = 1e-6 * set3.scale.N0[j] / set3.scale.t0;
        for (std::size_t i = points_of(mesh, j).first; i <= points_of(mesh, j).last; ++i) result[i] = scale * rate[i];
    }
    return result;
}

/// Running integral of a rate from the left [mA/cm2]: in the fast route half a box at a time, so that it ends at
/// integrated_current, in the classic one by the trapezoid rule. They differ in the first and last interval of a layer.
std::vector<double> cumulative(const CalculationParameters& set3, const Mesh& mesh, std::span<const double> rate)
{
    const bool boxes = set3.convergence.route == Route::fast;
    const bool half_cells = set3.convergence.interfacial_half_cells != 0;
    const double own = !boxes ? 0.5 : half_cells ? own_half_cell : 0.0;
    const double neighbour = 0.5 + (boxes && half_cells ? neighbour_half_cell : 0.0);
    std::vector<double> result(rate.size());
    double sum = 0.0;
    for (std::size_t j = 0; j < layers_of(mesh); ++j) {
        const double scale = 0.1 * set3.scale.current(static_cast<int>(j));
        const Range r = points_of(mesh, j);
        const auto weight = [&](std::size_t i, std::size_t other) {
            const bool i_at_end = i == r.first || i == r.last, other_at_end = other == r.first || other == r.last;
            return i_at_end ? own : other_at_end ? neighbour : 0.5;
        };
        result[r.first] = sum;
        for (std::size_t i = r.first + 1; i <= r.last; ++i) {
            sum += scale * (weight(i, i - 1) * rate[i] + weight(i - 1, i) * rate[i - 1]) * mesh.h[i - 1];
            result[i] = sum;
        }
    }
    return result;
}

}  // namespace

void extraheer_bandenschema(const CalculationParameters& set3, const CalculationVariables& cv, Profiles& profiles)
{
    const std::size_t N = cv.psi.size();
    for (auto* v : {&profiles.Ec, &profiles.Ev, &profiles.Fn, &profiles.Fp}) v->resize(N);
    for (std::size_t i = 0; i < N; ++i) {
        profiles.Ec[i] = set3.phi_left - set3.on.chi[i] - cv.psi[i] * set3.kT;
        profiles.Ev[i] = profiles.Ec[i] - set3.on.Eg[i];
        profiles.Fn[i] = cv.Fn[i] * set3.kT;
        profiles.Fp[i] = cv.Fp[i] * set3.kT;
    }
}

void extraheer_concentraties(const CalculationParameters& set3, const CalculationVariables& cv, Profiles& profiles)
{
    const std::size_t N = cv.psi.size();
    for (auto* v : {&profiles.n, &profiles.p, &profiles.rho_defect, &profiles.net_doping, &profiles.rho}) v->resize(N);
    for (std::size_t j = 0; j < layers_of(cv.mesh); ++j) {
        const double per_cm3 = 1e-6 * set3.scale.N0[j];
        const Range r = points_of(cv.mesh, j);
        for (std::size_t i = r.first; i <= r.last; ++i) {
            profiles.n[i] = per_cm3 * cv.n[i];
            profiles.p[i] = per_cm3 * cv.p[i];
            profiles.net_doping[i] = per_cm3 * set3.on.doping[i];
            const std::size_t inner = i == r.first ? i + 1 : i == r.last ? i - 1 : i;
            profiles.rho_defect[i] = per_cm3 * cv.terms_total.rho[inner];
            profiles.rho[i] = per_cm3 * cv.terms_total.rho[i] + profiles.net_doping[i] + profiles.p[i] - profiles.n[i];
        }
    }
}

void extraheer_veld(const CalculationParameters& set3, const CalculationVariables& cv, Profiles& profiles)
{
    profiles.E.resize(cv.psi.size());
    const double V_per_cm = 0.01 * set3.kT / set3.scale.x0;
    for (std::size_t j = 0; j < layers_of(cv.mesh); ++j) {
        const Range r = points_of(cv.mesh, j);
        const auto interval = [&](std::size_t i) { return -V_per_cm * (cv.psi[i + 1] - cv.psi[i]) / cv.mesh.h[i]; };
        profiles.E[r.first] = interval(r.first);
        profiles.E[r.last] = interval(r.last - 1);
        for (std::size_t i = r.first + 1; i < r.last; ++i) profiles.E[i] = 0.5 * (interval(i - 1) + interval(i));
    }
}

Profiles extract_profiles(const Problem& problem, const CalculationVariables& cv)
{
    const CalculationParameters& set3 = problem.set3;
    const Mesh& mesh = cv.mesh;
    Profiles profiles;
    profiles.x_um = mesh.x_um;
    profiles.y = mesh.y;
    extraheer_bandenschema(set3, cv, profiles);
    extraheer_concentraties(set3, cv, profiles);
    extraheer_veld(set3, cv, profiles);
    CalculationVariables state = cv;  // the extraction of currents renews the current fields of its state
    extraheer_stroom(problem, state, profiles.j);

    RecombinationProfile recombination;
    extract_recombination(problem, cv, recombination);
    profiles.generation = rate_per_cm3(set3, mesh, problem.G);
    profiles.recombination = rate_per_cm3(set3, mesh, recombination.total);
    profiles.SRH = rate_per_cm3(set3, mesh, recombination.SRH);
    profiles.radiative = rate_per_cm3(set3, mesh, recombination.radiative);
    profiles.auger = rate_per_cm3(set3, mesh, recombination.auger);
    profiles.cumulative_generation = cumulative(set3, mesh, problem.G);
    profiles.recombination_L_to_R = cumulative(set3, mesh, recombination.total);
    for (const double left : profiles.recombination_L_to_R)
        profiles.recombination_R_to_L.push_back(profiles.recombination_L_to_R.back() - left);
    for (std::size_t j = 0; j + 1 < layers_of(mesh); ++j) {
        profiles.interface_left.push_back(points_of(mesh, j).last);
        profiles.interfaces.push_back(interface_currents(problem, cv, j));
    }
    return profiles;
}

}  // namespace kovin
