// A solved state as the user sees it: bands, densities, field, currents and rates along x.
#pragma once

#include "solver/currents.h"

#include <span>
#include <vector>

namespace kovin {

/// One value a mesh point each. Energies are counted from the Fermi level of the left contact.
struct Profiles {
    std::vector<double> x_um, y;
    std::vector<double> Ec, Ev, Fn, Fp;               ///< [eV]
    std::vector<double> n, p;                         ///< [1/cm3]
    std::vector<double> rho_defect, net_doping, rho;  ///< charge in elementary charges, signed [1/cm3]
    std::vector<double> E;                            ///< field, positive to the right [V/cm]
    CurrentProfile j;                                 ///< [mA/cm2]
    std::vector<double> generation, recombination;    ///< [1/(cm3 s)]
    std::vector<double> SRH, radiative, auger;        ///< parts of the recombination [1/(cm3 s)]
    std::vector<double> cumulative_generation;        ///< from the left up to the point [mA/cm2]
    std::vector<double> recombination_L_to_R;         ///< from the left up to the point [mA/cm2]
    std::vector<double> recombination_R_to_L;         ///< from the point to the right end [mA/cm2]
    std::vector<std::size_t> interface_left;          ///< last point of the layer left of each interface
    std::vector<InterfaceCurrents> interfaces;        ///< one each
};

/// Ec = phi_left - chi - psi kT, Ev = Ec - Eg, and the quasi-Fermi levels.
void extraheer_bandenschema(const CalculationParameters& set3, const CalculationVariables& cv, Profiles& profiles);

/// n, p and the charges. The defect charge at the ends of a layer is that of the neighbouring inner point.
void extraheer_concentraties(const CalculationParameters& set3, const CalculationVariables& cv, Profiles& profiles);

/// E = -dpsi/dx: the mean of the two intervals beside a point, the only interval at the ends of a layer.
void extraheer_veld(const CalculationParameters& set3, const CalculationVariables& cv, Profiles& profiles);

/// All of it for one state under the light of `problem`.
[[nodiscard]] Profiles extract_profiles(const Problem& problem, const CalculationVariables& cv);

}  // namespace kovin
