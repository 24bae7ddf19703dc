#include "solver/small_signal.h"

#include "base/constants.h"
#include "device/boxes.h"

#include <algorithm>
#include <cmath>

namespace kovin {

namespace {

using Vector = SmallSignalWork::Vector;
using Block = SmallSignalWork::Block;

enum : std::size_t { to_psi = 0, to_Fn = 1, to_Fp = 2 };

std::size_t at(int i) { return static_cast<std::size_t>(i); }

/// Solves M X = X in place, Fn and Fp first: each continuity row is ruled by its own level, and what is left of
/// Poisson's row comes last. No rows are exchanged.
template <class Columns>
void eliminate(Block& M, Columns& X)
{
    const auto divide = [&](std::size_t k, std::initializer_list<std::size_t> columns) {
        const Complex r = inverse(M[k][k]);
        for (const std::size_t c : columns) M[k][c] = r * M[k][c];
        for (Complex& x : X[k]) x = r * x;
    };
    const auto subtract = [&](std::size_t k, std::size_t from, std::initializer_list<std::size_t> columns) {
        const Complex f = M[from][k];
        for (const std::size_t c : columns) M[from][c] -= f * M[k][c];
        for (std::size_t c = 0; c < X[k].size(); ++c) X[from][c] -= f * X[k][c];
    };
    divide(to_Fn, {to_psi, to_Fp});
    subtract(to_Fn, to_Fp, {to_psi, to_Fp});
    subtract(to_Fn, to_psi, {to_psi, to_Fp});
    divide(to_Fp, {to_psi});
    subtract(to_Fp, to_psi, {to_psi});
    divide(to_psi, {});
    subtract(to_psi, to_Fp, {});
    subtract(to_psi, to_Fn, {});
    subtract(to_Fp, to_Fn, {});
}

/// Block elimination in a form that keeps the digits of layers that exchange little with their surroundings. With A and
/// C the couplings of a row and S its sum, x[i-1] = x[i] - E[i-1] x[i] and
///
///     T = S - A E,   M = T - C,   E <- M^-1 T,   back: x[i] = x[i+1] - E[i] x[i+1]
///
/// The right-hand side is 0 at all points but the last, and so it stays. The row of psi at the left point l of an
/// interface also reaches the point behind its right point f, with a row d of elements:
///
///     x[l] = x[f] - E[l] x[f] - D d (x[f+1] - x[f]),   D = M^-1 (1, 0, 0),
///
/// so that the row of f has C - A D d at f + 1 in place of C, and all else stays as it is.
/// Source: Golub, Van Loan, Matrix Computations, section 4.5.
class Solve {
public:
    Solve(const Problem& problem, const CalculationVariables& state, double omega_normalised, SmallSignalWork& work)
        : cv(state),
          mesh(state.mesh),
          grid(problem.grid),
          half_cells(problem.set3.convergence.interfacial_half_cells != 0),
          omega(omega_normalised),
          w(work),
          rows(work.rows)
    {
    }

    void run()
    {
        const std::size_t N = at(mesh.N);
        for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
            const std::size_t first = at(mesh.first[j]), last = at(mesh.last[j]);
            if (j > 0)
                right_point(j - 1, first);
            else
                end_of_layer_row(first);
            for (std::size_t i = first + 1; i < last; ++i) inner_row(i);
            if (j + 1 < at(mesh.nlayers)) left_point(j, last);
        }
        last_row(N - 1);
        for (std::size_t j = at(mesh.nlayers); j-- > 0;) {
            const std::size_t first = at(mesh.first[j]), last = at(mesh.last[j]);
            if (last + 1 < N) {
                back(last);
                const Vector &d = w.behind[j], &step = w.step[last + 2];
                const Complex taken = d[to_psi] * step[to_psi] + d[to_Fn] * step[to_Fn] + d[to_Fp] * step[to_Fp];
                for (std::size_t r = 0; r < 3; ++r) add_step(last, r, w.D[j][r] * taken);
            }
            for (std::size_t i = last; i-- > first;) back(i);
        }
    }

private:
    [[nodiscard]] Block sums(std::size_t i) const
    {
        const AcPoissonRows& s = rows.psi;
        const AcCarrierRows &n = rows.n, &p = rows.p;
        return {{{{{s.sum_psi[i], 0.0}, {s.sum_Fn[i], 0.0}, {s.sum_Fp[i], 0.0}}},
                 {{{n.sum_psi[i], 0.0}, {n.sum_Fn[i], 0.0}, {n.sum_Fp[i], 0.0}}},
                 {{{p.sum_psi[i], 0.0}, {p.sum_Fn[i], 0.0}, {p.sum_Fp[i], 0.0}}}}};
    }

    /// T = S - A E of a row inside a layer or at its end, where A has five real elements.
    void subtract_left(std::size_t i, Block& T) const
    {
        const Block& E = w.E[i - 1];
        for (std::size_t c = 0; c < 3; ++c) {
            T[to_psi][c] -= rows.psi.sub[i] * E[to_psi][c];
            T[to_Fn][c] -= rows.n.sub_psi[i] * E[to_psi][c] + rows.n.sub[i] * E[to_Fn][c];
            T[to_Fp][c] -= rows.p.sub_psi[i] * E[to_psi][c] + rows.p.sub[i] * E[to_Fp][c];
        }
    }

    /// M = T - C where C has five real elements.
    [[nodiscard]] Block without_right(std::size_t i, const Block& T) const
    {
        Block M = T;
        M[to_psi][to_psi].re -= rows.psi.super[i];
        M[to_Fn][to_psi].re -= rows.n.super_psi[i];
        M[to_Fn][to_Fn].re -= rows.n.super[i];
        M[to_Fp][to_psi].re -= rows.p.super_psi[i];
        M[to_Fp][to_Fp].re -= rows.p.super[i];
        return M;
    }

    static void add(Block& to, const Block& more, double sign = 1.0)
    {
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t c = 0; c < 3; ++c) to[k][c] += sign * more[k][c];
    }

    static void subtract_product(Block& T, const Block& A, const Block& E)
    {
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t m = 0; m < 3; ++m)
                for (std::size_t c = 0; c < 3; ++c) T[k][c] -= A[k][m] * E[m][c];
    }

    /// Changes of the charge at a point, and of what electrons and holes lose there: the rate and what is stored.
    [[nodiscard]] Block charge_and_losses(std::size_t i) const
    {
        const DcTerms& t = cv.terms_total;
        const auto row = [&](AcRow terms, Complex by_Fn, Complex by_Fp) {
            by_Fn += Complex{w.bulk.Fn[terms].re[i], w.bulk.Fn[terms].im[i]};
            by_Fp += Complex{w.bulk.Fp[terms].re[i], w.bulk.Fp[terms].im[i]};
            return Vector{by_Fn + by_Fp, by_Fn, by_Fp};
        };
        const double u = cv.expFn[i], v = -cv.expmFp[i];
        return {row(ac_rho, {u * t.drho_du[i] - cv.n[i], 0.0}, {v * t.drho_dv[i] - cv.p[i], 0.0}),
                row(ac_Rn, {u * t.drec_du[i], omega * cv.n[i]}, {v * t.drec_dv[i], 0.0}),
                row(ac_Rp, {u * t.drec_du[i], 0.0}, {v * t.drec_dv[i], -omega * cv.p[i]})};
    }

    /// What the rows of boundary point k take from point i of its half cell, which holds the width of the rates there.
    [[nodiscard]] Block of_half_cell(std::size_t k, std::size_t i, double width, double charge = 0.0) const
    {
        Block B = charge_and_losses(i);
        const double factor[] = {charge, -rows.n.scale[k] * width, rows.p.scale[k] * width};
        for (std::size_t r = 0; r < 3; ++r)
            for (Complex& element : B[r]) element = factor[r] * element;
        return B;
    }

    /// Adds the half cell of boundary point k, which ends in the middle to its neighbour m, to the sums of its rows.
    /// @param charge_k, charge_m  factors of the charges in its row of psi @return the share of m; 0 without half cells
    Block add_half_cell(std::size_t k, std::size_t m, Block& sum, double charge_k = 0.0, double charge_m = 0.0) const
    {
        if (!half_cells) return {};
        const double h = mesh.h[std::min(k, m)];
        const Block next = of_half_cell(k, m, neighbour_half_cell * h, charge_m);
        add(sum, of_half_cell(k, k, own_half_cell * h, charge_k));
        add(sum, next);
        return next;
    }

    void end_of_layer_row(std::size_t i)
    {
        Block& T = w.E[i];
        T = sums(i);
        const Block next = add_half_cell(i, i + 1, T);
        Block M = without_right(i, T);
        add(M, next, -1.0);
        eliminate(M, T);
    }

    void inner_row(std::size_t i)
    {
        Block& T = w.E[i];
        T = sums(i);
        // What carriers and defects store.
        const AcTerms& b = w.bulk;
        const auto add = [&](std::size_t row, double factor, double n_storage, double p_storage, AcRow terms) {
            const Complex by_Fn{factor * b.Fn[terms].re[i], factor * b.Fn[terms].im[i] - omega * n_storage};
            const Complex by_Fp{factor * b.Fp[terms].re[i], factor * b.Fp[terms].im[i] - omega * p_storage};
            T[row][to_Fn] += by_Fn;
            T[row][to_Fp] += by_Fp;
            T[row][to_psi] += by_Fn + by_Fp;
        };
        add(to_psi, rows.psi.charge[i], 0.0, 0.0, ac_rho);
        add(to_Fn, -rows.n.rate[i], rows.n.storage[i], 0.0, ac_Rn);
        add(to_Fp, -rows.p.rate[i], 0.0, rows.p.storage[i], ac_Rp);
        subtract_left(i, T);
        Block M = without_right(i, T);
        eliminate(M, T);
    }

    /// What the states of an interface add to a row at a finite frequency: to psi and the levels of both sides.
    static void add_states(double factor, const std::array<Complex, 4>& terms, Vector& sum)
    {
        const Complex by_Fn = factor * (terms[0] + terms[1]), by_Fp = factor * (terms[2] + terms[3]);
        sum[to_Fn] += by_Fn;
        sum[to_Fp] += by_Fp;
        sum[to_psi] += by_Fn + by_Fp;
    }

    void left_point(std::size_t j, std::size_t l)
    {
        const AcInterfaceRows& r = rows.interfaces[j];
        const IfAcTerms& t = w.interfaces[j];
        Block& T = w.E[l];
        T = sums(l);
        const std::array<Complex, 4>* const terms[] = {&t.rho, &t.In_left, &t.Ip_left};
        const double factor[] = {r.sheet, r.n_left, r.p_left};
        for (std::size_t k = 0; k < 3; ++k) add_states(factor[k], *terms[k], T[k]);
        Vector& behind = w.behind[j];
        behind = {Complex{r.displacement, 0.0}, {}, {}};
        Vector at_f{};  // the charge of the half cell behind the interface
        if (half_cells) {
            const Discretisation::Interface& g = grid.interfaces[j];
            subtract_product(T, add_half_cell(l, l - 1, T, g.charge_l, g.charge_l1), w.E[l - 1]);
            const Vector f = charge_and_losses(l + 1)[to_psi], f1 = charge_and_losses(l + 2)[to_psi];
            for (std::size_t c = 0; c < 3; ++c) {
                at_f[c] = g.charge_f * f[c];
                behind[c] += g.charge_f1 * f1[c];
                T[to_psi][c] += at_f[c] + g.charge_f1 * f1[c];
            }
        }
        subtract_left(l, T);
        Block M = T;
        for (std::size_t c = 0; c < 3; ++c) M[to_psi][c] -= at_f[c] + behind[c];
        for (std::size_t k = 0; k < 3; ++k) {
            for (std::size_t c = 0; c < 3; ++c) M[k][c].re -= r.C[k][c];
            M[k][to_Fn] -= factor[k] * (*terms[k])[1];
            M[k][to_Fp] -= factor[k] * (*terms[k])[3];
        }
        // The elements outside the band as a fourth column.
        std::array<std::array<Complex, 4>, 3> X;
        for (std::size_t k = 0; k < 3; ++k) X[k] = {T[k][0], T[k][1], T[k][2], {}};
        X[to_psi][3].re = 1.0;
        eliminate(M, X);
        for (std::size_t k = 0; k < 3; ++k) {
            T[k] = {X[k][0], X[k][1], X[k][2]};
            w.D[j][k] = X[k][3];
        }
    }

    void right_point(std::size_t j, std::size_t f)
    {
        const AcInterfaceRows& r = rows.interfaces[j];
        const IfAcTerms& t = w.interfaces[j];
        Block& T = w.E[f];
        T = sums(f);
        Block A;
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t c = 0; c < 3; ++c) A[k][c] = {r.A[k][c], 0.0};
        add_states(r.n_right, t.In_right, T[to_Fn]);
        add_states(r.p_right, t.Ip_right, T[to_Fp]);
        A[to_Fn][to_Fn] += r.n_right * t.In_right[0];
        A[to_Fn][to_Fp] += r.n_right * t.In_right[2];
        A[to_Fp][to_Fn] += r.p_right * t.Ip_right[0];
        A[to_Fp][to_Fp] += r.p_right * t.Ip_right[2];
        subtract_product(T, A, w.E[f - 1]);
        Vector outside{};  // A D
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t m = 0; m < 3; ++m) outside[k] += A[k][m] * w.D[j][m];
        const Block next = add_half_cell(f, f + 1, T);
        Block M = without_right(f, T);
        add(M, next, -1.0);
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t c = 0; c < 3; ++c) M[k][c] += outside[k] * w.behind[j][c];
        eliminate(M, T);
    }

    /// At the right contact psi goes against the voltage, and carriers come and go by their excess over it.
    void last_row(std::size_t i)
    {
        Block M = sums(i);
        std::array<std::array<Complex, 1>, 3> X{};
        X[to_psi][0].re = -small_signal_amplitude;
        X[to_Fn][0].re = -small_signal_amplitude * rows.n.to_V;
        X[to_Fp][0].re = -small_signal_amplitude * rows.p.to_V;
        subtract_left(i, M);
        if (half_cells) subtract_product(M, add_half_cell(i, i - 1, M), w.E[i - 1]);
        eliminate(M, X);
        for (std::size_t k = 0; k < 3; ++k) w.x[i][k] = X[k][0];
    }

    void back(std::size_t i)
    {
        const Block& E = w.E[i];
        const Vector& x = w.x[i + 1];
        for (std::size_t k = 0; k < 3; ++k) {
            w.step[i + 1][k] = E[k][0] * x[0] + E[k][1] * x[1] + E[k][2] * x[2];
            w.x[i][k] = x[k] - w.step[i + 1][k];
        }
    }

    void add_step(std::size_t l, std::size_t k, Complex more)
    {
        w.step[l + 1][k] += more;
        w.x[l][k] -= more;
    }

    const CalculationVariables& cv;
    const Mesh& mesh;
    const Discretisation& grid;
    bool half_cells;
    double omega;
    SmallSignalWork& w;
    const AcRows& rows;
};

double median_of(std::vector<double>& values)
{
    const auto half = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), half, values.end());
    if (values.size() % 2 == 1) return *half;
    return 0.5 * (*half + *std::max_element(values.begin(), half));
}

/// Mean and median of the total current over the intervals that have a width.
void summarise(const Mesh& mesh, const std::vector<double>& j_tot, std::vector<double>& values, double& mean,
               double& median)
{
    values.clear();
    mean = 0.0;
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j)
        for (std::size_t i = at(mesh.first[j]); i < at(mesh.last[j]); ++i) {
            values.push_back(j_tot[i]);
            mean += j_tot[i];
        }
    mean /= static_cast<double>(values.size());
    median = median_of(values);
}

/// Currents of all intervals from the changes at their ends; ac_rows.h has the flux of a carrier.
void extract_small_signal_ac_currents(const Problem& problem, const CalculationVariables& cv, double omega_us,
                                      SmallSignalWork& work, SmallSignal& out)
{
    const Mesh& mesh = cv.mesh;
    const CalculationParameters& set3 = problem.set3;
    const auto& eps = set3.on.eps;
    const double displacement = -omega_us * vacuum_permittivity * set3.kT / set3.scale.x0;
    for (std::size_t j = 0; j < at(mesh.nlayers); ++j) {
        const double to_A_m2 = set3.scale.current(static_cast<int>(j));
        const std::size_t last = at(mesh.last[j]);
        for (std::size_t i = at(mesh.first[j]); i < last; ++i) {
            const Vector &x = work.x[i], &step = work.step[i + 1];
            const auto flux = [&](const AcLinks& link, std::size_t level) {
                return link.right[i + 1] * step[level] + link.net[i + 1] * (x[level] + x[to_psi]) +
                       link.slope[i + 1] * step[to_psi];
            };
            const Complex jn = to_A_m2 * flux(work.rows.n.link, to_Fn), jp = to_A_m2 * flux(work.rows.p.link, to_Fp);
            const double factor = displacement * 0.5 * (eps[i] + eps[i + 1]) / mesh.h[i];
            const Complex jd{-factor * step[to_psi].im, factor * step[to_psi].re};
            const Complex sum = jn + jp + jd;
            out.del_jn_re[i] = jn.re, out.del_jn_im[i] = jn.im;
            out.del_jp_re[i] = jp.re, out.del_jp_im[i] = jp.im;
            out.J_displ_re[i] = jd.re, out.J_displ_im[i] = jd.im;
            out.del_j_tot_re[i] = sum.re, out.del_j_tot_im[i] = sum.im;
        }
        for (auto* v : {&out.del_jn_re, &out.del_jn_im, &out.del_jp_re, &out.del_jp_im, &out.J_displ_re,
                        &out.J_displ_im, &out.del_j_tot_re, &out.del_j_tot_im})
            (*v)[last] = (*v)[last - 1];
    }
    summarise(mesh, out.del_j_tot_re, work.total, out.J_mean.re, out.J_median.re);
    summarise(mesh, out.del_j_tot_im, work.total, out.J_mean.im, out.J_median.im);
    out.volts = small_signal_amplitude * set3.kT;
    out.median = admittance(out.J_median, out);
    out.mean = admittance(out.J_mean, out);
}

}  // namespace

void SmallSignal::resize(std::size_t points)
{
    for (auto* v : {&del_Psi_re, &del_Psi_im, &del_u_re, &del_u_im, &del_v_re, &del_v_im, &del_jn_re, &del_jn_im,
                    &del_jp_re, &del_jp_im, &J_displ_re, &J_displ_im, &del_j_tot_re, &del_j_tot_im})
        v->resize(points);
}

void SmallSignalWork::resize(std::size_t points, std::size_t interfaces_count)
{
    if (x.size() == points && interfaces.size() == interfaces_count) return;
    rows.resize(points, interfaces_count);
    bulk.resize(points);
    interfaces.assign(interfaces_count, {});
    E.assign(points, {});
    behind.assign(interfaces_count, {});
    D.assign(interfaces_count, {});
    x.assign(points, {});
    step.assign(points, {});
    total.reserve(points);
}

void prepare_small_signal(const Problem& problem, const CalculationVariables& cv, SmallSignalWork& work)
{
    work.resize(cv.psi.size(), at(cv.mesh.nlayers - 1));
    calculate_ac_jacobian(problem, cv, work.rows);
}

bool solve_small_signal(const Problem& problem, const CalculationVariables& cv, double omega_us, SmallSignalWork& work,
                        SmallSignal& out)
{
    const double omega = problem.set3.scale.t0 * omega_us;
    totale_acr_bijdrage_multilevel(problem.defects, cv, omega, work.bulk);
    totale_ifracbijdrage(problem, cv, omega, work.interfaces);
    Solve(problem, cv, omega, work).run();

    const std::size_t N = cv.psi.size();
    out.resize(N);
    out.omega_us = omega_us;
    for (std::size_t i = 0; i < N; ++i) {
        const Vector& x = work.x[i];
        out.del_Psi_re[i] = x[to_psi].re, out.del_Psi_im[i] = x[to_psi].im;
        out.del_u_re[i] = x[to_Fn].re - small_signal_amplitude, out.del_u_im[i] = x[to_Fn].im;
        out.del_v_re[i] = x[to_Fp].re - small_signal_amplitude, out.del_v_im[i] = x[to_Fp].im;
    }
    extract_small_signal_ac_currents(problem, cv, omega_us, work, out);
    return std::isfinite(out.J_mean.re) && std::isfinite(out.J_mean.im);
}

SmallSignalCharges small_signal_charges(const Problem& problem, const CalculationVariables& cv,
                                        const SmallSignalWork& work)
{
    SmallSignalCharges out;
    const DcTerms& t = cv.terms_total;
    const auto &to_n = work.bulk.Fn[ac_rho], &to_p = work.bulk.Fp[ac_rho];
    for (std::size_t j = 0; j < at(cv.mesh.nlayers); ++j) {
        const double per_cm3 = 1e-6 * problem.set3.scale.N0[j];
        for (std::size_t i = at(cv.mesh.first[j]); i <= at(cv.mesh.last[j]); ++i) {
            const Complex psi = work.x[i][to_psi], Fn = work.x[i][to_Fn], Fp = work.x[i][to_Fp];
            out.n.push_back(per_cm3 * cv.n[i] * (psi + Fn));
            out.p.push_back(-per_cm3 * cv.p[i] * (psi + Fp));
            const Complex steady =
                t.drho_dpsi[i] * psi + (cv.expFn[i] * t.drho_du[i]) * Fn - (cv.expmFp[i] * t.drho_dv[i]) * Fp;
            const Complex delay =
                Complex{to_n.re[i], to_n.im[i]} * (psi + Fn) + Complex{to_p.re[i], to_p.im[i]} * (psi + Fp);
            out.defects.push_back(per_cm3 * (steady + delay));
        }
    }
    return out;
}

bool calculate_small_signal_ac(const Problem& problem, const CalculationVariables& cv, double omega_us,
                               SmallSignalWork& work, SmallSignal& out)
{
    prepare_small_signal(problem, cv, work);
    return solve_small_signal(problem, cv, omega_us, work, out);
}

}  // namespace kovin
