#include "solver/mis.h"

#include "solver/estimates.h"
#include "solver/fast_equilibrium.h"
#include "solver/fast_mesh.h"
#include "solver/gummel.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

constexpr int finer = 4;  ///< parts that an interval of the usual mesh is cut into

std::size_t at(int i) { return static_cast<std::size_t>(i); }

bool insulates(const CalculationParameters& set3, std::size_t j)
{
    return is_electrical_interlayer(set3.layer[j].functional_type);
}

/// First point that has the level of the right contact.
std::size_t first_on_the_right(const CalculationVariables& cv, const MisStructure& mis)
{
    return at(cv.mesh.first[mis.interface + 1]);
}

// Levels of the contacts [kT]: V is parted between them, so that the exponentials of either are numbers up to twice the
// voltage.
double left_level(const CalculationVariables& cv) { return -0.5 * cv.V_kT; }
double right_level(const CalculationVariables& cv) { return 0.5 * cv.V_kT; }

/// Layers on one side of the closed interface.
struct Side {
    std::size_t begin, end;  ///< layers
    double level;            ///< of their contact [kT]
};
std::array<Side, 2> sides(const CalculationVariables& cv, const MisStructure& mis)
{
    return {{{0, mis.interface + 1, left_level(cv)}, {mis.interface + 1, at(cv.mesh.nlayers), right_level(cv)}}};
}

/// Points of the semiconductors of a side.
template <class Do>
void for_each_semiconductor_point(const Problem& problem, const CalculationVariables& cv, const Side& side,
                                  const Do& act)
{
    for (std::size_t j = side.begin; j < side.end; ++j)
        if (!insulates(problem.set3, j))
            for (std::size_t i = at(cv.mesh.first[j]); i <= at(cv.mesh.last[j]); ++i) act(i);
}

/// psi of neutral material at the points of a state, in equilibrium, with the charge of deep levels [kT].
std::vector<double> neutral_psi(const Problem& problem, Workspace& work, const CalculationVariables& cv)
{
    CalculationVariables neutral = cv;
    start_from_neutrality(problem, work, neutral);
    // Contacts have their work functions, the two points of an interface their mean.
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
        neutral.psi[first] = neutral.psi[first + 1];
        neutral.psi[last] = neutral.psi[last - 1];
    }
    return std::move(neutral.psi);
}

/// Neutral material is of a type if it has this many times more carriers of one kind.
constexpr double clearly_more = 10.0;

/// Type of all semiconductors of a side: 1 n, -1 p, 0 neither or both.
/// @param neutral  of neutral_psi
int semiconductor_type(const Problem& problem, const CalculationVariables& cv, const Side& side,
                       const std::vector<double>& neutral)
{
    bool n_type = false, p_type = false;
    for_each_semiconductor_point(problem, cv, side, [&](std::size_t i) {
        const double n = problem.set3.on.Wn[i] * std::exp(neutral[i]);
        const double p = problem.set3.on.Wp[i] * std::exp(-neutral[i]);
        n_type = n_type || n > clearly_more * p;
        p_type = p_type || p > clearly_more * n;
    });
    return (n_type ? 1 : 0) - (p_type ? 1 : 0);
}

/// Moves the voltage: psi goes along with the level of its side, and falls linearly in the insulator.
void shift_to(const CalculationParameters& set3, CalculationVariables& cv, const MisStructure& mis, double V)
{
    const double dV_kT = (V - cv.V) / set3.kT;
    const auto& x = cv.mesh.x;
    const double left = x[at(cv.mesh.first[mis.first])], right = x[at(cv.mesh.last[mis.last])];
    for (std::size_t i = 0; i < x.size(); ++i)
        cv.psi[i] -= dV_kT * (std::clamp((x[i] - left) / (right - left), 0.0, 1.0) - 0.5);
    cv.V = V;
    cv.V_kT = V / set3.kT;
    cv.psi.front() = -left_level(cv);
    cv.psi.back() = (set3.phi_left - set3.phi_right) / set3.kT - right_level(cv);
}

void flat_levels(CalculationVariables& cv, const MisStructure& mis)
{
    const auto border = static_cast<std::ptrdiff_t>(first_on_the_right(cv, mis));
    for (auto* level : {&cv.Fn, &cv.Fp}) {
        std::fill(level->begin(), level->begin() + border, left_level(cv));
        std::fill(level->begin() + border, level->end(), right_level(cv));
    }
}

/// Insulators with fewer carriers than this are empty [m^-3].
constexpr double hardly_any = 1e9;

/// Carriers of either kind that a layer has of its own, where they are most [m^-3]: in neutral material, or in
/// equilibrium where its surroundings leave it less. What a contact or semiconductor sends in over a low barrier is not
/// of the layer.
double carriers_of_layer(const Problem& problem, const CalculationVariables& equilibrium,
                         const std::vector<double>& neutral, std::size_t j)
{
    const OnMesh& on = problem.set3.on;
    double in_neutral = 0.0, in_equilibrium = 0.0;
    for (std::size_t i = at(equilibrium.mesh.first[j]); i <= at(equilibrium.mesh.last[j]); ++i) {
        in_neutral = std::max({in_neutral, on.Wn[i] * std::exp(neutral[i]), on.Wp[i] * std::exp(-neutral[i])});
        in_equilibrium = std::max({in_equilibrium, equilibrium.n[i], equilibrium.p[i]});
    }
    return problem.set3.scale.N0[j] * std::min(in_neutral, in_equilibrium);
}

/// Levels of an empty layer lie this far behind those of the contact that gives less carriers [kT].
constexpr double far_behind = 40.0;

void no_carriers_in_insulators(CalculationVariables& cv, const MisStructure& mis)
{
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        if (!mis.empty[j]) continue;
        const auto fill = [&](std::vector<double>& level, double value) {
            std::fill(level.begin() + cv.mesh.first[j], level.begin() + cv.mesh.last[j] + 1, value);
        };
        fill(cv.Fn, std::min(left_level(cv), right_level(cv)) - far_behind);
        fill(cv.Fp, std::max(left_level(cv), right_level(cv)) + far_behind);
    }
}

/// Deep depletion: nowhere more minority carriers than in neutral material. Nor are there fewer of the others, which is
/// nothing beside those of neutral material and keeps the small signals within the numbers.
/// @param neutral  of neutral_psi
/// @param margin   by exp(margin) fewer of either [kT]
void leave_out_minority(const Problem& problem, CalculationVariables& cv, const MisStructure& mis,
                        const std::vector<double>& neutral, double margin)
{
    const OnMesh& on = problem.set3.on;
    for (const Side& side : sides(cv, mis)) {
        const int type = semiconductor_type(problem, cv, side, neutral);
        if (type == 0) continue;
        for_each_semiconductor_point(problem, cv, side, [&](std::size_t i) {
            // Levels at which there are as many electrons, or holes, as minority carriers in neutral material.
            const double few = std::log(type < 0 ? on.Wn[i] : on.Wp[i]) - type * neutral[i];
            const double Fn = few - std::log(on.Wn[i]) - cv.psi[i] - margin;
            const double Fp = std::log(on.Wp[i]) - few - cv.psi[i] + margin;
            cv.Fn[i] = type < 0 ? std::min(cv.Fn[i], Fn) : std::max(cv.Fn[i], Fn);
            cv.Fp[i] = type < 0 ? std::min(cv.Fp[i], Fp) : std::max(cv.Fp[i], Fp);
        });
    }
}

/// Do majority carriers gather anywhere, in a layer that is thin beside the usual mesh?
/// @param neutral  of neutral_psi
bool majority_gathers(const Problem& problem, const CalculationVariables& cv, const MisStructure& mis,
                      const std::vector<double>& neutral)
{
    constexpr double clearly = 1.0;  // [kT]
    bool any = false;
    for (const Side& side : sides(cv, mis)) {
        const int type = semiconductor_type(problem, cv, side, neutral);
        for_each_semiconductor_point(problem, cv, side, [&](std::size_t i) {
            any = any || type * (cv.psi[i] + side.level - neutral[i]) > clearly;
        });
    }
    return any;
}

/// May the mesh be made anew at this point of a sweep? In deep depletion only where carriers gather: the edge of the
/// depletion layer moves through the silicon, on a mesh that is fine enough for it from the start, and each change of
/// the mesh is a step in 1/C^2.
bool mesh_may_change(const Problem& problem, Workspace& work, const CalculationVariables& cv, const MisStructure& mis,
                     Minority minority)
{
    return problem.set3.convergence.route == Route::fast &&
           (minority == Minority::in_equilibrium || majority_gathers(problem, cv, mis, neutral_psi(problem, work, cv)));
}

bool solve_psi(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    update_psivar(problem.set3, cv);
    update_Fn(cv);
    update_Fp(cv);
    return fast_equilibrium_from_here(problem, work, cv);
}

/// @param way  farther than psi moves [kT]
bool solve(const Problem& problem, Workspace& work, CalculationVariables& cv, const MisStructure& mis,
           Minority minority, double way)
{
    flat_levels(cv, mis);
    no_carriers_in_insulators(cv, mis);
    if (minority == Minority::in_equilibrium) return solve_psi(problem, work, cv);
    // Levels that follow psi: first with hardly any of the carriers, then with as many as there may be. psi is the
    // same, and the levels are smooth in V.
    const std::vector<double> neutral = neutral_psi(problem, work, cv);
    leave_out_minority(problem, cv, mis, neutral, way);
    if (!solve_psi(problem, work, cv)) return false;
    flat_levels(cv, mis);
    no_carriers_in_insulators(cv, mis);
    leave_out_minority(problem, cv, mis, neutral, 0.0);
    return solve_psi(problem, work, cv);
}

/// Times that a step of the voltage is halved where Newton's method does not find its way at once.
constexpr int most_halvings = 6;

bool walk(const Problem& problem, Workspace& work, CalculationVariables& cv, const MisStructure& mis, Minority minority,
          double V, int halvings)
{
    if (std::fabs(V) > mis_largest_V_kT * problem.set3.kT) return false;
    const double before = cv.V;
    const std::vector<double> psi = cv.psi;
    const auto [lowest, highest] = std::ranges::minmax(psi);
    const double way = std::fabs(V - before) / problem.set3.kT + highest - lowest;  // no psi moves farther
    shift_to(problem.set3, cv, mis, V);
    if (solve(problem, work, cv, mis, minority, way)) return true;
    if (halvings == 0 || V == before) return false;
    shift_to(problem.set3, cv, mis, before);
    cv.psi = psi;
    return walk(problem, work, cv, mis, minority, 0.5 * (before + V), halvings - 1) &&
           walk(problem, work, cv, mis, minority, V, halvings - 1);
}

}  // namespace

MisStructure mis_structure(const Problem& problem, Workspace& work, const CalculationVariables& equilibrium,
                           const InsulatorPlace& place)
{
    const CalculationParameters& set3 = problem.set3;
    MisStructure mis;
    static_cast<InsulatorPlace&>(mis) = place;
    mis.states = problem.interface_states;
    for (InterfaceEnergy& level : mis.states.energies) {
        const bool left = insulates(set3, level.interface), right = insulates(set3, level.interface + 1);
        if (left && !right) level.cnL = level.cpL = 0.0;
        if (right && !left) level.cnR = level.cpR = 0.0;
    }
    const std::vector<double> neutral = neutral_psi(problem, work, equilibrium);
    for (std::size_t j = place.first; j <= place.last; ++j) {
        mis.carriers[j] = carriers_of_layer(problem, equilibrium, neutral, j);
        mis.empty[j] = mis.carriers[j] < hardly_any;
    }
    return mis;
}

Problem parted(const Problem& p, const MisStructure& mis)
{
    return {p.set3,
            p.grid,
            p.defects,
            mis.states,
            p.G,
            p.monitor,
            p.report,
            p.voltage_sign,
            p.adaption,
            p.exchange,
            PartedCell{mis.interface, mis.empty}};
}

bool has_minority_carriers(const Problem& problem, Workspace& work, const CalculationVariables& cv,
                           const MisStructure& mis)
{
    const std::vector<double> neutral = neutral_psi(problem, work, cv);
    bool any = false;
    for (const Side& side : sides(cv, mis)) {
        bool semiconductor = false;
        for_each_semiconductor_point(problem, cv, side, [&](std::size_t) { semiconductor = true; });
        if (semiconductor && semiconductor_type(problem, cv, side, neutral) == 0) return false;
        any = any || semiconductor;
    }
    return any;
}

void refine_mesh_for_mis(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    if (problem.set3.convergence.route != Route::fast || !problem.mesh_may_move()) return;
    int& refine = problem.adaption->memory.mesh_wishes.refine;
    refine = finer * std::max(refine, 1);
    fast_mesh_change(problem, work, cv, 0.0);
}

bool mis_naar_spanning(const Problem& problem, Workspace& work, CalculationVariables& cv, const MisStructure& mis,
                       Minority minority, double V)
{
    // What tunnelling left in the state that this one comes from.
    cv.tunnel_states.clear();
    for (auto* current : {&cv.jn_tunnel, &cv.jp_tunnel}) current->clear();
    cv.contact_tunnel = {};
    const double before = cv.V;
    const std::vector<double> psi = cv.psi;
    bool converged = walk(problem, work, cv, mis, minority, V, most_halvings);
    if (!converged) {  // the next point starts from what is a state
        shift_to(problem.set3, cv, mis, before);
        cv.psi = psi;
    }
    if (converged && mesh_may_change(problem, work, cv, mis, minority) &&
        fast_mesh_change(problem, work, cv, fast_mesh_too_steep / finer) == MeshChange::changed)
        converged = solve(problem, work, cv, mis, minority, 0.0);
    if (!converged) cv.iterations = -1;
    cv.J_median = cv.J_spread = 0.0;  // whatever deep depletion leaves moving in the semiconductor
    return converged;
}

std::optional<Admittance> mis_admittance(const CalculationVariables& cv, const MisStructure& mis, Minority minority,
                                         const SmallSignal& answer)
{
    constexpr double same = 1e-3;
    const Mesh& mesh = cv.mesh;
    const auto at_border = at(mis.first > mis.interface ? mesh.first[mis.first] : mesh.last[mis.last] - 1);
    const Complex J{answer.del_j_tot_re[at_border], answer.del_j_tot_im[at_border]};
    const double far = same * std::hypot(J.re, J.im);
    const Admittance Y = admittance(J, answer);
    if (!(Y.C > 0.0)) return std::nullopt;
    for (auto i = at(mesh.first[mis.first]); i < at(mesh.last[mis.last]); ++i)
        if (!(std::hypot(answer.del_j_tot_re[i] - J.re, answer.del_j_tot_im[i] - J.im) <= far)) return std::nullopt;
    const Complex other = answer.J_mean - J;
    if (minority == Minority::left_out && !(std::hypot(other.re, other.im) <= far)) return std::nullopt;
    return Y;
}

}  // namespace kovin
