// The light of a calculation: spectrum, filters, absorption, and the generation that they give on the mesh.
#pragma once

#include "base/constants.h"
#include "device/absorption_models.h"
#include "device/alpha_interpolation.h"
#include "device/capture_model.h"

#include <array>
#include <compare>
#include <string>
#include <vector>

namespace kovin {

/// The two pure materials of a layer, as read; both are the same where the layer holds only one.
struct LayerAbsorption {
    MaterialAbsorption A, B;
    PureGaps gap;                               ///< where they have their edges [eV]
    double anchor_A = 250.0, anchor_B = 250.0;  ///< short-wavelength anchors [nm]
};

/// A composition with its gap [eV]: what a list of absorption values belongs to. A gap graded on position makes points
/// of one composition differ.
struct Mixture {
    double y = 0.0, Eg = 0.0;
    auto operator<=>(const Mixture&) const = default;
};

/// Absorption at the wavelengths of the spectrum, once per distinct composition of a layer; points refer to it by
/// index. The points of a uniform layer share one entry.
struct AbsorptionOnMesh {
    std::vector<std::vector<double>> alpha;                 ///< [1/m], one list of n values per entry
    std::vector<Mixture> mixture;                           ///< of the entry; entries of a layer stand together
    std::array<std::size_t, max_layers + 1> first_entry{};  ///< of each layer, and the end
    std::vector<int> of_point;                              ///< index into alpha, one a mesh point
};

/// What light does to one level of a defect. Values on the mesh stand at the points of its layer.
struct OpticalCapture {
    std::size_t layer = 0, defect = 0, level = 0;  ///< from 0
    CrossSections electrons, holes;        ///< of sending the electron to the conduction band, of fetching one from the
                                           ///< valence band
    std::vector<double> sigma_n, sigma_p;  ///< the same at the wavelengths of the light [m2]
    std::vector<double> filled, empty;     ///< states with and without the electron of this level [1/m3]
    std::vector<double> g_n, g_p;          ///< rates of a filled and of an empty state to be changed by light [1/s]
};

/// A given profile as read: positions from the left contact [m], rising, and G [1/(m3 s)], not negative.
struct GivenGeneration {
    std::vector<double> x, G;
    bool sharp_ends = false;  ///< a rectangle: the first two and the last two points are its edges
};

/// The filter of one contact as read.
struct FilterCurve {
    bool present = false, transmission = false;  ///< there is one; its values are transmission, else reflection
    double constant = 0.0;                       ///< where it has no rows [%]
    std::string path;
    std::vector<double> lambda, values;  ///< rows of its file [nm, %]
    bool range_told = false;             ///< that values had to be forced has been said
};

struct ContactFilters {
    FilterCurve left, right;
};

/// `generatieparameters`. Wavelength arrays hold n values, generation one value a mesh point.
struct GenerationParameters {
    int n = 0;               ///< wavelengths
    double intensity = 1.0;  ///< 10^-ND of the neutral filter
    int side = 1;            ///< light enters at: +1 right contact, -1 left
    bool cutOff = false;
    double lambdaLow = 200.0, lambdaHigh = 2000.0;  ///< cut-off [nm]
    double Rfront = 0.0;                            ///< internal reflection of the front, for light from inside
    std::vector<double> lambda;                     ///< [nm], rising
    std::vector<double> spectrum;                   ///< power of each wavelength interval [W/m2]
    std::vector<double> rightFilter, leftFilter;    ///< transmission on the light side, reflection on the other
    std::vector<double> incomingFlux_us;            ///< photons through the light-side contact [1/(m2 s)]
    ContactFilters filters;                         ///< as read
    std::vector<LayerAbsorption> materials;         ///< one a layer
    AbsorptionOnMesh absorption;
    std::vector<OpticalCapture> capture;    ///< levels that absorb light; none in most cells
    std::vector<double> apart_from_levels;  ///< with such levels: in_box of the wavelengths that none of them absorbs
    GivenGeneration given;                  ///< without attenuation; empty where the light is a spectrum
    std::vector<double> in_box;             ///< fast route: pairs generated in the box of a mesh point [1/(m2 s)]
    std::vector<double> generation;         ///< G(x) [D0 N0/x0^2]
    double total_mA_cm2 = 0.0;              ///< generation current on the mesh, by ExtractGeneration
};

}  // namespace kovin
