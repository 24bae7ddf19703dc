// The inner loops of the fast route: physics, rows, elimination and update of one Newton step for psi, n and p
// together.
//
// fast_kernel_body.h holds the loops; it is compiled once for every processor and once more with wider instructions,
// and `fast_kernel` hands out the better one that this processor runs. The structures here are plain pointers, so that
// nothing but these loops is compiled twice.
//
// Unknowns of the linear system are dpsi, a = dn/n and b = dp/p. With n and p as unknowns beside psi, charge and rates
// have no slope to psi, and a block of the matrix off its diagonal has five elements.
// Source: Selberherr, Analysis and Simulation of Semiconductor Devices (1984), chapters 5 to 7; Scharfetter, Gummel,
// IEEE Trans. Electron Devices 16 (1969) 64.
#pragma once

#include <cstddef>

namespace kovin {

/// Points first to last of one layer.
struct FastLayer {
    std::size_t first = 0, last = 0;
    bool graded = false;        ///< the band edges change within the layer, not alike for electrons and holes
    bool band_to_band = false;  ///< radiative or Auger recombination
};

/// One discrete energy of a defect with a single level; see DefectEnergy. `count` values from mesh point `first` on.
struct FastLevel {
    std::size_t first = 0, count = 0;
    const double *Nt = nullptr, *cn = nullptr, *cp = nullptr, *en = nullptr, *ep = nullptr;
    double charge = 0.0, charged = 0.0;
    const double *thermal = nullptr, *excess = nullptr;  ///< null where the level absorbs no light
};

/// A row at a contact or beside an interface: 3x3 blocks in full, row after row, in the order psi, n, p. S is the sum
/// of the three blocks of the row.
struct FastFullRow {
    double A[9], S[9], C[9], r[3];
};

/// What the loops read and write. One value a mesh point; a quantity of the interval (i - 1, i) stands at i. Densities,
/// rates and fluxes in the units of their layer: N0, D0 N0/x0^2, D0 N0/x0.
struct FastArrays {
    std::size_t N = 0;
    std::size_t layers = 0, levels = 0;
    const FastLayer* layer = nullptr;
    const FastLevel* level = nullptr;

    // geometry and material
    const double *lnWn, *lnWp;           ///< n = exp(lnWn + psi + Fn), p = exp(lnWp - psi - Fp)
    const double *dGn, *dGp;             ///< steps of the band terms
    const double *gn, *gp;               ///< D/h
    const double *psi_left, *psi_right;  ///< share of either neighbour in psi; their sum is 1
    const double* charge;                ///< factor of the charge in the row of psi
    const double* w;                     ///< width of the box
    const double *doping, *ni2;          ///< Nd - Na; Wn Wp
    const double *K_rad, *auger_n, *auger_p;
    const double* G;

    // state
    double *psi, *Fn, *Fp;

    // physics: slopes are to ln n and ln p
    double *n, *p, *P;  ///< P = exp(Fn - Fp) - 1
    double *rho, *rho_n, *rho_p, *R, *R_n, *R_p;
    double *jn, *jn_left, *jn_right, *jn_psi;  ///< flux; -slope to a[i-1], slope to a[i], slope to psi[i] - psi[i-1]
    double *jp, *jp_left, *jp_right, *jp_psi;

    // rows: coupling to i - 1 and i + 1 of psi and the own carrier, sums of the row, residual; scaled by the diagonal
    double *n_A_psi, *n_A, *n_C_psi, *n_C, *n_S_n, *n_S_p, *n_r;
    double *p_A_psi, *p_A, *p_C_psi, *p_C, *p_S_n, *p_S_p, *p_r;
    double *psi_S_n, *psi_S_p, *psi_r;
    FastFullRow* full;  ///< two a layer: its first and its last point

    double* E;            ///< 9 a point
    double* x;            ///< 3 a point: the step
    double *ln_n, *ln_p;  ///< changes of ln n and ln p that the update made

    // pseudo-transient: rate 1/dt, densities before the time step; rate 0 without
    double per_dt = 0.0;
    const double *n_old, *p_old;
};

/// Size of one update: the largest changes of psi [kT], ln n and ln p, where they are, and the share f of the step of
/// psi and of the relative steps that was made.
struct FastStep {
    double psi = 0.0, ln_n = 0.0, ln_p = 0.0;
    std::size_t psi_at = 0, n_at = 0, p_at = 0;
    double share = 1.0;
    bool is_number = true;
};

struct FastKernel {
    const char* name;
    void (*carriers)(const FastArrays&);   ///< n, p, P and the fluxes inside the layers
    void (*terms)(const FastArrays&);      ///< sets charge and rates: doping, carriers, single levels, band to band
    void (*rows)(const FastArrays&);       ///< the rows inside the layers
    void (*eliminate)(const FastArrays&);  ///< solves for x; see fast_kernel_body.h
    /// Adds the step, at most psi_limit kT of psi; densities fall to a tenth at most.
    FastStep (*update)(const FastArrays&, double psi_limit);
};

/// The build for any processor, and the one for processors with the x86-64-v3 instructions (null elsewhere).
[[nodiscard]] const FastKernel& fast_kernel_baseline();
[[nodiscard]] const FastKernel* fast_kernel_v3();
/// The one to use on this processor.
[[nodiscard]] const FastKernel& fast_kernel();

}  // namespace kovin
