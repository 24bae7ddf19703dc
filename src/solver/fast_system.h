// The linear system of the fast route: what belongs to the mesh, and the rows at contacts and interfaces.
#pragma once

#include "solver/fast_kernel.h"

#include <cstddef>
#include <vector>

namespace kovin {

struct BulkDefects;
struct CalculationParameters;
struct CalculationVariables;
struct Discretisation;
struct Mesh;
struct Problem;

/// A solved state that the next one is predicted from.
struct FastHistory {
    std::vector<double> psi, Fn, Fp;
    double V = 0.0;
    bool known = false;
};

/// What moved most in the last attempt of a solve that failed.
struct FastFailure {
    double V = 0.0;  ///< of the solve, internal sign [V]
    enum Quantity { psi, electrons, holes };
    bool known = false;
    std::size_t layer = 0;  ///< from 0
    Quantity quantity = psi;
};

/// All arrays of the fast route; sized once for a mesh, then only written.
class FastWork {
public:
    /// Fills what belongs to mesh and material.
    void prepare(const CalculationParameters& set3, const Mesh& mesh, const BulkDefects& defects);
    [[nodiscard]] bool prepared_for(std::size_t points) const { return points_ == points && points != 0; }

    /// The arrays with the state of `cv` and the light of `problem`; valid while these live and nothing is resized.
    [[nodiscard]] FastArrays arrays(const Problem& problem, CalculationVariables& cv);

    FastHistory last, before;                        ///< the two solutions before, for the predictor
    std::vector<double> psi_good, Fn_good, Fp_good;  ///< where an attempt began
    std::vector<double> psi_in_time, Fn_in_time, Fp_in_time;
    std::vector<double> n_old, p_old;           ///< pseudo-transient: densities before the time step
    std::vector<double> G;                      ///< part of the light, on the way up
    std::vector<double> rate;                   ///< integrand of a balance
    const FastKernel* kernel = &fast_kernel();  ///< the build in use
    FastFailure failure;                        ///< of the last solve that failed
    double tolerance = 1e-3;                    ///< of a solve, see FastLimits; less where differences of J count
    unsigned left_out = 0;                      ///< rungs that are not tried, by bits; see FastRung

private:
    [[nodiscard]] double* row(std::size_t k) { return store_.data() + k * points_; }

    std::size_t points_ = 0;
    std::vector<double> store_;  ///< arrays of `points_` values, in the order of arrays()
    std::vector<double> E_, x_;
    std::vector<FastLayer> layers_;
    std::vector<FastLevel> levels_;
    std::vector<FastFullRow> full_;
};

/// Physics of the present state: carriers, fluxes, charge and recombination of the bulk.
void fast_physics(const Problem& problem, const FastKernel& kernel, const FastArrays& arrays);

/// The states of all interfaces (terms_interface, slopes to ln n and ln p). @pre fast_physics of this state
void fast_interface_states(const Problem& problem, const FastArrays& arrays, CalculationVariables& cv);

/// All rows of the system, with the states of the interfaces (terms_interface, slopes to ln n and ln p).
/// @pre fast_physics of this state
void fast_rows(const Problem& problem, const FastKernel& kernel, const FastArrays& arrays, CalculationVariables& cv);

}  // namespace kovin
