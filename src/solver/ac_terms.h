// What defects add to the small-signal equations at a finite frequency, in the bulk and at interfaces.
//
// At angular frequency omega the occupation follows the carriers with a delay. For one level, with A = ep + cn n the
// rate of filling, B = en + cp p that of emptying, and the slow response
//
//     phi = cn n B/(A + B)^2  to dFn,   cp p A/(A + B)^2  to dFp,   the sum of both to dpsi,
//
// the change of the occupation is df = (1 - z) phi with z = i omega/(A + B + i omega). The slopes of charge and rates
// are therefore those of the steady state, which the equations at DC have already, and a share of z:
//
//     charge:     rho  + Nt z phi
//     electrons:  Rn   + Nt z phi (cn n + en)
//     holes:      Rp   - Nt z phi (cp p + ep)
//
// Only this share is computed here; it is 0 at omega = 0. More electrons than holes go into the defect by
// Rn - Rp = i omega df: what it stores. In a chain of charge states the steady changes df0 of the fractions are
// corrected by e, the answer of the rate equations to what the states would have to store, (i omega - Q) e = -i omega
// df0 with Q the matrix of rates. Neutral defects store no charge and have no such share: they recombine as at DC, and
// the total current is continuous through them.
// Source: Losee, J. Appl. Phys. 46 (1975) 2204; Sah, Shockley, Phys. Rev. 109 (1958) 1103.
#pragma once

#include "base/complex_value.h"
#include "solver/interface_terms.h"
#include "solver/problem.h"

#include <array>
#include <vector>

namespace kovin {

/// Quantities with a share of z, by row; those of the bulk take the first three.
enum AcRow : std::size_t { ac_rho = 0, ac_Rn = 1, ac_Rp = 2 };

/// The share at every mesh point, of a row to dFn and dFp; that to dpsi is their sum. Charge in N0, rates in D0
/// N0/x0^2.
struct AcTerms {
    struct Slope {
        std::vector<double> re, im;
    };
    std::array<Slope, 3> Fn, Fp;  ///< by AcRow
    void resize(std::size_t points);
    void clear();
};

/// Adds one discrete energy of a charged defect. @param omega  normalised, x0^2/D0 times the angular frequency
void acr_bijdrage_een_niveau(const DefectEnergy& level, const CalculationVariables& cv, double omega, AcTerms& out);
void acr_bijdrage_een_niveau_multilevel(const DefectChain& chain, const CalculationVariables& cv, double omega,
                                        AcTerms& out);
/// The share of all bulk defects.
void totale_acr_bijdrage_multilevel(const BulkDefects& defects, const CalculationVariables& cv, double omega,
                                    AcTerms& out);

/// The share of the states at one interface, to Fn left, Fn right, Fp left, Fp right; to dpsi of both sides together it
/// is the sum of the four. Charge in C/m2, currents as in InterfaceTerms.
struct IfAcTerms {
    std::array<Complex, 4> rho, In_left, In_right, Ip_left, Ip_right;
};

/// Adds one discrete energy of charged states.
void ifracbijdrage_een_niveau(const InterfaceEnergy& level, const InterfaceCarriers& c, double omega, IfAcTerms& out);
/// All interfaces. @param out  one a interface of the mesh
void totale_ifracbijdrage(const Problem& problem, const CalculationVariables& cv, double omega,
                          std::vector<IfAcTerms>& out);

}  // namespace kovin
