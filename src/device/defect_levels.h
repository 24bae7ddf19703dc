// Defects as discrete energies, and the Fermi level of a neutral bulk with defects.
#pragma once

#include "device/cell.h"

#include <span>
#include <vector>

namespace kovin {

/// Discrete energies of a distribution and the steps between them [eV].
struct EnergyTable {
    std::vector<double> energy;  ///< n values; one for a single level
    std::vector<double> step;    ///< n values; step[m] leads from energy m to m + 1; 0 for a single level
};
[[nodiscard]] EnergyTable bereken_energie_as(EnergyDistribution distribution, double Ekar, double Et, int n,
                                             double widthtail, double widthgauss);

/// Ratio of peak density to total density [1/eV]: 1 single, 1/W uniform and tails, 1/(sqrt(pi) W) Gaussian.
[[nodiscard]] double peak_to_total(EnergyDistribution distribution, double Ekar);

/// Density at energy E over the peak density, for a distribution of width W about E0.
[[nodiscard]] double distribution_weight(EnergyDistribution distribution, double E, double E0, double W);

/// One energy of a distribution in the trapezoid rule.
struct WeightedEnergy {
    double E = 0.0;      ///< [eV]
    double share = 1.0;  ///< of the total density; a single level, or one energy alone, holds all of it
};
/// The energies of a distribution of width Ekar about E0; parameters as in bereken_energie_as.
[[nodiscard]] std::vector<WeightedEnergy> discrete_energies(EnergyDistribution distribution, double Ekar, double E0,
                                                            int n, double widthtail, double widthgauss);

/// Does an energy of this reference count downward, from a conduction band?
[[nodiscard]] constexpr bool counts_downward(EnergyReference reference)
{
    return reference == EnergyReference::below_EC || reference == EnergyReference::below_lowest_EC;
}

/// Energy of a bulk level above the valence band [eV]. @param ratio Nv/Nc
[[nodiscard]] double level_above_EV(EnergyReference reference, double E, double Eg, double kT, double ratio);

/// Energy that a photon needs for either transition of a level [eV].
struct OpticalThresholds {
    double electrons;  ///< from the level to the conduction band
    double holes;      ///< from the valence band to the level
};
[[nodiscard]] OpticalThresholds optical_thresholds(EnergyReference reference, double Et, double Eg, double kT,
                                                   double ratio);

/// Bands at an interface, counted from EV at the left [eV].
struct InterfaceBands {
    double Eg_left = 0.0, Eg_right = 0.0;
    double Ei_left = 0.0, Ei_right = 0.0;  ///< intrinsic levels, each from EV of its own side
    double dEc = 0.0, dEv = 0.0;           ///< EC left - EC right, EV right - EV left
};
/// Energy of an interface level above EV at the left [eV]. A reference of the bulk counts as "above the highest EV".
[[nodiscard]] double level_above_EV_left(EnergyReference reference, double E, const InterfaceBands& bands);

/// A defect as the neutrality sum sees it: energies from EV, any consistent unit of density.
struct NeutralDefect {
    LevelType first = LevelType::neutral;  ///< transition of the first level: it tells the charges of all states
    EnergyDistribution distribution = EnergyDistribution::single;
    double Ekar = 0.1;  ///< [eV]
    double Nt = 0.0;    ///< total density
    struct Level {
        double Et = 0.0;            ///< above EV [eV]
        double cn = 0.0, cp = 0.0;  ///< capture coefficients, any common unit
    };
    std::vector<Level> levels;  ///< 1 to max_levels, the most positive transition first
    bool degeneracy_one = false;
};
struct NeutralBulk {
    double Nc = 0.0, Nv = 0.0, Nd = 0.0, Na = 0.0, Eg = 0.0, kT = 0.0;
    std::vector<NeutralDefect> defects;
    int discretisations = 7;
    double widthtail = 7.0, widthgauss = 6.0;
};
struct NeutralFermiLevel {
    int type = 0;                   ///< -1 n-type, +1 p-type, 0 intrinsic
    double doping = 0.0;            ///< |Q + Nd - Na|
    double EcEf = 0.0, EfEv = 0.0;  ///< [eV]
};
/// Charge held in defects at carrier densities n, p, in elementary charges; `derivative` with respect to the Fermi
/// level.
[[nodiscard]] double NChargedInDefects(const NeutralBulk& bulk, double n, double p, double& derivative);
[[nodiscard]] NeutralFermiLevel CalculateNeutralBulkEquilibriumFermiLevel(const NeutralBulk& bulk);

}  // namespace kovin
