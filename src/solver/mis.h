// States of a metal-insulator-semiconductor structure: Poisson's equation alone, each side of the insulator in
// equilibrium with its own contact.
//
// An insulator that no carrier passes parts the cell at one interface. On its left both quasi-Fermi levels are that of
// the left contact, on its right that of the right contact,
//
//     Fn = Fp = -V/2kT        Fn = Fp = V/2kT
//
// (against that of the left contact elsewhere: only the difference counts), which in the dark is the exact steady state
// of all equations with that interface closed. The small signals of such a state are those of the ordinary rows with
// the interface closed (PartedCell): the current is constant along x, and at low frequency C is dQ/dV.
//
// An insulator that, neutral or in equilibrium, has hardly any carrier holds none: with a field in it the level of the
// contact would come into a band, and does so at a low barrier already, but what stops carriers there is that they
// cannot get in.
//
// Deep depletion is what a voltage finds that came too fast for minority carriers to be generated: their level stays
// so far away that their density nowhere exceeds that of neutral material, and no inversion layer forms.
// Source: Nicollian, Brews, MOS Physics and Technology (1982), chapters 2, 3 and 9.
#pragma once

#include "device/insulator_place.h"
#include "solver/problem.h"
#include "solver/small_signal.h"
#include "solver/state.h"

#include <array>
#include <optional>

namespace kovin {

/// Where a cell is parted; layers from 0.
struct MisStructure : InsulatorPlace {
    std::array<double, max_layers> carriers{};  ///< of either kind that a layer of the insulator has of its own [m^-3]
    std::array<bool, max_layers> empty{};       ///< these are so few that there are none
    InterfaceStates states;                     ///< those of the cell, without capture from insulators

    /// A layer of the insulator that carriers pass, up to the closed interface: without bound they gather there.
    [[nodiscard]] bool conducts(std::size_t j) const { return j >= first && j <= last && !empty[j]; }
};

/// @param equilibrium  the state at V = 0, on the mesh of the problem: it tells which insulators are empty
[[nodiscard]] MisStructure mis_structure(const Problem& problem, Workspace& work,
                                         const CalculationVariables& equilibrium, const InsulatorPlace& place);

/// The problem with the interface closed; refers to `mis` and to what `problem` refers to.
[[nodiscard]] Problem parted(const Problem& problem, const MisStructure& mis);

/// Minority carriers at DC.
enum class Minority {
    in_equilibrium,  ///< with the contact of their side
    left_out         ///< deep depletion; only in a side whose semiconductors are all of one type
};

/// Are all semiconductors of the structure of one type on their side, so that minority carriers can be left out? The
/// type is that of neutral material, deep levels included.
[[nodiscard]] bool has_minority_carriers(const Problem& problem, Workspace& work, const CalculationVariables& cv,
                                         const MisStructure& mis);

/// A finer mesh for the sweep, on the fast route: at the edge of a depletion layer in uniform material the usual one is
/// wider than a Debye length, and 1/C^2 is not smooth. The state is solved anew by the next mis_naar_spanning.
/// The mesh wishes keep it so.
void refine_mesh_for_mis(const Problem& problem, Workspace& work, CalculationVariables& cv);

/// exp(V/2kT) and its products must be numbers.
inline constexpr double mis_largest_V_kT = 1400.0;

/// From the present voltage to V [V, internal sign]; the state is one of this function, or any at V = 0. @pre the
/// problem is parted. Fills terms and currents. @return converged; otherwise psi and V are what they were
bool mis_naar_spanning(const Problem& problem, Workspace& work, CalculationVariables& cv, const MisStructure& mis,
                       Minority minority, double V);

/// The admittance that the insulator shows beside the closed interface: a displacement alone where it is empty. At low
/// frequency the rounding of the currents in the semiconductor is more than what charges the insulator.
/// @param answer  to the problem parted, at a frequency above 0
/// @return nothing where C is not above 0, or the current differs along the insulator or, for deep depletion, along the
///         cell: no network of resistors and capacitors has that
[[nodiscard]] std::optional<Admittance> mis_admittance(const CalculationVariables& cv, const MisStructure& mis,
                                                       Minority minority, const SmallSignal& answer);

}  // namespace kovin
