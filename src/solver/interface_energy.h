// One energy of the states at an interface, as the equations read it.
#pragma once

#include <cstddef>

namespace kovin {

/// One discrete energy of a sheet of states at an interface. Left means the last point of the left layer, right the
/// first point of the right one; densities in N0 of their own layer.
struct InterfaceEnergy {
    std::size_t interface = 0;                          ///< from 0, between the layers of this number and the next
    int defect = 0;                                     ///< from 0
    double energy = 0.0;                                ///< [eV] against the reference of the defect
    double Nt = 0.0;                                    ///< density times weight of the energy [m^-2]
    double cnL = 0.0, cnR = 0.0, cpL = 0.0, cpR = 0.0;  ///< capture coefficients, as in DefectEnergy
    double enL = 0.0, enR = 0.0, epL = 0.0, epR = 0.0;  ///< densities at which emission balances capture [N0]
    double above_EV_left = 0.0;                         ///< [eV]
    double charge = 0.0;                                ///< charge when empty: 1 donor, 0 acceptor; see `charged`
    double charged = 0.0;                               ///< 0 for neutral states, 1 otherwise
};

}  // namespace kovin
