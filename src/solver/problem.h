// What the equations need beside the state: the device in solver units, the geometry, the defect rates, the light.
#pragma once

#include "base/monitor.h"
#include "base/report.h"
#include "device/calculation_set.h"
#include "device/mesh.h"
#include "optics/generation_parameters.h"
#include "solver/block_solve.h"
#include "solver/fast_system.h"
#include "solver/mesh_first.h"
#include "solver/relaxation.h"
#include "solver/state.h"
#include "solver/tunnel_work.h"

#include <array>
#include <functional>
#include <optional>
#include <vector>

namespace kovin {

/// Factors of the discrete equations that depend on mesh and material only. One value a mesh point; see residuals.
struct Discretisation {
    // Poisson: inner rows (and interface rows, by layer end)
    std::vector<double> psi_charge;           ///< H^2/(4 Lambda)
    std::vector<double> psi_left, psi_right;  ///< coupling to i - 1 and i + 1
    // continuity: inner rows
    std::vector<double> n_source, p_source;  ///< (H/2)(H/2)/(W D_mean): factor of -(R - G) exp(-+psi)
    std::vector<double> n_left, n_right;     ///< coupling to i - 1 and i + 1
    std::vector<double> p_left, p_right;
    // boundary rows of a layer: k = first or last point
    std::vector<double> n_C, p_C;  ///< 2 h/(D[k] + D[m])
    // currents: 0.5 (D[i] + D[i-1]) W[i-1]/h of the interval (i - 1, i), in mA/cm2
    std::vector<double> n_current, p_current;
    // interfaces
    struct Interface {
        double left = 0.0, right = 0.0;  ///< a eps/h, b eps/h of the displacement row
        double charge_l = 0.0, charge_l1 = 0.0, charge_f = 0.0, charge_f1 = 0.0;  ///< factors of the half-cell charges
        double row_scale = 1.0;                                                   ///< (h[f] + h[l-1])/(eps[f] + eps[l])
        double sheet = 0.0;                                                       ///< factor of the sheet charge
        double vn = 0.0, vp = 0.0;                                                ///< thermionic velocities
        double n_ratio = 1.0, p_ratio = 1.0;                                      ///< N0[j] W[l]/(N0[j+1] W[f])
    };
    std::vector<Interface> interfaces;
};

/// Emission of the levels of a defect that absorbs light; empty where it does not. Rows as those of its other rates.
struct OpticalEmission {
    std::vector<double> en, ep;   ///< thermal alone
    std::vector<double> gn, gp;   ///< by light alone
    std::vector<double> thermal;  ///< product of the thermal rates
    std::vector<double> excess;   ///< by how much the product of all emission is larger
    [[nodiscard]] bool present() const { return !gn.empty(); }
};

/// One discrete energy of a bulk defect with a single level, at the points of its layer.
struct DefectEnergy {
    std::size_t first = 0;       ///< mesh index of the first value
    std::vector<double> Nt;      ///< density times weight of the energy [N0]
    std::vector<double> cn, cp;  ///< capture coefficients
    std::vector<double> en, ep;  ///< emission rates, thermal and by light
    double charge = 0.0;         ///< charge when empty: 1 donor, 0 acceptor; see `charged`
    double charged = 0.0;        ///< 0 for a neutral defect, 1 otherwise
    int layer = 0, defect = 0;   ///< from 0
    double energy = 0.0;         ///< [eV] against the reference of the defect
    OpticalEmission optical;
};

/// One discrete energy of a bulk defect with several levels: a chain of charge states, see device/charge_states.h. The
/// distribution moves all levels together. Rates have one row a level, `Nt.size()` points each, row after row.
struct DefectChain {
    std::size_t first = 0;                    ///< mesh index of the first value
    int levels = 0;                           ///< 2 to max_levels
    std::vector<double> Nt;                   ///< density times weight of the energy [N0]
    std::vector<double> cn, cp;               ///< capture coefficients
    std::vector<double> en, ep;               ///< emission rates, thermal with degeneracy and by light
    double charge = 0.0;                      ///< of the most positive state; see `charged`
    double charged = 0.0;                     ///< 0 for a neutral defect, 1 otherwise
    int layer = 0, defect = 0;                ///< from 0
    std::array<double, max_levels> energy{};  ///< of each level [eV] against the reference of the defect
    OpticalEmission optical;
};

/// All discrete energies of the device; each list in the order layer, defect, energy.
struct BulkDefects {
    std::vector<DefectEnergy> energies;
    std::vector<DefectChain> chains;
    std::array<bool, max_layers> band_to_band{};  ///< the layer has radiative or Auger recombination
};

/// All discrete energies of all interfaces.
struct InterfaceStates {
    std::vector<InterfaceEnergy> energies;
};

/// Work space of one calculation; sized once, then only written.
struct Workspace {
    std::vector<double> res, sub, main, super, delta, t;  ///< one equation and its solution
    std::vector<double> extra, E;                         ///< elements outside the band, by interface
    std::vector<double> rho_total;
    std::vector<double> psi_before, Fn_before, Fp_before;  ///< state of the outer pass before
    std::vector<double> search_from, search_res;           ///< line search: where it began, residual on the way
    Relaxation relaxation;
    CurrentProfile currents;
    std::vector<double> link_ratio, new_x;              ///< of a change of the mesh
    BlockSystem block;                                  ///< of the coupled schemes
    std::vector<double> psi_start, Fn_start, Fp_start;  ///< state before an attempt of the coupled loop
    FastWork fast;
    TunnelWork tunnel;
    bool beyond_exponentials = false;  ///< the classic route has failed where exp(psi) leaves the range of numbers
    double failed_at = 0.0;            ///< voltage of its last failure, internal sign [V]
    /// @param coupled  what the coupled schemes need as well; it stays empty without
    void resize(std::size_t points, std::size_t layers, bool coupled);
};

struct SolverMemory;

/// Links to what a change of the mesh renews beside the state. A Problem that has none is solved on its mesh as it is.
struct MeshAdaption {
    CalculationParameters& set3;
    SolverMemory& memory;
    std::vector<double>& G;  ///< the generation of the Problem
    /// Brings G from one mesh to another; empty in the dark.
    std::function<void(const Mesh& from, const Mesh& to)> relight{};
};

/// Links to what follows the occupation of levels that absorb light, see optical_occupation.h. The light gives the G of
/// the Problem and stands on its mesh.
struct OpticalExchange {
    BulkDefects& defects;
    GenerationParameters& light;
};

/// A cell that an insulator parts, see mis.h.
struct PartedCell {
    std::size_t closed_interface = 0;      ///< no carrier passes it
    std::array<bool, max_layers> empty{};  ///< layers without carriers
};

/// Links to what one solve reads; made afresh for each call of the upper floors.
struct Problem {
    const CalculationParameters& set3;
    const Discretisation& grid;
    const BulkDefects& defects;
    const InterfaceStates& interface_states;
    const std::vector<double>& G;               ///< generation at the mesh points [D0 N0/x0^2]
    const Monitor* monitor = nullptr;           ///< asked for a stop between two passes
    Report* report = nullptr;                   ///< told when a loop comes to its limit, if the settings ask for it
    double voltage_sign = 1.0;                  ///< of the user's voltage against the internal one, for messages
    std::optional<MeshAdaption> adaption{};     ///< lets the mesh follow the solution, where the settings want it
    std::optional<OpticalExchange> exchange{};  ///< where levels absorb light
    std::optional<PartedCell> parted{};         ///< in MIS mode
    [[nodiscard]] bool mesh_may_move() const { return adaption && set3.convergence.recalculate_mesh != 0; }
};

/// Everything of a Problem that is computed from calculation set and mesh.
struct SolverMemory {
    Discretisation grid;
    BulkDefects defects;
    InterfaceStates interface_states;
    Workspace work;
    Mesh first_mesh;            ///< as first defined, profile grid included: its points are never dropped
    MeshWishes mesh_wishes;     ///< what it was made for
    bool mesh_full = false;     ///< a refinement was given up for want of points
    bool mesh_settled = false;  ///< fast route: a change led to no solution, none is tried any more
};

/// Fills geometry, defect rates and work space. @pre Full_x_Dependence has run on this mesh
void prepare_solver(const CalculationParameters& set3, const Mesh& mesh, SolverMemory& memory);
/// The same for a work space of its own.
void prepare_workspace(const CalculationParameters& set3, const Mesh& mesh, const BulkDefects& defects,
                       Workspace& work);

}  // namespace kovin
