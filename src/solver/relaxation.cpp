#include "solver/relaxation.h"

#include "solver/estimates.h"

#include <algorithm>

namespace kovin {

namespace {

/// From here on a swing is damped; a milder one dies out by itself.
constexpr double swing = -0.5;
/// A floor, so that one wrong estimate cannot stop the iteration.
constexpr double smallest_omega = 0.05;

/// Adds <r', r> and <r, r> of one unknown and keeps its movement.
void compare_movement(const std::vector<double>& now, const std::vector<double>& before, std::vector<double>& moved,
                      double& product, double& square)
{
    for (std::size_t i = 0; i < now.size(); ++i) {
        const double r = now[i] - before[i];
        product += r * moved[i];
        square += moved[i] * moved[i];
        moved[i] = r;
    }
}

void step(const std::vector<double>& before, const std::vector<double>& moved, double omega, std::vector<double>& now)
{
    for (std::size_t i = 0; i < now.size(); ++i) now[i] = before[i] + omega * moved[i];
}

}  // namespace

void Relaxation::resize(std::size_t points)
{
    for (auto* v : {&psi, &Fn, &Fp, &moved_psi, &moved_Fn, &moved_Fp}) v->assign(points, 0.0);
    knows_movement = false;
}

void Relaxation::start()
{
    omega = 1.0;
    knows_movement = false;
}

void Relaxation::before_pass(const CalculationVariables& cv)
{
    psi = cv.psi;
    Fn = cv.Fn;
    Fp = cv.Fp;
}

bool relax_pass(const CalculationParameters& set3, Relaxation& r, CalculationVariables& cv)
{
    double product = 0.0, square = 0.0;
    compare_movement(cv.psi, r.psi, r.moved_psi, product, square);
    compare_movement(cv.Fn, r.Fn, r.moved_Fn, product, square);
    compare_movement(cv.Fp, r.Fp, r.moved_Fp, product, square);
    if (r.knows_movement && square > 0.0) {
        const double rho = product / square;
        if (rho < swing || r.omega < 1.0)
            r.omega = std::clamp(r.omega * (rho < 0.5 ? 1.0 / (1.0 - rho) : 2.0), smallest_omega, 1.0);
    }
    r.knows_movement = true;
    if (r.omega == 1.0) return false;
    step(r.psi, r.moved_psi, r.omega, cv.psi);
    step(r.Fn, r.moved_Fn, r.omega, cv.Fn);
    step(r.Fp, r.moved_Fp, r.omega, cv.Fp);
    update_psivar(set3, cv);
    update_Fn(cv);
    update_Fp(cv);
    return true;
}

}  // namespace kovin
