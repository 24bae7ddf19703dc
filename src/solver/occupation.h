// Occupation of the bulk defects of a state, transition by transition, for whoever shows it.
#pragma once

#include "solver/problem.h"
#include "solver/state.h"

#include <span>
#include <vector>

namespace kovin {

/// One level of a defect at one of its energies: the transition between two charge states, at the points of its layer.
/// Borrows from the defects it was made of.
struct DefectTransition {
    int layer = 0, defect = 0, level = 0, energy_number = 0;  ///< from 0; level 0 is the most positive transition
    double energy = 0.0;                                      ///< [eV] against the reference of the defect
    std::size_t first = 0;                                    ///< mesh index of the first value
    std::span<const double> Nt, cn, cp, en, ep;               ///< as in DefectEnergy, thermal emission alone
    std::span<const double> gn, gp;                           ///< emission by light; empty where there is none
    std::vector<double> f_t;                                  ///< fraction in the state with the electron
    std::vector<double> een_min_f_t;  ///< fraction in the state without it: 1 - f_t if the defect has one level
};

/// Adds the states [N0] of one level, from 0, that hold its electron and those that could take it.
/// @param filled, empty  a value at each point of the layer
void add_occupied_states(const DefectEnergy& defect, int level, const CalculationVariables& cv,
                         std::span<double> filled, std::span<double> empty);
void add_occupied_states(const DefectChain& defect, int level, const CalculationVariables& cv, std::span<double> filled,
                         std::span<double> empty);

/// All transitions of the device, in the order layer, defect, level, energy.
[[nodiscard]] std::vector<DefectTransition> defect_transitions(const BulkDefects& defects,
                                                               const CalculationVariables& cv);

}  // namespace kovin
