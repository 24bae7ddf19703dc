// The graded quantities of a material: one row each, for everything that walks over them.
#pragma once

#include "device/cell.h"

#include <span>
#include <string_view>

namespace kovin {

struct QuantityRow {
    Quantity quantity;
    Profile MaterialParameters::*member;
    std::string_view word;  ///< keyword in definition files; Na, Nd carry a suffix "(x)", "(y)", "(uniform)"
    std::string_view unit;  ///< as definition files print it
    double user_factor;     ///< user value = factor x SI value
    bool scientific;        ///< number format in files
    int width, digits;
    bool exact;  ///< keyword is matched with its case
};

/// In the order in which files print them: v_th_n, v_th_p, eps, chi, Eg, Nc, Nv, mu_n, mu_p, relative masses, K_rad,
/// Auger coefficients, Na, Nd. (The line on tunnelling stands between mu_p and the masses.)
[[nodiscard]] std::span<const QuantityRow> graded_quantities();

}  // namespace kovin
