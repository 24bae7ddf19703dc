// Absorption between two pure materials: the fast form against the plain one, and where the edge stands.
#include "device/alpha_interpolation.h"

#include "base/interpolate.h"
#include "device/model_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace kovin {
namespace {

MaterialAbsorption table_of(std::vector<double> lambda, std::vector<double> alpha)
{
    MaterialAbsorption m;
    m.from_file = true;
    m.table = {std::move(lambda), std::move(alpha)};
    return m;
}

MaterialAbsorption model_of(int number, double Eg)
{
    MaterialAbsorption m;
    m.models = default_absorption_models(0, Eg, number);
    return m;
}

Profile gap_of(double A, double B, double bowing)
{
    Profile gap;
    gap.law = Law::parabolic;
    gap.pure_A = A, gap.pure_B = B;
    gap.third = bowing, gap.fourth = 0.1;
    return gap;
}

Profile anchors_of(double A, double B)
{
    Profile p;
    p.third = A, p.fourth = B;
    return p;
}

TEST(AlphaInterpolation, AgreesWithItsFormulaWavelengthByWavelength)
{
    const MaterialAbsorption ends_in_zero = table_of({300, 500, 700, 900, 1100}, {5e7, 2e7, 1e6, 0, 0});
    const MaterialAbsorption has_tail = table_of({350, 400, 600, 650}, {0, 8e7, 3e6, 1e2});
    const MaterialAbsorption one_row = table_of({500}, {3e6}), two_zeros = table_of({500, 600}, {0, 0});
    const MaterialAbsorption square_root = model_of(63, 1.0), step = model_of(62, 1.7);
    struct Row {
        const char* what;
        const MaterialAbsorption &A, &B;
        double sA, sB;
    };
    const Row rows[] = {
        {"two tables", ends_in_zero, has_tail, 300, 250},
        {"table and model", has_tail, square_root, 300, 300},
        {"models", square_root, step, 200, 500},
        {"anchors behind the edges", ends_in_zero, has_tail, 5000, 5000},
        {"short tables", one_row, two_zeros, 300, 250},
    };
    std::vector<double> lambda, alpha;
    for (double l = 201.0; l < 1500.0; l += 1.7) lambda.push_back(l);
    alpha.resize(lambda.size());
    const double EgA = 1.0, EgB = 1.7;
    const Profile gap = gap_of(EgA, EgB, 0.2);
    for (const Row& r : rows) {
        AlphaInterpolation mixture(gap, anchors_of(r.sA, r.sB), r.A, r.B);
        for (const double y : {0.0, 0.3, 0.5, 0.9, 1.0}) {
            const double Eg = EgA + (EgB - EgA) * y - 0.2 * y * (1 - y);
            mixture.InterpolateAlpha(y, Eg, lambda, alpha);
            const double edge = hc_eV_nm / Eg, edgeA = hc_eV_nm / EgA, edgeB = hc_eV_nm / EgB;
            const double sA = std::min(r.sA, edgeA - 10), sB = std::min(r.sB, edgeB - 10);
            const double s = std::min(sB * y + sA * (1 - y), edge - 10);
            for (std::size_t k = 0; k < lambda.size(); ++k) {
                const double part = (lambda[k] - s) / (edge - s);
                double a = alpha_at(r.A, std::max(sA + part * (edgeA - sA), 1.0));
                double b = alpha_at(r.B, std::max(sB + part * (edgeB - sB), 1.0));
                if (a == 0.0) a = 1e-10 * b;
                if (b == 0.0) b = 1e-10 * a;
                const double expected = a > 0.0 ? std::pow(a, 1 - y) * std::pow(b, y) : 0.0;
                ASSERT_NEAR(alpha[k], expected, 1e-9 * expected)
                    << r.what << ", y = " << y << ", " << lambda[k] << " nm";
            }
        }
    }
}

TEST(AlphaInterpolation, EdgeStandsAtTheGapOfTheMixture)
{
    // Square-root edges: alpha^2 of the mixture goes to zero at its own gap, bowing included.
    const MaterialAbsorption A = model_of(63, 1.01), B = model_of(63, 1.68);
    const Profile gap = gap_of(1.01, 1.68, 0.22);
    const double Eg = 0.5 * (1.01 + 1.68) - 0.22 / 4, edge = hc_eV_nm / Eg;
    AlphaInterpolation mixture(gap, anchors_of(300, 300), A, B);
    const std::vector<double> lambda = {edge - 0.2, edge - 0.1, edge - 1e-6, edge + 1e-6, edge + 100};
    std::vector<double> alpha(lambda.size());
    mixture.InterpolateAlpha(0.5, Eg, lambda, alpha);
    EXPECT_EQ(alpha[3], 0.0);
    EXPECT_EQ(alpha[4], 0.0);
    EXPECT_GT(alpha[2], 0.0);
    EXPECT_NEAR(alpha[0] * alpha[0] / (alpha[1] * alpha[1]), 2.0, 1e-3) << "linear in the distance from the edge";
}

}  // namespace
}  // namespace kovin
