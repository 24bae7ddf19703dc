// Lower limit of the radiative coefficient by detailed balance (Shockley and Queisser, J. Appl. Phys. 32 (1961) 510).
#pragma once

#include "device/cell.h"

namespace kovin {

/// K_rad of the limit [cm3/s] for Eg [eV], Nc, Nv [cm^-3], thickness d [um] at T [K].
[[nodiscard]] double shockley_queisser_K_rad(double Eg, double Nc, double Nv, double d, double T);

/// Raises K_rad of every layer. @param mode 0 never, 1 where it is below the limit, 2 always
void CheckShockleyQueisserLimitForBandToBandRecombination(UserCell& cell, double T, int mode);

}  // namespace kovin
