#include "device/quantities.h"

namespace kovin {

namespace {

using M = MaterialParameters;

// The masses are the only rows whose width differs between the two writers of a definition file.
constexpr QuantityRow rows[] = {
    {Quantity::v_th_n, &M::v_th_n, "v_th_n", "[m/s]", 1e2, true, 10, 3, false},
    {Quantity::v_th_p, &M::v_th_p, "v_th_p", "[m/s]", 1e2, true, 10, 3, false},
    {Quantity::eps, &M::eps, "eps", "[-]", 1.0, false, 13, 6, false},
    {Quantity::chi, &M::chi, "chi", "[eV]", 1.0, false, 10, 6, false},
    {Quantity::Eg, &M::Eg, "Eg", "[eV]", 1.0, false, 10, 6, true},
    {Quantity::Nc, &M::Nc, "Nc", "[/m^3]", 1e-6, true, 13, 6, true},
    {Quantity::Nv, &M::Nv, "Nv", "[/m^3]", 1e-6, true, 13, 6, true},
    {Quantity::mu_n, &M::mu_n, "mu_n", "[m^2/Vs]", 1e4, true, 13, 6, false},
    {Quantity::mu_p, &M::mu_p, "mu_p", "[m^2/Vs]", 1e4, true, 13, 6, false},
    {Quantity::m_e, &M::m_e, "Relative electron mass", "[-]", 1.0, true, 13, 6, false},
    {Quantity::m_h, &M::m_h, "Relative hole mass", "[-]", 1.0, true, 13, 6, false},
    {Quantity::K_rad, &M::K_rad, "K_rad", "[m^3/s]", 1e6, true, 13, 6, false},
    {Quantity::c_n_auger, &M::c_n_auger, "c_n_auger", "[m^6/s]", 1e12, true, 13, 6, false},
    {Quantity::c_p_auger, &M::c_p_auger, "c_p_auger", "[m^6/s]", 1e12, true, 13, 6, false},
    {Quantity::Na, &M::Na, "Na", "[/m^3]", 1e-6, true, 13, 6, true},
    {Quantity::Nd, &M::Nd, "Nd", "[/m^3]", 1e-6, true, 13, 6, true},
};

}  // namespace

std::span<const QuantityRow> graded_quantities() { return rows; }

}  // namespace kovin
