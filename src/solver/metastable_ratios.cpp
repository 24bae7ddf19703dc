#include "solver/metastable_ratios.h"

#include "device/metastable.h"
#include "device/on_mesh.h"
#include "solver/mesh_adapt.h"
#include "solver/occupation.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace kovin {

namespace {

constexpr double largest_F = 300.0;                 ///< beyond it a share is nothing, and its square still a number
constexpr double longest_step = 4.0, longer = 1.2;  ///< by which weights and steps grow again
constexpr double all_of_one_kind = 20.0;            ///< F beyond which a share of 2e-9 is all that changes

std::size_t at(int i) { return static_cast<std::size_t>(i); }

const MetaStableDefectParameters& record_of(const CalculationParameters& set3, const MetaPairRatios& pair)
{
    return set3.layer[pair.layer].metastable[pair.transition];
}

/// Share of a defect in one of its states at the points of its layer, all its energies together.
std::vector<double> share_in_state(const std::vector<DefectTransition>& transitions, std::size_t layer, int defect,
                                   int state)
{
    std::vector<double> share, total;
    for (const DefectTransition& t : transitions) {
        // State s is the one without the electron of level s, and the one with that of level s - 1.
        if (at(t.layer) != layer || t.defect != defect || t.level != std::max(state - 1, 0)) continue;
        const std::vector<double>& f = state == 0 ? t.een_min_f_t : t.f_t;
        share.resize(f.size());
        total.resize(f.size());
        for (std::size_t k = 0; k < f.size(); ++k) {
            const double Nt = std::max(t.Nt[k], 1e-200);  // where there is no defect, its energies count alike
            share[k] += Nt * f[k];
            total[k] += Nt;
        }
    }
    for (std::size_t k = 0; k < share.size(); ++k) share[k] /= total[k];
    return share;
}

/// Balance of one pair at the inner points of its layer, the ends as their neighbours.
void find_balance(const CalculationParameters& set3, const std::vector<DefectTransition>& transitions,
                  const CalculationVariables& cv, MetaPairRatios& pair)
{
    const MetaStableDefectParameters& record = record_of(set3, pair);
    const LayerParameters& layer = set3.layer[pair.layer];
    const auto share = [&](int defect, int charge_type) {
        const int state = GetDefectStateFromChargeType(layer.srh[at(defect)], charge_type);
        return share_in_state(transitions, pair.layer, defect, state);
    };
    const std::vector<double> donors = share(record.donor_defect, record.donor_charge_state);
    const std::vector<double> acceptors = share(record.acceptor_defect, record.donor_charge_state - 2);
    const OnMesh& on = set3.on;
    const std::size_t first = at(cv.mesh.first[pair.layer]), last = at(cv.mesh.last[pair.layer]);
    const double phonons = record.phonon_frequency * set3.scale.t0;
    MetaStableDefectParameters barriers = record;
    for (std::size_t i = first + 1; i < last; ++i) {
        if (i == first + 1 || on.Eg[i] != on.Eg[i - 1]) UpdateActivationEnergies(barriers, on.Eg[i]);
        const MetaPlace place{
            .n_over_Nc = cv.n[i] / on.Nc[i],
            .p_over_Nv = cv.p[i] / on.Nv[i],
            .kT = set3.kT,
            .k_electrons = record.electron_process == 0 ? phonons : record.sigma_don_n * on.vth_n[i] * on.Nc[i],
            .k_holes = record.hole_process == 0 ? phonons : record.sigma_acc_p * on.vth_p[i] * on.Nv[i],
            .donor_share = donors[i - first],
            .acceptor_share = acceptors[i - first]};
        const double F = metastable_balance(barriers, place);
        pair.F_new[i] = std::isnan(F) ? pair.F[i] : std::clamp(F, -largest_F, largest_F);
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

void Update_Meta_Ratios(MetaRatios& ratios, double damping)
{
    ++ratios.steps;
    for (MetaPairRatios& pair : ratios.pairs)
        for (std::size_t i = 0; i < pair.F.size(); ++i) {
            const double wish = pair.F_new[i] - pair.F[i];
            double& weight = pair.weight[i];
            weight = wish * pair.previous[i] < 0.0 ? 0.5 * weight : std::min(1.0, longer * weight);
            // Back from where all are of one kind the way is free.
            const double back = wish * pair.F[i] < 0.0 ? std::abs(pair.F[i]) - all_of_one_kind : 0.0;
            const double longest = std::max(ratios.longest_step, back);
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
        for (const int defect : {record.donor_defect, record.acceptor_defect}) {
            Profile Nt = set3.layer[pair.layer].srh[at(defect)][0].Nt;
            for (double& value : Nt.table_y) value *= set3.scale.N0[pair.layer];
            densities.push_back({pair.layer, at(defect), std::move(Nt)});
        }
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

}  // namespace kovin
