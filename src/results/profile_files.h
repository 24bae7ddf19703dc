// Files of one state: energy bands (.eb), generation and recombination (.gen), occupation of defects (.occ), answer to
// a small voltage (.ac).
#pragma once

#include "results/profiles.h"
#include "results/result_list.h"

#include <string>

namespace kovin {

/// A state and what it was calculated from.
struct ProfileSource {
    const std::string& version;
    const RunRecord& run;
    const Problem& problem;
    const CalculationVariables& cv;
    bool fromCurrent = true;  ///< no measurement was asked for: the header tells of a working point
};

/// Text of an .eb file: the mesh points, then the interfaces.
[[nodiscard]] std::string eb_naar_file(const ProfileSource& source, const Profiles& profiles);

/// Text of a .gen file. Its first two columns, x [um] and G(x) [1/(m3 s)], can be read back as a generation file.
[[nodiscard]] std::string gen_naar_file(const ProfileSource& source, const Profiles& profiles);

/// Text of an .ac file: what a small voltage of the frequency of the working point changes at each mesh point of the
/// solved state. The voltage is 1 kT/q, with which the changes are in proportion; Fn, Fp and psi are those of the right
/// contact there. Empty where there is no answer.
[[nodiscard]] std::string ac_naar_file(const ProfileSource& source);

/// Text of an .occ file: for every discrete energy and level of every bulk defect the fractions in the states with and
/// without the level's electron.
[[nodiscard]] std::string ft_naar_file(const ProfileSource& source, const Profiles& profiles);

}  // namespace kovin
