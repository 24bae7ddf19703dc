#include "solver/metastable_ratios.h"

#include "device/metastable.h"
#include "device/on_mesh.h"
#include "solver/band_solve.h"
#include "solver/bulk_terms.h"
#include "solver/mesh_adapt.h"
#include "solver/newton_steps.h"
#include "solver/occupation.h"
#include "solver/residuals.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace kovin {

namespace {

constexpr double largest_F = 300.0;                 ///< beyond it a share is nothing, and its square still a number
constexpr double longest_step = 4.0, longer = 1.5;  ///< by which weights and steps grow again
constexpr double dpsi = 1e-4;                       ///< [kT]
constexpr double all_of_one_kind = 20.0;            ///< F beyond which a share of 2e-9 is all that changes

std::size_t at(int i) { return static_cast<std::size_t>(i); }

const MetaStableDefectParameters& record_of(const CalculationParameters& set3, const MetaPairRatios& pair)
{
    return set3.layer[pair.layer].metastable[pair.transition];
}

/// One configuration of a pair at the points of its layer, all energies of its defect together.
struct Configuration {
    std::vector<double> share;   ///< in the state that reacts
    std::vector<double> charge;  ///< mean
};

/// @param charge_type  of the state that reacts
Configuration configuration_of(const std::vector<DefectTransition>& transitions, const LayerParameters& parameters,
                               std::size_t layer, int defect, int charge_type)
{
    const DefectLevels& levels = parameters.srh[at(defect)];
    const int state = GetDefectStateFromChargeType(levels, charge_type);
    Configuration c;
    std::vector<double> total;
    for (const DefectTransition& t : transitions) {
        if (at(t.layer) != layer || t.defect != defect) continue;
        // State s is the one without the electron of level s, and the one with that of level s - 1.
        const bool reacts = t.level == std::max(state - 1, 0);
        const std::vector<double>& f = state == 0 ? t.een_min_f_t : t.f_t;
        c.share.resize(f.size());
        c.charge.resize(f.size());
        total.resize(f.size());
        for (std::size_t k = 0; k < f.size(); ++k) {
            const double Nt = std::max(t.Nt[k], 1e-200);  // where there is no defect, its energies count alike
            c.charge[k] -= Nt * t.f_t[k];
            if (!reacts) continue;
            c.share[k] += Nt * f[k];
            total[k] += Nt;
        }
    }
    for (std::size_t k = 0; k < total.size(); ++k) {
        c.share[k] /= total[k];
        c.charge[k] = charge_of_state_0(levels[0].aard) + c.charge[k] / total[k];
    }
    return c;
}

/// Balance of one pair at the inner points of its layer, the ends as their neighbours.
void find_balance(const CalculationParameters& set3, const std::vector<DefectTransition>& transitions,
                  const CalculationVariables& cv, MetaPairRatios& pair)
{
    const MetaStableDefectParameters& record = record_of(set3, pair);
    const LayerParameters& layer = set3.layer[pair.layer];
    const int donor_type = record.donor_charge_state, acceptor_type = donor_type - 2;
    const Configuration donor = configuration_of(transitions, layer, pair.layer, record.donor_defect, donor_type);
    const Configuration acceptor =
        configuration_of(transitions, layer, pair.layer, record.acceptor_defect, acceptor_type);
    const OnMesh& on = set3.on;
    const std::size_t first = at(cv.mesh.first[pair.layer]), last = at(cv.mesh.last[pair.layer]);
    const double phonons = record.phonon_frequency * set3.scale.t0;
    MetaStableDefectParameters barriers = record;
    pair.dF_dpsi.assign(pair.F.size(), 0.0);
    pair.charge.assign(pair.F.size(), 0.0);
    for (std::size_t i = first + 1; i < last; ++i) {
        if (i == first + 1 || on.Eg[i] != on.Eg[i - 1]) UpdateActivationEnergies(barriers, on.Eg[i]);
        const std::size_t k = i - first;
        const auto balance = [&](double rise) {
            return metastable_balance(
                barriers,
                {.n_over_Nc = cv.n[i] / on.Nc[i] * (1.0 + rise),
                 .p_over_Nv = cv.p[i] / on.Nv[i] / (1.0 + rise),
                 .kT = set3.kT,
                 .k_electrons = record.electron_process == 0 ? phonons : record.sigma_don_n * on.vth_n[i] * on.Nc[i],
                 .k_holes = record.hole_process == 0 ? phonons : record.sigma_acc_p * on.vth_p[i] * on.Nv[i],
                 .donor_share = donor.share[k],
                 .acceptor_share = acceptor.share[k]});
        };
        const double F = balance(0.0);
        const bool open = !std::isnan(F);
        pair.F_new[i] = open ? std::clamp(F, -largest_F, largest_F) : pair.F[i];
        pair.charge[i] = donor.charge[k] - acceptor.charge[k];
        // More electrons in a configuration: its share in a state of charge q grows by the mean charge less q.
        const double in_states = pair.charge[i] - (charge_of_type(donor_type) - charge_of_type(acceptor_type));
        const double slope = (balance(dpsi) - F) / dpsi + in_states;
        if (std::isfinite(slope)) pair.dF_dpsi[i] = slope;  // not where a share is below the numbers
    }
    pair.F_new[first] = first + 1 < last ? pair.F_new[first + 1] : pair.F[first];
    pair.F_new[last] = first + 1 < last ? pair.F_new[last - 1] : pair.F[last];
}

/// Makes a profile a table of values at places of its layer.
void set_table(Profile& Nt, const std::vector<double>& x_um, std::vector<double> values)
{
    Nt.law = Law::table;
    Nt.dependence = Dependence::on_x;
    Nt.left = Nt.pure_A = values.front();
    Nt.right = Nt.pure_B = values.back();
    Nt.left_lift = Nt.right_lift = 0.0;
    Nt.table_log = false;
    Nt.table_x = x_um;
    Nt.table_y = std::move(values);
}

}  // namespace

double acceptor_share(double F) { return 1.0 / (1.0 + std::exp(-F)); }
double donor_share(double F) { return 1.0 / (1.0 + std::exp(F)); }

MetaRatios initial_ratios(const CalculationParameters& set3, const Mesh& mesh)
{
    MetaRatios ratios{.mesh = mesh, .pairs = {}, .steps = 0, .unsettled = 0.0, .longest_step = longest_step};
    const std::size_t N = at(mesh.N);
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j)
        for (std::size_t k = 0; k < max_metastable; ++k) {
            const MetaStableDefectParameters& record = set3.layer[j].metastable[k];
            if (!record.present) continue;
            const double f = std::clamp(record.initial_acceptor_configuration, 0.0, 1.0);
            const double F = std::clamp(std::log(f / (1.0 - f)), -largest_F, largest_F);
            MetaPairRatios& pair = ratios.pairs.emplace_back(MetaPairRatios{.layer = j,
                                                                            .transition = k,
                                                                            .F = std::vector<double>(N),
                                                                            .F_new = {},
                                                                            .dF_dpsi = {},
                                                                            .charge = {},
                                                                            .wish = {},
                                                                            .weight = {},
                                                                            .previous = std::vector<double>(N)});
            std::fill(pair.F.begin() + mesh.first[j], pair.F.begin() + mesh.last[j] + 1, F);
            pair.F_new = pair.F;
            pair.weight.assign(N, 1.0);
        }
    return ratios;
}

bool carry_ratios(const Mesh& mesh, MetaRatios& ratios)
{
    if (ratios.mesh.x == mesh.x && ratios.mesh.n_in_layer == mesh.n_in_layer) return false;
    const MeshTransfer transfer = mesh_transfer(ratios.mesh, mesh);
    for (MetaPairRatios& pair : ratios.pairs)
        for (std::vector<double>* v : {&pair.F, &pair.F_new, &pair.weight, &pair.previous})
            *v = InterpolateAndCopy(transfer, *v);
    ratios.mesh = mesh;
    return true;
}

void SwitchDefectsToMetaDependence(const MetaRatios& ratios, CalculationParameters& set3)
{
    for (const MetaPairRatios& pair : ratios.pairs) {
        const MetaStableDefectParameters& record = record_of(set3, pair);
        const std::size_t first = at(ratios.mesh.first[pair.layer]), count = at(ratios.mesh.n_in_layer[pair.layer]);
        std::vector<double> total(count);
        Full_MetaNt_x_Dependence(set3, ratios.mesh, pair.layer, record, total);
        const std::vector<double> x_um = places_in_layer(ratios.mesh, pair.layer);
        const auto write = [&](int defect, double (*share)(double)) {
            std::vector<double> Nt(count);
            for (std::size_t k = 0; k < count; ++k) Nt[k] = total[k] * share(pair.F[first + k]);
            for (BulkRecombinationParameters& level : set3.layer[pair.layer].srh[at(defect)])
                set_table(level.Nt, x_um, Nt);
        };
        write(record.donor_defect, donor_share);
        write(record.acceptor_defect, acceptor_share);
    }
}

double Bereken_MetaUpdate_afwijking(const CalculationParameters& set3, const BulkDefects& defects,
                                    const CalculationVariables& cv, MetaRatios& ratios)
{
    assert(ratios.mesh.N == cv.mesh.N);
    const std::vector<DefectTransition> transitions = defect_transitions(defects, cv);
    double deviation = 0.0;
    for (MetaPairRatios& pair : ratios.pairs) {
        find_balance(set3, transitions, cv, pair);
        for (std::size_t i = at(cv.mesh.first[pair.layer]); i <= at(cv.mesh.last[pair.layer]); ++i)
            deviation = std::max(deviation, std::abs(acceptor_share(pair.F_new[i]) - acceptor_share(pair.F[i])));
    }
    return deviation;
}

bool find_wishes(const Problem& problem, Workspace& work, CalculationVariables& cv, MetaRatios& ratios)
{
    totale_rdcbijdrage(problem, cv, Terms::psi);
    total_charge(problem, cv, work.rho_total);
    const std::vector<double> of_defects = cv.terms_total.drho_dpsi;
    for (const MetaPairRatios& pair : ratios.pairs) {
        const std::size_t first = at(cv.mesh.first[pair.layer]), count = at(cv.mesh.n_in_layer[pair.layer]);
        std::vector<double> total(count);
        Full_MetaNt_x_Dependence(problem.set3, cv.mesh, pair.layer, record_of(problem.set3, pair), total);
        for (std::size_t k = 0; k < count; ++k) {
            const std::size_t i = first + k;
            const double drho_dF = -total[k] * acceptor_share(pair.F[i]) * donor_share(pair.F[i]) * pair.charge[i];
            work.rho_total[i] += drho_dF * (pair.F_new[i] - pair.F[i]);
            // Far from equilibrium the product may take the other sign; it then gives no hold.
            cv.terms_total.drho_dpsi[i] += std::min(drho_dF * pair.dF_dpsi[i], 0.0);
        }
    }
    calculate_dc_residue_psi(problem, cv, work.rho_total, work.res);
    calculate_dc_jacobian_psi(problem, cv, {work.sub, work.main, work.super}, work.extra);
    cv.terms_total.drho_dpsi = of_defects;
    if (!calculate_dc_delta_psi(cv.mesh, work)) return false;
    for (MetaPairRatios& pair : ratios.pairs) {
        pair.wish.assign(pair.F.size(), 0.0);
        for (std::size_t i = at(cv.mesh.first[pair.layer]); i <= at(cv.mesh.last[pair.layer]); ++i)
            pair.wish[i] = pair.F_new[i] - pair.F[i] + pair.dF_dpsi[i] * work.delta[i];
        if (!std::isfinite(MaximumAbsoluteValue(pair.wish))) return false;
    }
    return true;
}

void Update_Meta_Ratios(MetaRatios& ratios, double damping)
{
    ++ratios.steps;
    for (MetaPairRatios& pair : ratios.pairs)
        for (std::size_t i = 0; i < pair.F.size(); ++i) {
            const double wish = pair.wish[i];
            double& weight = pair.weight[i];
            weight = wish * pair.previous[i] < 0.0 ? 0.5 * weight : std::min(1.0, longer * weight);
            // Where all are of one kind the way is free: back to where some are not, and farther on.
            const double beyond = std::abs(pair.F[i]) - all_of_one_kind;
            const double longest = wish * pair.F[i] < 0.0 ? std::max(ratios.longest_step, beyond)
                                   : beyond > 0.0         ? largest_F
                                                          : ratios.longest_step;
            pair.F[i] += std::clamp(damping * weight * wish, -longest, longest);
            pair.previous[i] = wish;
        }
    ratios.longest_step = std::min(longest_step, longer * ratios.longest_step);
}

void halve_next_step(MetaRatios& ratios)
{
    ratios.longest_step *= 0.5;
    for (MetaPairRatios& pair : ratios.pairs)
        for (double& weight : pair.weight) weight *= 0.5;
}

std::vector<PlantedDensity> relaxed_densities(const MetaRatios& ratios, const CalculationParameters& set3)
{
    std::vector<PlantedDensity> densities;
    for (const MetaPairRatios& pair : ratios.pairs) {
        const MetaStableDefectParameters& record = record_of(set3, pair);
        const auto add = [&](int defect, double (*share_at)(double)) {
            PlantedDensity& planted = densities.emplace_back(
                PlantedDensity{pair.layer, at(defect), set3.layer[pair.layer].srh[at(defect)][0].Nt, {}});
            for (double& value : planted.Nt.table_y) value *= set3.scale.N0[pair.layer];
            std::vector<double> shares;
            for (int i = ratios.mesh.first[pair.layer]; i <= ratios.mesh.last[pair.layer]; ++i)
                shares.push_back(share_at(pair.F[at(i)]));
            set_table(planted.share, planted.Nt.table_x, std::move(shares));
        };
        add(record.donor_defect, donor_share);
        add(record.acceptor_defect, acceptor_share);
    }
    return densities;
}

void plant(const std::vector<PlantedDensity>& densities, CalculationParameters& set3)
{
    for (const PlantedDensity& planted : densities) {
        std::vector<double> values = planted.Nt.table_y;
        for (double& value : values) value /= set3.scale.N0[planted.layer];
        for (BulkRecombinationParameters& level : set3.layer[planted.layer].srh[planted.defect])
            set_table(level.Nt, planted.Nt.table_x, values);
    }
}

void mesh_sees_shares(const std::vector<PlantedDensity>& densities, const CellParameters& cell,
                      CalculationParameters& set3)
{
    std::array<std::vector<Profile>, max_layers> shares;
    for (const PlantedDensity& planted : densities) shares[planted.layer].push_back(planted.share);
    for (std::size_t j = 0; j < shares.size(); ++j)
        if (!shares[j].empty()) set3.profile_points[j] = profile_points(cell.layer[j], set3.kT, shares[j]);
}

}  // namespace kovin
