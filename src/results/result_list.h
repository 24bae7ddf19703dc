// What a run leaves behind: one element of the result list with its curves and the conditions they belong to.
#pragma once

#include "base/clock.h"
#include "device/work_point.h"
#include "results/curves.h"
#include "results/iv_characteristics.h"

#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace kovin {

/// Conditions of one run as the headers of result files tell them.
struct RunRecord {
    int number = 0;       ///< of the single shot, from 1
    std::string started;  ///< start of the calculation: "7-11-2026 at 9:05:00", month first
    std::filesystem::path problem_file;
    DateTime problem_date;
    std::filesystem::path spectrum_file, generation_file;  ///< as found on the disk
    DateTime spectrum_date, generation_date;
    WorkPoint wp;  ///< internal sign
    Polarity polarity;
    bool references_allowed = true;
    bool tunnelling = false;     ///< some tunnel path was open
    double unsettled = 0.0;      ///< largest change of a share that metastable pairs still had to make; 0: settled
    int voltage_reference = -1;  ///< contact the voltage is applied to: -1 left, +1 right
    int reference_system = 1;    ///< 1: current positive when entering that contact
};

/// What the points of a curve say of their own accuracy, taken together.
struct CurveAccuracy {
    double largest_error = std::numeric_limits<double>::quiet_NaN();  ///< of the current [mA/cm2]; NaN: not known
    double worst_relative = 0.0;  ///< largest error over current, where the current is more than rounding
    double at_V = 0.0;            ///< where that is [V]
    double limited_below = 0.0;   ///< currents below this one are limited by rounding [mA/cm2]; 0 if none is
};
[[nodiscard]] CurveAccuracy accuracy(const IvCurve& curve);

/// A quantum-efficiency curve; all columns have one value a calculated wavelength.
struct QeCurve {
    std::vector<double> qe_as;      ///< wavelength [nm]
    std::vector<double> hv_as;      ///< photon energy [eV]
    std::vector<double> qe;         ///< collected carriers per photon of the probe [%]
    std::vector<double> uncertain;  ///< by what its two currents may be off, at most [%]
    /// What the curve collects of the AM1.5G spectrum [mA/cm2]: QE linear between its wavelengths, nothing outside.
    /// Empty for fewer than two wavelengths, and where the spectrum is not at hand.
    std::optional<double> J_AM15G;
    std::optional<double> Jsc;  ///< at short circuit in the light of the working point, its size [mA/cm2]
    bool failed = false;        ///< the wavelength behind the last one did not converge, or its probe is lost
    bool lost = false;          ///< its probe is less than the rounding of the current
    [[nodiscard]] std::size_t points() const { return qe_as.size(); }
};
/// Index of the largest QE. @pre there are points
[[nodiscard]] std::size_t maximum_of(const QeCurve& curve);

struct DataListElement {
    RunRecord run;
    ActionList actions;  ///< as asked for, internal sign
    IvCurve iv;
    std::size_t IV_points = 0;  ///< of the sweep; where it was cut, `iv` holds fewer. Ending behind Voc is no cut
    IVCharacteristics characteristics;
    std::optional<WorkPointAdmittance> work_point;  ///< where a capacitance was asked for
    CvCurve cv;
    CfCurve cf;
    AsCurve as;                                ///< analysis of cf
    std::size_t CV_points = 0, Cf_points = 0;  ///< asked for
    QeCurve qe;
    std::size_t QE_points = 0;  ///< of the sweep over wavelengths; where it was cut, `qe` holds fewer
};

}  // namespace kovin
