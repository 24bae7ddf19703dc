// A whole problem as a definition file holds it.
#pragma once

#include "device/cell.h"
#include "device/numerical_settings.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kovin {

/// `parameterset1`: the cell in SI with its numerical settings.
struct InputParameters {
    std::string title;           ///< base name of the definition file
    std::filesystem::path path;  ///< of the definition file
    ConvergenceParameters convergence;
    SiCell cell;
};

/// What a definition file says about the working point.
struct DefinitionWorkPoint {
    bool lightFromRight = true;
    double Rfront = 0.0, Tfront = 1.0;
    bool RsPresent = false;
    double Rs = 0.0;  ///< [ohm m2]
    bool GshPresent = false;
    double Gsh = 0.0;               ///< [S/m2]
    bool references_given = false;  ///< the file has a line on voltage or current reference
};

/// Everything that a definition file holds.
struct Definition {
    InputParameters input;
    DefinitionWorkPoint workPoint;
    QeSettings qe;
    MottSchottkySettings NW;
    bool NW_from_file = false;
    bool IPV_Mode = false;  ///< a level has optical capture data
    std::vector<std::string> remarks;
};

}  // namespace kovin
