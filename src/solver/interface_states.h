// Discrete energies of the sheets of states at the interfaces, with the rates on both sides.
#pragma once

#include "solver/problem.h"

namespace kovin {

/// Fills `states` in the order interface, defect, energy. Energies that hold or capture nothing are left out.
/// @pre Full_x_Dependence has run on this mesh
void define_interface_states(const CalculationParameters& set3, const Mesh& mesh, InterfaceStates& states);

}  // namespace kovin
