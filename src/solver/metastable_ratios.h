// How the metastable pairs of a device share their density between their two configurations, at the mesh points.
//
// Kept is F = ln(acceptors/donors), so that neither share loses digits: acceptor share 1/(1 + exp(-F)), donor share
// 1/(1 + exp(F)). The densities go into the calculation set as tables on x, from where the solver takes them as it
// takes any graded density; it knows nothing of the pairs.
//
// Steady state is F = F_new(n, p, occupation) of metastable_balance. The Fermi level answers to F and F_new to the
// Fermi level as exp(2 EF/kT): where there are more pairs than dopants, a step of F_new - F overshoots a hundred times.
// The step that is wished for therefore takes the answer of psi with it: Poisson's equation, linear in psi, with a
// charge that follows both F and psi. In steps damped where the wish has turned its sign:
//
//     F += weight wish, at most 4;   weight halved where the wish has turned, else half as large again up
//     to 1
//
// Where all pairs are of one kind, |F| above 20, a step may be longer.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

#include <vector>

namespace kovin {

/// One pair; one value a mesh point of the device, 0 outside its layer.
struct MetaPairRatios {
    std::size_t layer = 0, transition = 0;
    std::vector<double> F;         ///< ln(acceptors/donors)
    std::vector<double> F_new;     ///< balance of the present state
    std::vector<double> dF_dpsi;   ///< of F_new, psi [kT], the levels of the carriers held
    std::vector<double> charge;    ///< mean charge of a centre as donor, less that as acceptor
    std::vector<double> wish;      ///< step of F that would settle it
    std::vector<double> weight;    ///< of the next step
    std::vector<double> previous;  ///< wish of the step before
};

/// All pairs of the device.
struct MetaRatios {
    Mesh mesh;
    std::vector<MetaPairRatios> pairs;
    int steps = 0;              ///< of Update_Meta_Ratios
    double unsettled = 0.0;     ///< largest change of a share that was to come when the steps ran out; 0: settled
    double longest_step = 4.0;  ///< of F: the longest there is, less after steps that had to be taken back
};

/// Shares of a pair at F.
[[nodiscard]] double acceptor_share(double F);
[[nodiscard]] double donor_share(double F);

/// All pairs at their initial acceptor share.
[[nodiscard]] MetaRatios initial_ratios(const CalculationParameters& set3, const Mesh& mesh);

/// Brings the ratios to another mesh, linearly in F. @return false if it is the one they stand on
bool carry_ratios(const Mesh& mesh, MetaRatios& ratios);

/// Writes the densities of both configurations of all pairs into the set, as tables on x.
void SwitchDefectsToMetaDependence(const MetaRatios& ratios, CalculationParameters& set3);

/// Computes F_new from a solved state. The ends of a layer take the value of their neighbours; a point without an open
/// process keeps its ratio.
/// @pre the ratios, set and defects stand on the mesh of cv
/// @return the largest change of a share that is still to come
double Bereken_MetaUpdate_afwijking(const CalculationParameters& set3, const BulkDefects& defects,
                                    const CalculationVariables& cv, MetaRatios& ratios);

/// Finds the step of F that would settle all pairs, with the answer of psi to their charge. With the levels of the
/// carriers held it is Newton's step of Poisson's equation in which the shares follow psi.
/// @pre Bereken_MetaUpdate_afwijking of this state; problem and work space belong to cv
/// @return false if the equations could not be solved
[[nodiscard]] bool find_wishes(const Problem& problem, Workspace& work, CalculationVariables& cv, MetaRatios& ratios);

/// One step along the wishes. @param damping  further factor of all weights, up to 1
void Update_Meta_Ratios(MetaRatios& ratios, double damping);

/// The next step goes half as far: the one that was tried from here led to no state.
void halve_next_step(MetaRatios& ratios);

/// The density of a defect as the relaxation leaves it, to be planted in another calculation of the same cell.
struct PlantedDensity {
    std::size_t layer = 0, defect = 0;
    Profile Nt;     ///< table on x [um], density [m^-3]
    Profile share;  ///< of the pairs
};
[[nodiscard]] std::vector<PlantedDensity> relaxed_densities(const MetaRatios& ratios,
                                                            const CalculationParameters& set3);
void plant(const std::vector<PlantedDensity>& densities, CalculationParameters& set3);
/// Lets the next mesh see where the shares change: they may do so within some nm in which psi hardly moves.
/// @param cell  that of the set, in SI units
void mesh_sees_shares(const std::vector<PlantedDensity>& densities, const CellParameters& cell,
                      CalculationParameters& set3);

}  // namespace kovin
