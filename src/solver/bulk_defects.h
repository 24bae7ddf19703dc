// Every bulk defect of the device as a list of discrete energies with their rates at the mesh points.
#pragma once

#include "solver/problem.h"

namespace kovin {

/// Fills the lists. A defect with a level that captures neither carrier is left out: how often it is in the states
/// that only this level connects is not defined.
void define_defects(const CalculationParameters& set3, const Mesh& mesh, BulkDefects& defects);

/// Takes the changed density of one defect of the set into lists that are defined on this mesh; all rates stay.
void renew_density(const CalculationParameters& set3, const Mesh& mesh, std::size_t layer, int defect,
                   BulkDefects& defects);

}  // namespace kovin
