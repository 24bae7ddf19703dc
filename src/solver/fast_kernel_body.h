// The loops of the fast route's kernel. Each build includes this file once, after it has defined KOVIN_KERNEL_BUILD,
// the name of its namespace.
//
// Nothing from the standard library is called in here: an inline function of it, compiled with the wider instructions
// of one build, could be picked by the linker for the whole program.
#include "solver/fast_kernel.h"
#include "solver/fast_math.h"
#include "solver/level_loop.h"

namespace kovin::KOVIN_KERNEL_BUILD {

namespace {

/// Below this step of a quasi-Fermi level [kT] a flux is formed from the step, above from its two parts.
constexpr double small_step = 0.4;
/// Keeps the rows of fully depleted points regular: below every element that counts.
constexpr double depleted_row = 1e-270;

/// B(t) for t >= 0, and its slope.
struct Bernoulli {
    double value, slope;
};
[[gnu::always_inline]] inline Bernoulli bernoulli_of_positive(double t)
{
    // B = t e/(1 - e), e = exp(-t); B' = (1 - B(-t)) B(t)/t with B(-t) = B(t) + t. Series below t = 0.02; the terms
    // left out are t^8/1209600 and t^7/1209600.
    const double e = exp_inline(-t), z = t * t;
    const double safe = t < 0.02 ? 0.02 : t;
    const double far = safe * e / (1.0 - e);
    const double far_slope = (1.0 - far - safe) * far / safe;
    const double near = 1.0 - 0.5 * t + z * (1.0 / 12.0 - z * (1.0 / 720.0 - z / 30240.0));
    const double near_slope = -0.5 + t * (1.0 / 6.0 - z * (1.0 / 180.0 - z / 5040.0));
    return {t < 0.02 ? near : far, t < 0.02 ? near_slope : far_slope};
}

/// B(d), B(-d) and their slopes to their arguments.
struct BernoulliBoth {
    double plus, minus, plus_slope, minus_slope;
};
[[gnu::always_inline]] inline BernoulliBoth bernoulli_both(double d)
{
    const double t = __builtin_fabs(d);
    const Bernoulli b = bernoulli_of_positive(t);
    const double other = b.value + t, other_slope = -1.0 - b.slope;
    const bool negative = d < 0.0;
    return {negative ? other : b.value, negative ? b.value : other, negative ? other_slope : b.slope,
            negative ? b.slope : other_slope};
}

void carrier_densities(const FastArrays& a)
{
    const double *psi = a.psi, *Fn = a.Fn, *Fp = a.Fp, *lnWn = a.lnWn, *lnWp = a.lnWp;
    double *n = a.n, *p = a.p, *P = a.P;
#pragma GCC ivdep
    for (std::size_t i = 0; i < a.N; ++i) {
        n[i] = exp_inline(lnWn[i] + psi[i] + Fn[i]);
        p[i] = exp_inline(lnWp[i] - psi[i] - Fp[i]);
        P[i] = expm1_inline(Fn[i] - Fp[i]);
    }
}

template <bool graded>
void fluxes(const FastArrays& a, std::size_t first, std::size_t last)
{
    const double *psi = a.psi, *Fn = a.Fn, *Fp = a.Fp, *dGn = a.dGn, *dGp = a.dGp, *gn = a.gn, *gp = a.gp;
    const double *n = a.n, *p = a.p;
    double *jn = a.jn, *jn_left = a.jn_left, *jn_right = a.jn_right, *jn_psi = a.jn_psi;
    double *jp = a.jp, *jp_left = a.jp_left, *jp_right = a.jp_right, *jp_psi = a.jp_psi;
#pragma GCC ivdep
    for (std::size_t i = first + 1; i <= last; ++i) {
        const double dpsi = psi[i] - psi[i - 1];
        const BernoulliBoth bn = bernoulli_both(dpsi + dGn[i]);
        const BernoulliBoth bp = graded ? bernoulli_both(dpsi + dGp[i]) : bn;
        const double dFn = Fn[i] - Fn[i - 1], dFp = Fp[i] - Fp[i - 1];

        const double n_from_left = gn[i] * n[i - 1] * bn.minus, n_from_right = gn[i] * n[i] * bn.plus;
        const double n_near = n_from_left * expm1_series(dFn), n_far = n_from_right - n_from_left;
        jn[i] = __builtin_fabs(dFn) < small_step ? n_near : n_far;
        jn_left[i] = n_from_left;
        jn_right[i] = n_from_right;
        jn_psi[i] = gn[i] * (n[i] * bn.plus_slope + n[i - 1] * bn.minus_slope);

        const double p_from_left = gp[i] * p[i - 1] * bp.plus, p_from_right = gp[i] * p[i] * bp.minus;
        const double p_near = p_from_left * expm1_series(-dFp), p_far = p_from_right - p_from_left;
        jp[i] = __builtin_fabs(dFp) < small_step ? p_near : p_far;
        jp_left[i] = p_from_left;
        jp_right[i] = p_from_right;
        jp_psi[i] = -gp[i] * (p[i] * bp.minus_slope + p[i - 1] * bp.plus_slope);
    }
}

void carriers(const FastArrays& a)
{
    carrier_densities(a);
    for (std::size_t j = 0; j < a.layers; ++j) {
        const FastLayer& layer = a.layer[j];
        if (layer.graded)
            fluxes<true>(a, layer.first, layer.last);
        else
            fluxes<false>(a, layer.first, layer.last);
    }
}

void band_to_band(const FastArrays& a, std::size_t first, std::size_t last)
{
    const double *n = a.n, *p = a.p, *P = a.P, *ni2 = a.ni2, *K = a.K_rad, *Cn = a.auger_n, *Cp = a.auger_p;
    double *R = a.R, *R_n = a.R_n, *R_p = a.R_p;
#pragma GCC ivdep
    for (std::size_t i = first; i <= last; ++i) {
        const double excess = P[i] * ni2[i], both = excess + ni2[i];
        const double auger_n = Cn[i] * n[i], auger_p = Cp[i] * p[i], rate = K[i] + auger_n + auger_p;
        R[i] += rate * excess;
        R_n[i] += rate * both + auger_n * excess;
        R_p[i] += rate * both + auger_p * excess;
    }
}

void terms(const FastArrays& a)
{
    {
        const double *n = a.n, *p = a.p, *doping = a.doping;
        double *rho = a.rho, *rho_n = a.rho_n, *rho_p = a.rho_p, *R = a.R, *R_n = a.R_n, *R_p = a.R_p;
#pragma GCC ivdep
        for (std::size_t i = 0; i < a.N; ++i) {
            rho[i] = (p[i] - n[i]) + doping[i];
            rho_n[i] = -n[i];
            rho_p[i] = p[i];
            R[i] = R_n[i] = R_p[i] = 0.0;
        }
    }
    for (std::size_t k = 0; k < a.levels; ++k) {
        const FastLevel& level = a.level[k];
        const std::size_t f = level.first;
        const LevelRates rates{level.Nt,     level.cn,      level.cp,      level.en,    level.ep,
                               level.charge, level.charged, level.thermal, level.excess};
        const LevelCarriers with{a.n + f, a.p + f, a.n + f, a.p + f, a.P + f};
        const LevelSums sums{a.rho + f, nullptr, a.rho_n + f, a.rho_p + f, a.R + f, nullptr, a.R_n + f, a.R_p + f};
        if (level.thermal == nullptr)
            level_loop<Terms::carriers>(level.count, rates, with, sums);
        else
            level_loop<Terms::carriers, true>(level.count, rates, with, sums);
    }
    for (std::size_t j = 0; j < a.layers; ++j)
        if (a.layer[j].band_to_band) band_to_band(a, a.layer[j].first, a.layer[j].last);
}

/// One carrier's flux, slopes, rows. `slope` is to its own density, `cross` to the other one's.
struct Continuity {
    const double *flux, *left, *right, *psi, *density, *old, *slope, *cross;
    double *A_psi, *A, *C_psi, *C, *S_own, *S_other, *r;
};

void continuity_rows(const FastArrays& a, const Continuity& c, std::size_t first, std::size_t last)
{
    const double *flux = c.flux, *left = c.left, *right = c.right, *psi = c.psi, *slope = c.slope, *cross = c.cross;
    const double *w = a.w, *R = a.R, *G = a.G, *density = c.density, *old = c.old;
    const double per_dt = a.per_dt;
    double *A_psi = c.A_psi, *A = c.A, *C_psi = c.C_psi, *C = c.C, *S_own = c.S_own, *S_other = c.S_other, *r = c.r;
#pragma GCC ivdep
    for (std::size_t i = first + 1; i < last; ++i) {
        const double net = flux[i + 1] - flux[i], storage = w[i] * per_dt;
        const double own = w[i] * slope[i] + storage * density[i];
        const double scale = 1.0 / (left[i + 1] + right[i] + own + depleted_row);
        A_psi[i] = -psi[i] * scale;
        C_psi[i] = -psi[i + 1] * scale;
        A[i] = -left[i] * scale;
        C[i] = -right[i + 1] * scale;
        S_own[i] = (own - net) * scale;
        S_other[i] = w[i] * cross[i] * scale;
        r[i] = (net - w[i] * (R[i] - G[i]) - storage * (density[i] - old[i])) * scale;
    }
}

void poisson_rows(const FastArrays& a, std::size_t first, std::size_t last)
{
    const double *left = a.psi_left, *right = a.psi_right, *charge = a.charge, *psi = a.psi;
    const double *rho = a.rho, *rho_n = a.rho_n, *rho_p = a.rho_p;
    double *S_n = a.psi_S_n, *S_p = a.psi_S_p, *r = a.psi_r;
#pragma GCC ivdep
    for (std::size_t i = first + 1; i < last; ++i) {
        S_n[i] = -charge[i] * rho_n[i];
        S_p[i] = -charge[i] * rho_p[i];
        r[i] = right[i] * (psi[i + 1] - psi[i]) - left[i] * (psi[i] - psi[i - 1]) + charge[i] * rho[i];
    }
}

void rows(const FastArrays& a)
{
    const Continuity n{a.jn,      a.jn_left, a.jn_right, a.jn_psi, a.n,     a.n_old, a.R_n, a.R_p,
                       a.n_A_psi, a.n_A,     a.n_C_psi,  a.n_C,    a.n_S_n, a.n_S_p, a.n_r};
    const Continuity p{a.jp,      a.jp_left, a.jp_right, a.jp_psi, a.p,     a.p_old, a.R_p, a.R_n,
                       a.p_A_psi, a.p_A,     a.p_C_psi,  a.p_C,    a.p_S_p, a.p_S_n, a.p_r};
    for (std::size_t j = 0; j < a.layers; ++j) {
        const std::size_t first = a.layer[j].first, last = a.layer[j].last;
        poisson_rows(a, first, last);
        continuity_rows(a, n, first, last);
        continuity_rows(a, p, first, last);
    }
}

// Elimination without cancellation. With the row sums S = A + B + C known from the physics, and not as differences of
// large numbers, a layer that hardly exchanges anything with its surroundings keeps its relative accuracy:
//
//     T = S - A E,   M = T - C,   E <- M^-1 T,   y = M^-1 (r - A y),   back: x[i] = x[i+1] + (y[i] - E[i] x[i+1])
//
// E stands for 1 + M^-1 C of the usual form. The 3x3 inverses are by cofactors.

/// From T and C of a row, and v = r - A y: E and y.
[[gnu::always_inline]] inline void finish_row(const double* T, const double* M, const double* v, double* E, double* y)
{
    const double c00 = M[4] * M[8] - M[5] * M[7], c01 = M[5] * M[6] - M[3] * M[8], c02 = M[3] * M[7] - M[4] * M[6];
    const double c10 = M[2] * M[7] - M[1] * M[8], c11 = M[0] * M[8] - M[2] * M[6], c12 = M[1] * M[6] - M[0] * M[7];
    const double c20 = M[1] * M[5] - M[2] * M[4], c21 = M[2] * M[3] - M[0] * M[5], c22 = M[0] * M[4] - M[1] * M[3];
    const double inv = 1.0 / (M[0] * c00 + M[1] * c01 + M[2] * c02);
    for (int k = 0; k < 3; ++k) {
        const double t0 = T[k] * inv, t1 = T[3 + k] * inv, t2 = T[6 + k] * inv;
        E[k] = c00 * t0 + c10 * t1 + c20 * t2;
        E[3 + k] = c01 * t0 + c11 * t1 + c21 * t2;
        E[6 + k] = c02 * t0 + c12 * t1 + c22 * t2;
    }
    const double v0 = v[0] * inv, v1 = v[1] * inv, v2 = v[2] * inv;
    y[0] = c00 * v0 + c10 * v1 + c20 * v2;
    y[1] = c01 * v0 + c11 * v1 + c21 * v2;
    y[2] = c02 * v0 + c12 * v1 + c22 * v2;
}

/// A row in full; E and y come in as those of the point before.
void full_row(const FastFullRow& row, double* E, double* y)
{
    double T[9], M[9], v[3];
    for (int k = 0; k < 3; ++k) {
        const double a0 = row.A[3 * k], a1 = row.A[3 * k + 1], a2 = row.A[3 * k + 2];
        for (int m = 0; m < 3; ++m) {
            T[3 * k + m] = row.S[3 * k + m] - (a0 * E[m] + a1 * E[3 + m] + a2 * E[6 + m]);
            M[3 * k + m] = T[3 * k + m] - row.C[3 * k + m];
        }
        v[k] = row.r[k] - (a0 * y[0] + a1 * y[1] + a2 * y[2]);
    }
    finish_row(T, M, v, E, y);
}

void inner_row(const FastArrays& a, std::size_t i, double* E, double* y)
{
    const double apsi = -a.psi_left[i], cpsi = -a.psi_right[i];
    const double an0 = a.n_A_psi[i], an1 = a.n_A[i], ap0 = a.p_A_psi[i], ap2 = a.p_A[i];
    const double T[9] = {-apsi * E[0],
                         a.psi_S_n[i] - apsi * E[1],
                         a.psi_S_p[i] - apsi * E[2],
                         -(an0 * E[0] + an1 * E[3]),
                         a.n_S_n[i] - (an0 * E[1] + an1 * E[4]),
                         a.n_S_p[i] - (an0 * E[2] + an1 * E[5]),
                         -(ap0 * E[0] + ap2 * E[6]),
                         a.p_S_n[i] - (ap0 * E[1] + ap2 * E[7]),
                         a.p_S_p[i] - (ap0 * E[2] + ap2 * E[8])};
    const double M[9] = {T[0] - cpsi,         T[1], T[2],           T[3] - a.n_C_psi[i], T[4] - a.n_C[i], T[5],
                         T[6] - a.p_C_psi[i], T[7], T[8] - a.p_C[i]};
    const double v[3] = {a.psi_r[i] - apsi * y[0], a.n_r[i] - (an0 * y[0] + an1 * y[1]),
                         a.p_r[i] - (ap0 * y[0] + ap2 * y[2])};
    finish_row(T, M, v, E, y);
}

void eliminate(const FastArrays& a)
{
    double E[9] = {}, y[3] = {};
    const auto keep = [&](std::size_t i) {
        for (std::size_t k = 0; k < 9; ++k) a.E[9 * i + k] = E[k];
        for (std::size_t k = 0; k < 3; ++k) a.x[3 * i + k] = y[k];
    };
    for (std::size_t j = 0; j < a.layers; ++j) {
        const std::size_t first = a.layer[j].first, last = a.layer[j].last;
        full_row(a.full[2 * j], E, y);
        keep(first);
        for (std::size_t i = first + 1; i < last; ++i) {
            inner_row(a, i, E, y);
            keep(i);
        }
        full_row(a.full[2 * j + 1], E, y);
        keep(last);
    }
    double x0 = y[0], x1 = y[1], x2 = y[2];
    for (std::size_t i = a.N - 1; i-- > 0;) {
        const double* e = a.E + 9 * i;
        double* x = a.x + 3 * i;
        const double n0 = x0 + (x[0] - (e[0] * x0 + e[1] * x1 + e[2] * x2));
        const double n1 = x1 + (x[1] - (e[3] * x0 + e[4] * x1 + e[5] * x2));
        const double n2 = x2 + (x[2] - (e[6] * x0 + e[7] * x1 + e[8] * x2));
        x[0] = x0 = n0;
        x[1] = x1 = n1;
        x[2] = x2 = n2;
    }
}

FastStep update(const FastArrays& a, double psi_limit)
{
    // psi is one at the two points of an interface, and given at the contacts.
    a.x[0] = a.x[3 * (a.N - 1)] = 0.0;
    for (std::size_t j = 0; j + 1 < a.layers; ++j) a.x[3 * a.layer[j + 1].first] = a.x[3 * a.layer[j].last];

    FastStep step;
    double sum = 0.0;  // not a number if any element is not
    for (std::size_t i = 0; i < a.N; ++i) {
        const double size = __builtin_fabs(a.x[3 * i]);
        sum += size + __builtin_fabs(a.x[3 * i + 1]) + __builtin_fabs(a.x[3 * i + 2]);
        if (size > step.psi) {
            step.psi = size;
            step.psi_at = i;
        }
    }
    step.is_number = sum - sum == 0.0;
    if (!step.is_number) return step;
    const double f = step.psi > psi_limit ? psi_limit / step.psi : 1.0;
    step.share = f;
    step.psi *= f;
    double *psi = a.psi, *Fn = a.Fn, *Fp = a.Fp, *ln_n = a.ln_n, *ln_p = a.ln_p;
    const double* x = a.x;
    constexpr double floor = 0.1 - 1.0;  // densities fall to a tenth at most
#pragma GCC ivdep
    for (std::size_t i = 0; i < a.N; ++i) {
        const double dpsi = f * x[3 * i];
        double dn = f * x[3 * i + 1], dp = f * x[3 * i + 2];
        dn = dn < floor ? floor : dn;
        dp = dp < floor ? floor : dp;
        ln_n[i] = log1p_inline(dn);
        ln_p[i] = log1p_inline(dp);
        psi[i] += dpsi;
        Fn[i] += ln_n[i] - dpsi;
        Fp[i] -= ln_p[i] + dpsi;
    }
    for (std::size_t i = 0; i < a.N; ++i) {
        if (__builtin_fabs(ln_n[i]) > step.ln_n) {
            step.ln_n = __builtin_fabs(ln_n[i]);
            step.n_at = i;
        }
        if (__builtin_fabs(ln_p[i]) > step.ln_p) {
            step.ln_p = __builtin_fabs(ln_p[i]);
            step.p_at = i;
        }
    }
    return step;
}

}  // namespace

/// The loops of this build, by name.
constexpr FastKernel loops(const char* name) { return {name, carriers, terms, rows, eliminate, update}; }

}  // namespace kovin::KOVIN_KERNEL_BUILD
