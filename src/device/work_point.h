// The conditions of a simulation: working point, measurements, and the panel record that files write.
//
// ActionPanel is in the user's sign and units and is all that files, batch and scripts change. WorkPoint and
// ActionList are made from it at the head of a calculation, with the polarity applied once.
#pragma once

#include "device/model.h"

#include <string>

namespace kovin {

struct WorkPoint {
    double T = 300.0;             ///< [K]
    double V = 0.0;               ///< [V]; panel: user sign, running record: internal sign
    int numberOfPoints = 5;       ///< steps from 0 to V, the start included
    double frequency = 1e6;       ///< [Hz]
    double neutralDensity = 0.0;  ///< optical density of the neutral filter
    bool dark = true;
    bool lightFromRight = true;
    bool cutOff = false;
    double lambdaShort = 200.0, lambdaLong = 2000.0;                              ///< [nm]
    std::string spectrumFile = "AM1_5G 1 sun.spe";                                ///< bare name or path
    double powerFromSpectrum = 0.0, powerAfterCutOff = 0.0, incidentPower = 0.0;  ///< [W/m2], computed
    bool generationSpecified = false;                                             ///< G(x) given instead of a spectrum
    std::string generationFile;                                                   ///< empty: none chosen
    double attenuation = 100.0;                                                   ///< of a given G(x) [%]
    double idealCurrent = 0.0;  ///< of the given G(x) [mA/cm2], computed
    bool RsPresent = false;
    double Rs = 0.0;  ///< [ohm m2]
    bool GshPresent = false;
    double Gsh = 0.0;                   ///< [S/m2]
    double Rfront = 0.0, Tfront = 1.0;  ///< internal reflection and transmission of the front
    bool spectrumFromFile = true;
    bool generationFromFile = false;
    Model spectrumModel, generationModel;  ///< filled from the model table by InitialiseWorkPoint
};

/// The measurements of a run. Voltages [V], frequencies [Hz], wavelengths [nm].
struct ActionList {
    bool QE_calculate = false;
    double QE_startlambda = 300.0, QE_stoplambda = 1200.0;
    int QE_points = 91;
    bool IV_calculate = false;
    double IV_startV = 0.0, IV_stopV = 0.8;
    int IV_points = 41;
    bool CV_calculate = false;
    double CV_startV = -0.8, CV_stopV = 0.4;
    int CV_points = 25;
    bool MIS_CV_calculate = false;        ///< the C-V is one of an MIS structure, see solver/mis.h
    bool minority_carriers_wait = false;  ///< in it: deep depletion; no file holds it
    bool Cf_calculate = false;
    double Cf_startf = 1e2, Cf_stopf = 1e6;
    int Cf_points = 21;
    bool stopAfterVoc = false;
    bool pause = false;
    [[nodiscard]] bool asks_for_CV() const { return CV_calculate || MIS_CV_calculate; }
};

/// What the action panel shows: user sign.
struct ActionPanel {
    WorkPoint workPoint, secondWorkPoint;
    bool second_is_given = false;  ///< by a line of some file; else it is the default, darkness at 0 V
    ActionList actions;
};

/// Signs between user and solver, each +1 or -1: V_internal = polarityV V_user, J_user = polarityJ J_internal.
struct Polarity {
    int V = 1, J = 1;
};
[[nodiscard]] constexpr Polarity polarity_of(int voltage_side, int reference_system, bool references_allowed)
{
    if (!references_allowed) return {};
    const int V = voltage_side == -1 ? 1 : -1;
    return {V, reference_system == 1 ? V : -V};
}

/// Defaults, with the models from the model table.
[[nodiscard]] WorkPoint InitialiseWorkPoint();
[[nodiscard]] ActionPanel InitialiseActionPanel();

}  // namespace kovin
