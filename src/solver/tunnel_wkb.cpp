#include "solver/tunnel_wkb.h"

#include "base/constants.h"

#include <algorithm>
#include <numbers>

namespace kovin {

double ChooseTunnelMass(double m1, double m2, int choice)
{
    switch (choice) {
        case 1:
            return std::max(m1, m2);
        case 2:
            return 0.5 * (m1 + m2);
        case 3:
            return std::sqrt(m1 * m2);
        case 4:
            return m1 + m2 > 0.0 ? m1 * m2 / (m1 + m2) : 0.0;
        default:
            return std::min(m1, m2);
    }
}

double wkb_integral(const double* E, const double* h, std::size_t from, std::size_t to, double level)
{
    double sum = 0.0;
    double a = E[from] - level, ra = std::sqrt(std::max(a, 0.0));
    for (std::size_t i = from; i < to; ++i) {
        const double b = E[i + 1] - level, rb = std::sqrt(std::max(b, 0.0));
        sum += h[i] * wkb_step(a, b, ra, rb);
        a = b;
        ra = rb;
    }
    return sum;
}

double wkb_unit(double kT, double x0)
{
    constexpr double planck = 6.6256e-34;         // [Js]; both as in the files of the program
    constexpr double electron_mass = 9.1095e-31;  // [kg]
    return x0 * 2.0 * std::numbers::pi * (std::sqrt(8.0) / 1.5 / planck) *
           std::sqrt(kT * elementary_charge * electron_mass);
}

}  // namespace kovin
