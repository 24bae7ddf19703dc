// Geometry and material factors of the box scheme; see residuals for the equations they stand in.
#include "solver/bulk_defects.h"
#include "solver/interface_states.h"
#include "solver/problem.h"
#include "solver/residuals.h"

namespace kovin {

namespace {

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Factors of one continuity equation; D and W of its carrier.
struct CarrierFactors {
    const std::vector<double>&D, &W;
    std::vector<double>&source, &left, &right, &C, &current;
};

void carrier_factors(const CalculationParameters& set3, const Mesh& mesh, const CarrierFactors& c)
{
    const bool half_cells = set3.convergence.interfacial_half_cells != 0;
    for (int j = 0; j < mesh.nlayers; ++j) {
        const std::size_t first = at(mesh.first[at(j)]), last = at(mesh.last[at(j)]);
        const double D_mean = 0.5 * (c.D[first] + c.D[last]);
        const double to_current = 0.1 * set3.scale.current(j);
        for (std::size_t i = first + 1; i < last; ++i) {
            const double H = mesh.h[i - 1] + mesh.h[i];
            c.source[i] = 0.25 * H * H / (c.W[i] * D_mean);
            c.left[i] = 0.25 * H / mesh.h[i - 1] * (c.D[i - 1] + c.D[i]) / D_mean;
            c.right[i] = 0.25 * H / mesh.h[i] * (c.D[i + 1] + c.D[i]) / D_mean;
        }
        for (std::size_t i = first + 1; i <= last; ++i)
            c.current[i] = to_current * 0.5 * (c.D[i] + c.D[i - 1]) * c.W[i - 1] / mesh.h[i - 1];
        const double h_first = mesh.h[first], h_last = mesh.h[last - 1];
        c.C[first] = 2.0 * h_first / (c.D[first] + c.D[first + 1]);
        c.C[last] = 2.0 * h_last / (c.D[last] + c.D[last - 1]);
        c.source[first] = half_cells ? c.C[first] * h_first / c.W[first] : 0.0;
        c.source[last] = half_cells ? c.C[last] * h_last / c.W[last] : 0.0;
    }
}

void poisson_factors(const CalculationParameters& set3, const Mesh& mesh, Discretisation& grid)
{
    const auto& eps = set3.on.eps;
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
        const std::size_t first = at(mesh.first[j]), last = at(mesh.last[j]);
        const double eps_mean = 0.5 * (eps[first] + eps[last]);
        for (std::size_t i = first + 1; i < last; ++i) {
            const double H = mesh.h[i - 1] + mesh.h[i];
            grid.psi_charge[i] = 0.25 * H * H / set3.scale.Lambda[j];
            grid.psi_left[i] = 0.25 * H / mesh.h[i - 1] * (eps[i - 1] + eps[i]) / eps_mean;
            grid.psi_right[i] = 0.25 * H / mesh.h[i] * (eps[i + 1] + eps[i]) / eps_mean;
        }
    }
}

/// Rows of interface j, between its left point l and its right point f.
Discretisation::Interface interface_factors(const CalculationParameters& set3, const Mesh& mesh, std::size_t j)
{
    const OnMesh& on = set3.on;
    const auto& eps = on.eps;
    const std::size_t l = at(mesh.last[j]), f = l + 1;
    const double hl = mesh.h[l - 1], hf = mesh.h[f];
    const double N_left = set3.scale.N0[j], N_right = set3.scale.N0[j + 1];
    // a and b extrapolate the flux to the interface from the permittivity at a quarter step.
    const double a = (eps[l] + 3.0 * eps[l - 1]) / (3.0 * eps[l] + eps[l - 1]);
    const double b = (eps[f] + 3.0 * eps[f + 1]) / (3.0 * eps[f] + eps[f + 1]);
    const double row = (hf + hl) / (eps[f] + eps[l]);
    Discretisation::Interface r;
    r.row_scale = row;
    r.sheet = row * set3.scale.x0 / (set3.kT * vacuum_permittivity);
    r.left = row * a * eps[l] / hl;
    r.right = row * b * eps[f] / hf;
    if (set3.convergence.interfacial_half_cells != 0) {
        const double c = row * set3.scale.x0 * set3.scale.x0 * elementary_charge / (set3.kT * vacuum_permittivity);
        r.charge_l = c * own_half_cell * N_left * hl;
        r.charge_l1 = c * neighbour_half_cell * N_left * hl * eps[l] / eps[l - 1];
        r.charge_f = c * own_half_cell * N_right * hf;
        r.charge_f1 = c * neighbour_half_cell * N_right * hf * eps[f] / eps[f + 1];
    }
    r.vn = set3.vn_if[j];
    r.vp = set3.vp_if[j];
    r.n_ratio = N_left * on.Wn[l] / (N_right * on.Wn[f]);
    r.p_ratio = N_left * on.Wp[l] / (N_right * on.Wp[f]);
    return r;
}

void discretise(const CalculationParameters& set3, const Mesh& mesh, Discretisation& g)
{
    for (auto* v : {&g.psi_charge, &g.psi_left, &g.psi_right, &g.n_source, &g.p_source, &g.n_left, &g.n_right,
                    &g.p_left, &g.p_right, &g.n_C, &g.p_C, &g.n_current, &g.p_current})
        v->assign(at(mesh.N), 0.0);
    poisson_factors(set3, mesh, g);
    carrier_factors(set3, mesh, {set3.on.Dn, set3.on.Wn, g.n_source, g.n_left, g.n_right, g.n_C, g.n_current});
    carrier_factors(set3, mesh, {set3.on.Dp, set3.on.Wp, g.p_source, g.p_left, g.p_right, g.p_C, g.p_current});
    g.interfaces.clear();
    for (std::size_t j = 0; j + 1 < at(mesh.nlayers); ++j) g.interfaces.push_back(interface_factors(set3, mesh, j));
}

}  // namespace

void Workspace::resize(std::size_t points, std::size_t layers, bool coupled)
{
    for (auto* v :
         {&res, &sub, &main, &super, &delta, &t, &rho_total, &psi_before, &Fn_before, &Fp_before, &search_from,
          &search_res, &currents.j_n, &currents.j_p, &currents.j_tot, &currents.sorted, &link_ratio})
        v->assign(points, 0.0);
    new_x.reserve(max_mesh_points);
    relaxation.resize(points);
    extra.assign(layers, 0.0);
    E.assign(layers, 0.0);
    if (!coupled) return;
    block.resize(points, layers - 1);
    for (auto* v : {&psi_start, &Fn_start, &Fp_start}) v->assign(points, 0.0);
}

void prepare_solver(const CalculationParameters& set3, const Mesh& mesh, SolverMemory& memory)
{
    discretise(set3, mesh, memory.grid);
    define_defects(set3, mesh, memory.defects);
    define_interface_states(set3, mesh, memory.interface_states);
    prepare_workspace(set3, mesh, memory.defects, memory.work);
}

void prepare_workspace(const CalculationParameters& set3, const Mesh& mesh, const BulkDefects& defects, Workspace& work)
{
    work.resize(at(mesh.N), at(mesh.nlayers), is_coupled(set3.convergence.coupling_scheme));
    work.tunnel.prepare(mesh, set3.tunnel.any());
    if (set3.convergence.route == Route::fast) work.fast.prepare(set3, mesh, defects);
}

}  // namespace kovin
