// Every bulk defect of the device as a list of discrete energies with their rates at the mesh points.
#pragma once

#include "solver/problem.h"

namespace kovin {

/// Fills the list. Only level 0 of each defect is looked at: defects with several levels are refused further up.
void define_defects(const CalculationParameters& set3, const Mesh& mesh, BulkDefects& defects);

}  // namespace kovin
