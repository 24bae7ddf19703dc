// The calculate button.
#pragma once

#include "app/session.h"

namespace kovin {

enum class SimulateOutcome {
    done,     ///< the working point is there; sweeps may be cut
    failed,   ///< a rung of the ladder was not reached, or input is missing (reported)
    stopped,  ///< on the user's wish; what had been done stands
    refused   ///< the problem holds physics that is not there yet (reported); nothing was calculated
};

/// A single shot: raises the simulation number, names what is not supported, calculates.
SimulateOutcome Simulate(Session& session);

/// Sets the panel to light of one sun and a current-voltage curve from short circuit to just beyond open circuit: what
/// is measured when nothing else was asked for. @return false if a grading file of the cell cannot be used (reported)
[[nodiscard]] bool ask_for_light_IV(Session& session);

/// Tables that are only made on request.
struct WantedTables {
    bool absorption = false, grading = false;
};

/// Texts of the files of the present working point and of the calculated curves.
struct ResultTexts {
    std::string iv, cv, cf, qe, eb, gen, occ, ac;  ///< empty: there is nothing to write
    std::string as;                                ///< of an analysed C-f curve
    std::string absorption, grading;
};
[[nodiscard]] ResultTexts result_texts(Session& session, const WantedTables& wanted = {});

}  // namespace kovin
