// Small-signal analysis: the linear answer of a solved cell to a small voltage of one frequency, and its admittance.
//
// The voltage V of the left contact against the right one is raised by `small_signal_amplitude` kT/q times
// exp(i omega t). One block elimination along x gives the complex changes of psi, Fn and Fp at every point; there is no
// iteration. The rows come from ac_rows.h, the delay of the defects from ac_terms.h.
#pragma once

#include "base/complex_value.h"
#include "solver/ac_rows.h"
#include "solver/ac_terms.h"
#include "solver/problem.h"
#include "solver/state.h"

#include <array>
#include <vector>

namespace kovin {

inline constexpr double small_signal_amplitude = 1.0;  ///< voltage of the small signal [kT/q]

/// Parallel circuit of conductance and capacitance, per area.
struct Admittance {
    double G = 0.0;  ///< [S/m2]
    double C = 0.0;  ///< [F/m2]
};

/// The answer at one frequency. One value a mesh point; a current of the interval (i, i + 1) stands at i, the last
/// value repeats the one before. Interfaces have no interval of their own and repeat that on their left.
struct SmallSignal {
    std::vector<double> del_Psi_re, del_Psi_im;  ///< change of psi [kT/q]
    /// Changes of Fn and Fp less those at the right contact, small_signal_amplitude [kT].
    std::vector<double> del_u_re, del_u_im, del_v_re, del_v_im;
    std::vector<double> del_jn_re, del_jn_im, del_jp_re, del_jp_im;  ///< carriers [A/m2]
    std::vector<double> J_displ_re, J_displ_im;                      ///< displacement [A/m2]
    std::vector<double> del_j_tot_re, del_j_tot_im;                  ///< their sum [A/m2]
    double omega_us = 0.0;                                           ///< angular frequency [1/s]
    Complex J_median, J_mean;                                        ///< of the total current over the intervals [A/m2]
    Admittance median, mean;                                         ///< of the cell, from either; C = 0 at omega = 0
    double volts = 0.0;                                              ///< the signal [V]
    void resize(std::size_t points);
};

/// What a current of the answer makes [A/m2].
[[nodiscard]] inline Admittance admittance(Complex J, const SmallSignal& answer)
{
    return {J.re / answer.volts, answer.omega_us != 0.0 ? J.im / (answer.volts * answer.omega_us) : 0.0};
}

/// Work space of the analysis; it takes memory when the mesh gets another size, not otherwise.
struct SmallSignalWork {
    using Vector = std::array<Complex, 3>;  ///< psi, Fn, Fp
    using Block = std::array<Vector, 3>;    ///< rows psi, n, p
    AcRows rows;
    AcTerms bulk;
    std::vector<IfAcTerms> interfaces;
    std::vector<Block> E;        ///< factors of the elimination
    std::vector<Vector> behind;  ///< by interface: elements of the row of psi at l to the point behind f
    std::vector<Vector> D;       ///< by interface: what row l takes from them
    std::vector<Vector> x;       ///< solution
    std::vector<Vector> step;    ///< x[i] - x[i-1], without the difference
    std::vector<double> total;   ///< total current of the intervals, for the median
    void resize(std::size_t points, std::size_t interfaces_count);
};

/// What all frequencies share: to be called once for each DC state.
/// @pre cv has converged, and its charge and recombination terms are complete
void prepare_small_signal(const Problem& problem, const CalculationVariables& cv, SmallSignalWork& work);

/// Solves at one frequency. @pre prepare_small_signal has run on this state
/// @param omega_us  angular frequency [1/s]
/// @return the answer is a number everywhere
bool solve_small_signal(const Problem& problem, const CalculationVariables& cv, double omega_us, SmallSignalWork& work,
                        SmallSignal& out);

/// Changes of the charges that go with an answer. One value a mesh point [1/cm3], charge in elementary charges.
struct SmallSignalCharges {
    std::vector<Complex> n, p, defects;
};
/// @pre `work` is as the solve of the answer left it
[[nodiscard]] SmallSignalCharges small_signal_charges(const Problem& problem, const CalculationVariables& cv,
                                                      const SmallSignalWork& work);

/// prepare_small_signal and solve_small_signal in one.
bool calculate_small_signal_ac(const Problem& problem, const CalculationVariables& cv, double omega_us,
                               SmallSignalWork& work, SmallSignal& out);

}  // namespace kovin
