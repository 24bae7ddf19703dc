#include "solver/mesh_adapt.h"

#include "base/report.h"
#include "base/text_format.h"
#include "device/on_mesh.h"
#include "solver/estimates.h"
#include "solver/optical_occupation.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kovin {

namespace {

constexpr int most_new_points = 5;      ///< in one link
constexpr int most_dropped_points = 4;  ///< in a row

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// The larger over the smaller of two positive values.
double rat(double a, double b) { return std::max(a, b) / std::min(a, b); }

/// The same of two rates by magnitude; `otherwise` across a change of sign.
double rat(double a, double b, double otherwise)
{
    const bool same_sign = (a > 0.0 && b > 0.0) || (a < 0.0 && b < 0.0);
    return same_sign ? rat(std::fabs(a), std::fabs(b)) : otherwise;
}

/// Ratios of the links (i - 1, i) of layer j at i.
void link_ratios(const Problem& problem, const CalculationVariables& cv, std::size_t j, std::vector<double>& r)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    const double otherwise = settings.mesh_ratio_min;
    // A normalised rate over the whole device as a current density; 1 uA/cm2 = 0.01 A/m2.
    const double j0 = problem.set3.scale.current(static_cast<int>(j));
    const double G_matters = 0.01 * settings.generation_limit / j0;
    const double R_matters = 0.01 * settings.recombination_limit / j0;
    const std::vector<double>&G = problem.G, &R = cv.terms_total.rec;
    const std::size_t first = at(cv.mesh.first[j]), last = at(cv.mesh.last[j]);
    r[first] = 1.0;
    for (std::size_t i = first + 1; i <= last; ++i) {
        r[i] = std::max({1.0, rat(cv.epsi[i], cv.epsi[i - 1]), rat(cv.expFn[i], cv.expFn[i - 1]),
                         rat(cv.expmFp[i], cv.expmFp[i - 1])});
        if (G[i] > G_matters || G[i - 1] > G_matters) r[i] = std::max(r[i], rat(G[i], G[i - 1], otherwise));
        if (std::fabs(R[i]) > R_matters || std::fabs(R[i - 1]) > R_matters)
            r[i] = std::max(r[i], rat(R[i], R[i - 1], otherwise));
    }
}

/// Appends the points of layer j as they shall be. @param changed  set if they differ from the present ones
/// @return false if there is no room for them
bool new_points(const Problem& problem, const Mesh& mesh, std::size_t j, std::vector<double>& r,
                std::vector<double>& x_new, bool& changed)
{
    const ConvergenceParameters& settings = problem.set3.convergence;
    const Mesh& first_mesh = problem.adaption->memory.first_mesh;
    const double largest = settings.mesh_ratio_max, smallest = settings.mesh_ratio_min;
    const std::size_t first = at(mesh.first[j]), last = at(mesh.last[j]);
    const auto put = [&](double x) {
        x_new.push_back(x);
        return x_new.size() <= max_mesh_points;
    };
    if (!put(mesh.x[first])) return false;
    int dropped = 0;
    for (std::size_t i = first + 1; i < last; ++i) {
        if (r[i] >= largest) {
            dropped = 0;
            const double wished = std::min<double>(most_new_points, std::log(r[i]) / std::log(largest) - 0.5);
            const int s = static_cast<int>(std::round(wished));
            changed = changed || s > 0;
            const double left = mesh.x[i - 1];
            for (int a = 0; a < s; ++a)
                if (!put((left * (s - a) + mesh.x[i] * (a + 1)) / (s + 1))) return false;
        } else if (r[i] * r[i + 1] <= smallest && dropped < most_dropped_points &&
                   !PointExists(first_mesh, j, mesh.x[i])) {
            changed = true;
            ++dropped;
            r[i + 1] *= r[i];
            continue;
        } else {
            dropped = 0;
        }
        if (!put(mesh.x[i])) return false;
    }
    return put(mesh.x[last]);
}

/// Tells once a calculation that there is no room for a refinement.
void warn_once(const Problem& problem)
{
    bool& told = problem.adaption->memory.mesh_full;
    if (!told && problem.report != nullptr)
        KOVINErrorMessage(*problem.report, "Warning",
                          "The mesh is full: a refinement would take more than " + integer(max_mesh_points) +
                              " points. The calculation goes on with the mesh as it is.");
    told = true;
}

}  // namespace

bool PointExists(const Mesh& mesh, std::size_t layer, double x)
{
    const auto first = mesh.x.begin() + mesh.first[layer];
    return std::binary_search(first, first + mesh.n_in_layer[layer], x);
}

MeshTransfer mesh_transfer(const Mesh& old_mesh, const Mesh& new_mesh)
{
    MeshTransfer transfer;
    transfer.left.reserve(at(new_mesh.N));
    transfer.share.reserve(at(new_mesh.N));
    const std::vector<double>& x = old_mesh.x;
    for (std::size_t j = 0; j < at(new_mesh.nlayers); ++j) {
        std::size_t k = at(old_mesh.first[j]);
        const std::size_t before_last = at(old_mesh.last[j]) - 1;
        for (std::size_t i = at(new_mesh.first[j]); i <= at(new_mesh.last[j]); ++i) {
            while (k < before_last && x[k + 1] <= new_mesh.x[i]) ++k;
            transfer.left.push_back(k);
            transfer.share.push_back((new_mesh.x[i] - x[k]) / (x[k + 1] - x[k]));
        }
    }
    return transfer;
}

namespace {

/// @param between  what lies between two neighbours, 0 < t < 1 of the way; points of the old mesh keep their values
template <class Between>
std::vector<double> transferred(const MeshTransfer& transfer, std::span<const double> old_values, Between between)
{
    std::vector<double> values(transfer.left.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double a = old_values[transfer.left[i]], b = old_values[transfer.left[i] + 1];
        const double t = transfer.share[i];
        values[i] = t == 0.0 ? a : t == 1.0 ? b : between(a, b, t);
    }
    return values;
}

}  // namespace

std::vector<double> InterpolateAndCopy(const MeshTransfer& transfer, std::span<const double> old_values)
{
    return transferred(transfer, old_values, [](double a, double b, double t) { return a + t * (b - a); });
}

std::vector<double> InterpolateLevel(const MeshTransfer& transfer, std::span<const double> old_levels)
{
    // From the higher end, so that the exponential never overflows.
    return transferred(transfer, old_levels, [](double a, double b, double t) {
        return a >= b ? a + std::log1p(t * std::expm1(b - a)) : b + std::log1p((1.0 - t) * std::expm1(a - b));
    });
}

Mesh mesh_of(const std::vector<double>& x, const std::array<int, max_layers>& n_in_layer, int layers, double x0)
{
    Mesh mesh;
    mesh.nlayers = layers;
    mesh.resize(static_cast<int>(x.size()));
    mesh.x = x;
    mesh.n_in_layer = n_in_layer;
    for (std::size_t j = 0, next = 0; j < at(layers); ++j) {
        mesh.first[j] = static_cast<int>(next);
        next += at(n_in_layer[j]);
        mesh.last[j] = static_cast<int>(next) - 1;
    }
    mesh.measure(x0);
    return mesh;
}

void carry_over(const MeshAdaption& adaption, Workspace& work, Mesh&& new_mesh, CalculationVariables& cv)
{
    const MeshTransfer transfer = mesh_transfer(cv.mesh, new_mesh);
    std::vector<double> psi = InterpolateAndCopy(transfer, cv.psi), Fn = InterpolateLevel(transfer, cv.Fn);
    for (double& F : cv.Fp) F = -F;  // v = exp(-Fp)
    std::vector<double> Fp = InterpolateLevel(transfer, cv.Fp);
    for (double& F : Fp) F = -F;

    cv.mesh = std::move(new_mesh);
    Full_x_Dependence(adaption.set3, cv.mesh);
    prepare_solver(adaption.set3, cv.mesh, adaption.memory);
    if (&work != &adaption.memory.work) prepare_workspace(adaption.set3, cv.mesh, adaption.memory.defects, work);
    cv.resize();
    cv.psi = std::move(psi);
    cv.Fn = std::move(Fn);
    cv.Fp = std::move(Fp);
    update_psivar(adaption.set3, cv);
    update_Fn(cv);
    update_Fp(cv);
}

void relight(const MeshAdaption& adaption, const Mesh& from, const Mesh& to)
{
    if (adaption.relight)
        adaption.relight(from, to);
    else
        adaption.G.assign(at(to.N), 0.0);
}

MeshChange RecalculateIntervals(const Problem& problem, Workspace& work, CalculationVariables& cv)
{
    if (!problem.mesh_may_move()) return MeshChange::none;
    bool changed = false;
    std::array<int, max_layers> n_in_layer{};
    work.new_x.clear();
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        link_ratios(problem, cv, j, work.link_ratio);
        const std::size_t before = work.new_x.size();
        if (!new_points(problem, cv.mesh, j, work.link_ratio, work.new_x, changed)) {
            warn_once(problem);
            return MeshChange::full;
        }
        n_in_layer[j] = static_cast<int>(work.new_x.size() - before);
    }
    if (!changed) return MeshChange::none;
    const Mesh old_mesh = cv.mesh;
    carry_over(*problem.adaption, work, mesh_of(work.new_x, n_in_layer, cv.mesh.nlayers, problem.set3.scale.x0), cv);
    relight(*problem.adaption, old_mesh, cv.mesh);
    IterateFt(problem, cv);
    return MeshChange::changed;
}

}  // namespace kovin
