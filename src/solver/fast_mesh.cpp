#include "solver/fast_mesh.h"

#include "solver/fast_equilibrium.h"
#include "solver/mesh_merge.h"
#include "solver/profile_mesh.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace kovin {

namespace {

constexpr double nm = 1e-9;
constexpr double dpsi_max = 1.0;          ///< potential of one interval [kT]
constexpr double growth = 0.1;            ///< of the intervals away from the ends of a layer
constexpr double widest_share = 0.04;     ///< of its layer, for one interval
constexpr double h_end = 2.0 * nm;        ///< first interval of a layer [m]
constexpr double h_at_states = 0.5 * nm;  ///< the same beside an interface with states
constexpr int least_intervals = 4;        ///< of a layer
// The helper mesh.
constexpr double helper_step = 0.5 * nm, helper_ratio = 1.2, helper_widest_share = 0.05;
constexpr int profile_room = max_mesh_points / (2 * max_layers);  ///< of one layer, for what is graded in it
/// Solves on graded meshes at equilibrium: the helper mesh may be wide where the potential falls in a few Angstrom.
constexpr int most_rounds = 3;

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Points of a mesh, layer after layer.
struct Points {
    std::vector<double> x;
    std::array<int, max_layers> n_in_layer{};
};

/// Intervals of half a layer that grow from the end by `ratio`, added up to d/2.
std::vector<double> half_layer(double d, double step, double ratio)
{
    const double widest = helper_widest_share * d;
    std::vector<double> s{0.0};
    for (double h = std::min(step, widest); s.back() < 0.5 * d; h = std::min(h * ratio, widest))
        s.push_back(s.back() + h);
    const double fit = 0.5 * d / s.back();
    for (double& place : s) place *= fit;
    return s;
}

Mesh helper_mesh(const CalculationParameters& set3, const Mesh& mesh)
{
    const double x0 = set3.scale.x0;
    for (double ratio = helper_ratio;; ratio *= helper_ratio) {
        Points points;
        for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
            const double left = mesh.x[at(mesh.first[j])], right = mesh.x[at(mesh.last[j])];
            const std::vector<double> s = half_layer(right - left, helper_step / x0, ratio);
            std::vector<double> X;
            for (const double place : s) X.push_back(left + place);
            for (std::size_t k = s.size() - 1; k-- > 0;) X.push_back(right - s[k]);
            cut_at_profiles(set3, j, profile_room, X);
            points.x.insert(points.x.end(), X.begin(), X.end());
            points.n_in_layer[j] = static_cast<int>(X.size());
        }
        if (points.x.size() <= at(max_mesh_points)) return mesh_of(points.x, points.n_in_layer, mesh.nlayers, x0);
    }
}

/// Largest change of psi and of the band edges over the interval (i - 1, i) [kT].
double potential_step(const OnMesh& on, const CalculationVariables& cv, std::size_t i)
{
    const double step = cv.psi[i] - cv.psi[i - 1];
    return std::max(
        {std::fabs(step), std::fabs(step + on.Gn[i] - on.Gn[i - 1]), std::fabs(step + on.Gp[i] - on.Gp[i - 1])});
}

bool interface_has_states(const Problem& problem, std::size_t interface)
{
    return std::ranges::any_of(problem.interface_states.energies,
                               [&](const InterfaceEnergy& e) { return e.interface == interface; });
}

/// Potential that an interval at a distance s [m] from the nearest interface may hold [kT]. Carriers that light heaps
/// up before a step of their band fall off within a nanometre, and what crosses the step goes with their last density.
double allowed_step(double s)
{
    constexpr double at_interface = 0.25, near = 2.0 * nm, far = 20.0 * nm;
    return std::clamp(at_interface + (dpsi_max - at_interface) * (s - near) / (far - near), at_interface, dpsi_max);
}

/// Without carriers the field is uniform, or parabolic: no layer for the mesh to be finer in.
bool holds_carriers(const Problem& problem, std::size_t j) { return !problem.parted || !problem.parted->empty[j]; }

/// How many times what it may hold the interval (i - 1, i) of layer j, which holds carriers, holds.
double steepness(const Problem& problem, const CalculationVariables& cv, std::size_t j, std::size_t i)
{
    const Mesh& mesh = cv.mesh;
    const double middle = 0.5 * (mesh.x_m[i] + mesh.x_m[i - 1]);
    double s = std::numeric_limits<double>::infinity();
    if (j > 0) s = middle - mesh.x_m[at(mesh.first[j])];
    if (j + 1 < at(mesh.nlayers)) s = std::min(s, mesh.x_m[at(mesh.last[j])] - middle);
    return potential_step(problem.set3.on, cv, i) / allowed_step(s);
}

/// Points that each interval (i - 1, i) of the present mesh should hold, at i; 0 across interfaces.
/// @return their sum
double wished_points(const Problem& problem, const CalculationVariables& cv, std::vector<double>& wished)
{
    const Mesh& mesh = cv.mesh;
    const double x0 = problem.set3.scale.x0;
    wished.assign(at(mesh.N), 0.0);
    double total = 0.0;
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
        const std::size_t first = at(mesh.first[j]), last = at(mesh.last[j]);
        const double left = mesh.x[first], right = mesh.x[last], widest = widest_share * (right - left);
        const bool states_left = j > 0 && interface_has_states(problem, j - 1);
        const bool states_right = j + 1 < at(mesh.nlayers) && interface_has_states(problem, j);
        const double h_left = (states_left ? h_at_states : h_end) / x0;
        const double h_right = (states_right ? h_at_states : h_end) / x0;
        const bool by_potential = holds_carriers(problem, j);
        for (std::size_t i = first + 1; i <= last; ++i) {
            const double h = mesh.x[i] - mesh.x[i - 1], middle = 0.5 * (mesh.x[i] + mesh.x[i - 1]);
            const double step =
                std::min({h_left + growth * (middle - left), h_right + growth * (right - middle), widest});
            const double profiles = profile_steps(problem.set3, j, mesh.x[i - 1] - left, mesh.x[i] - left);
            wished[i] = std::max({by_potential ? steepness(problem, cv, j, i) : 0.0, h / step, profiles});
            total += wished[i];
        }
    }
    return total;
}

/// Points that the mesh itself may have: a given profile gets room, half of all at most.
int room(const MeshWishes& wishes, const ConvergenceParameters& settings)
{
    const bool with_profile = settings.include_generation_mesh != 0;
    const std::size_t rows = with_profile ? wishes.profile_x.size() : 0;
    return max_mesh_points - static_cast<int>(std::min(rows, at(max_mesh_points / 2)));
}

/// By how much the wished points have to be thinned, 1 at most: each layer rounds up by one, has four at least and one
/// more point than intervals.
double thinning(const Problem& problem, int layers, double total)
{
    const int points = room(problem.adaption->memory.mesh_wishes, problem.set3.convergence);
    return std::min(1.0, (points - (least_intervals + 2) * layers) / total);
}

/// The points of layer j at equal parts of the wished ones.
void equal_parts(const Mesh& mesh, std::size_t j, const std::vector<double>& wished, double factor, Points& points)
{
    const std::size_t first = at(mesh.first[j]), last = at(mesh.last[j]);
    double integral = 0.0;
    for (std::size_t i = first + 1; i <= last; ++i) integral += wished[i];
    const int n = std::max(least_intervals, static_cast<int>(std::ceil(factor * integral)));
    points.n_in_layer[j] = n + 1;
    points.x.push_back(mesh.x[first]);
    double passed = 0.0;  // up to point i - 1
    std::size_t i = first + 1;
    for (int k = 1; k < n; ++k) {
        const double target = integral * k / n;
        while (i < last && passed + wished[i] < target) passed += wished[i++];
        const double t = std::clamp((target - passed) / wished[i], 0.0, 1.0);
        points.x.push_back(mesh.x[i - 1] + t * (mesh.x[i] - mesh.x[i - 1]));
    }
    points.x.push_back(mesh.x[last]);
}

Mesh graded_mesh(const Problem& problem, const CalculationVariables& cv)
{
    const MeshWishes& wishes = problem.adaption->memory.mesh_wishes;
    const double x0 = problem.set3.scale.x0;
    std::vector<double> wished;
    const double total = wished_points(problem, cv, wished);
    const double refine = std::max(wishes.refine, 1);
    const double factor = refine * thinning(problem, cv.mesh.nlayers, refine * total);
    Points points;
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) equal_parts(cv.mesh, j, wished, factor, points);
    Mesh mesh = mesh_of(points.x, points.n_in_layer, cv.mesh.nlayers, x0);
    if (problem.set3.convergence.include_generation_mesh != 0) {
        // Room for a row is no more than the potential leaves.
        double smallest = 2.0 * nm / x0;
        for (const double h : mesh.h)
            if (h > 0.0) smallest = std::min(smallest, h);
        merge_profile_grid(wishes.profile_x, wishes.profile_has_edges, x0, mesh, 0.5 * smallest * x0);
        mesh.measure(x0);
    }
    return mesh;
}

/// The new mesh with everything on it, light included.
void take_into_use(const Problem& problem, Workspace& work, Mesh&& mesh, CalculationVariables& cv)
{
    const MeshAdaption& adaption = *problem.adaption;
    const Mesh before = cv.mesh;
    carry_over(adaption, work, std::move(mesh), cv);
    relight(adaption, before, cv.mesh);
    adaption.memory.first_mesh = cv.mesh;
}

}  // namespace

bool fast_equilibrium_with_mesh(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    if (!problem.mesh_may_move()) return fast_equilibrium(problem, work, cv);
    const MeshAdaption& adaption = *problem.adaption;
    Mesh before = cv.mesh;
    carry_over(adaption, work, helper_mesh(problem.set3, before), cv);
    bool converged = fast_equilibrium(problem, work, cv);
    int steps = cv.iterations;
    for (int round = 0; converged && round < most_rounds; ++round) {
        if (round > 0 && !fast_mesh_wants_change(problem, cv, fast_mesh_too_steep)) break;
        carry_over(adaption, work, graded_mesh(problem, cv), cv);
        converged = fast_equilibrium_from_here(problem, work, cv) || fast_equilibrium(problem, work, cv);
        steps += cv.iterations;
    }
    if (!converged) {
        carry_over(adaption, work, std::move(before), cv);
        cv.iterations = -1;
        return false;
    }
    cv.iterations = cv.its_psi = steps;
    relight(adaption, before, cv.mesh);
    adaption.memory.first_mesh = cv.mesh;
    return true;
}

bool fast_mesh_wants_change(const Problem& problem, const CalculationVariables& cv, double too_much)
{
    if (!problem.mesh_may_move() || problem.adaption->memory.mesh_settled) return false;
    double largest = 0.0;
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        if (!holds_carriers(problem, j)) continue;
        for (std::size_t i = at(cv.mesh.first[j]) + 1; i <= at(cv.mesh.last[j]); ++i)
            largest = std::max(largest, steepness(problem, cv, j, i));
    }
    if (!(largest > too_much)) return false;
    std::vector<double> wished;
    const double total = wished_points(problem, cv, wished);
    return largest * thinning(problem, cv.mesh.nlayers, total) > too_much;
}

MeshChange fast_mesh_change(const Problem& problem, Workspace& work, CalculationVariables& cv, double too_much)
{
    if (!fast_mesh_wants_change(problem, cv, too_much)) return MeshChange::none;
    take_into_use(problem, work, graded_mesh(problem, cv), cv);
    return MeshChange::changed;
}

void fast_mesh_back(const Problem& problem, Workspace& work, const CalculationVariables& before,
                    CalculationVariables& cv)
{
    take_into_use(problem, work, Mesh(before.mesh), cv);
    cv = before;
    problem.adaption->memory.mesh_settled = true;
}

}  // namespace kovin
