// The tunnel paths of a state and the work space of their equations.
#pragma once

#include "device/mesh.h"

#include <cstddef>
#include <vector>

namespace kovin {

inline constexpr int left_metal = -1, right_metal = -2;  ///< sources that are no mesh points

/// Carriers that pass a barrier within their band, at the energies that end beside one point. With X = u or v the
/// particle flux
///
///     flux = strength (X[source] - X[target])
///
/// leaves the source and arrives at the target. A contact has the X of its metal.
struct TunnelPath {
    int source = 0;     ///< mesh point, or left_metal, right_metal
    int target = 0;     ///< mesh point
    double strength;    ///< [m^-3 D0/x0]
    double loss, gain;  ///< what one unit of flux does to the rows of source and target
};

/// Electrons that go from the conduction band at one point to the valence band at another one and fill a hole there:
///
///     flux = strength (f(level - Fn[from]) - f(level - Fp[to])),   f(x) = 1/(1 + exp(x))
struct BandToBandPath {
    int from = 0, to = 0;
    double level = 0.0;               ///< energy of the slice [kT]
    double strength = 0.0;            ///< [m^-3 D0/x0]
    double loss_n = 0.0, loss_p = 0;  ///< what one unit of flux does to the rows of electrons and holes
};

/// Energies of a flank in the order of descent, whose carriers end half at `near`, half at k beyond it.
struct FlankSlice {
    std::size_t near, k;
    double upper, lower;             ///< [kT]
    double weight_near, weight_far;  ///< of the halves: (upper - lower)/2 exp(top - E - T) limit
};

/// The paths of one carrier.
struct TunnelPaths {
    std::vector<TunnelPath> paths;
    std::size_t pairs = 0;  ///< the first ones, which run from point to point through the bulk
    /// Of the paths into states at interfaces, see tunnel_states: the points on both sides of these, and the number of
    /// means, unknowns behind those of the mesh.
    std::vector<std::size_t> sheets;
    std::size_t means = 0;
    double metal_left = 1.0, metal_right = 1.0;  ///< X of the contacts
};

/// One element of a matrix outside its band. Rows and columns from the number of mesh points on are those of means.
struct TunnelElement {
    std::size_t row, column;
    double value;
};

/// Equations of both carriers together across tunnel junctions, see tunnel_junctions; empty without such paths.
struct JunctionWork {
    /// Rows of one carrier as a chain of points.
    struct Chain {
        std::vector<double> left, right, sum;  ///< couplings to the neighbours, sum of the row
        std::vector<double> res, pivot, step;
        std::vector<std::size_t> ends;  ///< points that paths begin or end at, in order
    };
    Chain n, p;
    std::vector<TunnelElement> couplings;  ///< between the ends of both carriers, electrons first, all positive
    std::vector<double> sums, steps;       ///< of their rows
    std::vector<double> both;              ///< steps of all points of both carriers, one after the other
    // numbering of the ends, and their rows in it
    std::vector<std::size_t> begin, coupled, queue, order;
    std::vector<double> band, ordered;

    static constexpr double largest_limit = 2.0, smallest_limit = 1e-6;  ///< [kT]
    double limit = largest_limit;                                        ///< of the next step of a solve
    double largest_before = 0.0;                                         ///< step at the point that moved most
    void start_solve()
    {
        limit = largest_limit;
        largest_before = 0.0;
    }
};

/// Everything of tunnelling that a calculation keeps; without tunnel paths in the cell it stays empty.
struct TunnelWork {
    bool active = false;
    std::vector<std::size_t> layer;  ///< of each mesh point
    std::vector<double> Ec, Ev;      ///< barrier of electrons and of holes, upwards for both [kT]
    TunnelPaths n, p;
    std::vector<BandToBandPath> band_to_band;
    std::vector<FlankSlice> slices;
    std::vector<TunnelElement> outside;
    /// Sums of the rows of the equation at hand, elements outside the band included; empty with paths into states.
    std::vector<double> row_sums;
    std::vector<double> change;  ///< of the tunnel current from the interval before
    std::vector<int> paths;      ///< that begin in an interval less those that have ended
    std::vector<double> sizes;   ///< of the unknowns: u or v at the points, behind them the means
    // of the solution: border columns and rows, envelope of what is left
    std::vector<std::size_t> border;    ///< points taken out, in order
    std::vector<TunnelElement> inside;  ///< elements outside the band between the points that stay
    std::vector<TunnelElement> rows;    ///< of the border, numbered as in it
    std::vector<double> columns, small;
    std::vector<std::size_t> envelope_first, envelope_start;
    std::vector<double> lower, upper, pivot;
    JunctionWork junctions;

    /// @param on  some path is open
    void prepare(const Mesh& mesh, bool on);
};

}  // namespace kovin
