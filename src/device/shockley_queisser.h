// Lower limit of the radiative coefficient by detailed balance (Shockley and Queisser, J. Appl. Phys. 32 (1961) 510).
#pragma once

#include "device/cell.h"

namespace kovin {

/// K_rad of the limit [cm3/s] for Eg [eV], Nc, Nv [cm^-3], thickness d [um] at T [K].
[[nodiscard]] double shockley_queisser_K_rad(double Eg, double Nc, double Nv, double d, double T);

/// Does the limit of a layer follow the mesh? So it does where K_rad, or the gap or a density of states that it depends
/// on, is graded on x or has rows: then the pure materials say too little, and Full_x_Dependence raises it point by
/// point.
[[nodiscard]] bool limit_follows_mesh(const MaterialParameters& material);

/// A coefficient under its limit. @param mode 0 as it is, 1 where it is below the limit, 2 always the limit
[[nodiscard]] inline double limited_K_rad(double K_rad, double limit, int mode)
{
    return mode == 2 || (mode == 1 && K_rad < limit) ? limit : K_rad;
}

/// Raises K_rad of the pure materials of every layer but those whose limit follows the mesh.
/// @param mode 0 never, 1 where it is below the limit, 2 always
void CheckShockleyQueisserLimitForBandToBandRecombination(UserCell& cell, double T, int mode);

}  // namespace kovin
