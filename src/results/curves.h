// Measured curves: current-voltage, capacitance-voltage and capacitance-frequency, and what is read out of them.
//
// All columns of a curve have one value a calculated point.
#pragma once

#include "device/insulator_place.h"
#include "device/mesh.h"
#include "device/numerical_settings.h"

#include <optional>
#include <string>
#include <vector>

namespace kovin {

/// An I-V curve; all columns have one value a calculated point.
struct IvCurve {
    std::vector<double> iv_as;                            ///< voltage on the axis, user sign [V]
    std::vector<double> ivcurrent;                        ///< total current, user sign [mA/cm2]
    std::vector<double> TotalRec, TotalGen;               ///< [mA/cm2]
    std::vector<double> ivleftcontact, ivrightcontact;    ///< minority currents at the contacts [mA/cm2]
    std::vector<double> ivifr, ivbulk;                    ///< recombination at interfaces, in the bulk [A/m2]
    std::vector<double> recSRH, recRadiative, recAuger;   ///< parts of ivbulk [A/m2]
    std::vector<double> J_error, J_noise;                 ///< uncertainty and rounding of the current [mA/cm2]
    std::vector<double> noise_limited;                    ///< 1 where rounding limits the solution, else 0
    std::string left_contact_label, right_contact_label;  ///< which carrier is the minority there
    [[nodiscard]] std::size_t points() const { return iv_as.size(); }
};
/// All columns of an I-V curve, for what is done to each of them.
inline constexpr std::vector<double> IvCurve::*iv_curve_columns[] = {
    &IvCurve::iv_as,          &IvCurve::ivcurrent, &IvCurve::TotalRec, &IvCurve::TotalGen,      &IvCurve::ivleftcontact,
    &IvCurve::ivrightcontact, &IvCurve::ivifr,     &IvCurve::ivbulk,   &IvCurve::recSRH,        &IvCurve::recRadiative,
    &IvCurve::recAuger,       &IvCurve::J_error,   &IvCurve::J_noise,  &IvCurve::noise_limited,
};

/// Where a C-V curve was calculated, kept so that its analysis can be repeated with other settings.
struct CellOnMesh {
    Mesh mesh;                         ///< of the last C-V point
    std::vector<double> cvepsilon;     ///< relative permittivity, one a mesh point
    std::vector<double> cvnet_doping;  ///< Nd - Na [m^-3], one a mesh point
    double kT = kT_at_300K;            ///< [V]
    double widest_gap = 0.0;           ///< [eV]; 0: not known
    int forward = 1;                   ///< sign that the internal voltage of a forward bias has
};

struct CvCurve {
    // as measured
    std::vector<double> cv_as;   ///< voltage on the axis, user sign [V]
    std::vector<double> v_cell;  ///< voltage over the device, internal sign [V]
    std::vector<double> cvcap;   ///< C [nF/cm2]
    std::vector<double> cvcon;   ///< G [S/cm2]
    IvCurve dc;                  ///< the DC columns of this sweep; those of the run hold them merged with the I-V

    // Mott-Schottky analysis; filled by mott_schottky_columns
    std::vector<double> cvMott;                      ///< 1/C^2 [cm4/nF2]
    std::vector<double> cvslopeMottSchottky;         ///< d(1/C^2)/dv_cell [m4/(F2 V)]
    std::vector<double> cvW;                         ///< width of the depletion layer [um]
    std::vector<double> cvx;                         ///< its edge: position in the cell, or cvW [um]
    std::vector<double> cvN;                         ///< apparent doping [1/cm3]
    std::vector<double> cveps_eff_W, cveps_eff_N;    ///< permittivities that W and N were found with
    MottSchottkySettings NW;                         ///< settings of the columns above
    std::optional<MottSchottkySettings> NW_of_line;  ///< those of the straight line, where they differ
    std::string layer_name;                          ///< of NW.layer
    CellOnMesh cell;
    double frequency = 0.0;  ///< [Hz]; 0: not known
    /// Of an MIS structure: the DC columns are those of its flat levels, the insulator lies in series with the
    /// depletion layer, and 1/C^2 has no Vbi.
    std::optional<InsulatorPlace> insulator;
    std::string remark;  ///< on how it was calculated, for its file; empty: in the usual way

    bool failed = false;  ///< the sweep ended with a point that did not converge; false behind a stop

    [[nodiscard]] std::size_t points() const { return v_cell.size(); }
    /// Points without a solution are left out in the middle too: those of an MIS structure do not need each other.
    [[nodiscard]] bool has_gaps() const { return insulator && failed; }
    /// Enough points for the window of the slope: the curve has an apparent doping.
    [[nodiscard]] bool has_doping() const { return NW.points >= 2 && static_cast<std::size_t>(NW.points) < points(); }
};

struct CfCurve {
    std::vector<double> cf_as;                            ///< frequency [Hz]
    std::vector<double> cfcap;                            ///< C [nF/cm2]
    std::vector<double> cfcon;                            ///< G [S/cm2]
    std::vector<double> cfZre, cfZim, cfZmagn, cfZphase;  ///< impedance [ohm cm2], phase in degrees
    bool failed = false;                                  ///< the frequency behind the last one has no answer
    [[nodiscard]] std::size_t points() const { return cf_as.size(); }
};

/// Admittance at the working point, at its frequency.
struct WorkPointAdmittance {
    double C = 0.0;  ///< [nF/cm2]
    double G = 0.0;  ///< [S/cm2]
};

/// Admittance spectrum: what a C-f curve tells about defect levels, one value a frequency.
struct AsCurve {
    std::vector<double> AS_Et;     ///< depth of the level that follows at this frequency [eV]
    std::vector<double> AS_deriv;  ///< -dC/dln(w) [nF/cm2]
    std::vector<double> AS_Nt;     ///< density of states [1/(cm3 eV)]
    double W = 0.0;                ///< width of the depletion layer [cm]
    std::string settings;          ///< the settings, as one line of the result file
    [[nodiscard]] std::size_t points() const { return AS_Et.size(); }
};

}  // namespace kovin
