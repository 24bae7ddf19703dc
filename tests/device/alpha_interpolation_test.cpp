// Absorption between two pure materials: the fast form against the plain one, and gaps without sense.
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
    for (const Row& r : rows) {
        AlphaInterpolation mixture({EgA, EgB}, r.sA, r.sB, r.A, r.B);
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

TEST(AlphaInterpolation, NoGapGivesAnInfiniteValue)
{
    const MaterialAbsorption step = model_of(62, 1.0), table = table_of({300, 900}, {5e7, 1e3});
    const std::vector<double> lambda = {300, 700, 5e6};
    std::vector<double> alpha(lambda.size());
    for (const double Eg : {1.0, 5e-307, 0.0, -1.0, 1e100})
        for (const double pure : {1.0, 5e-307, 0.0, 1e100}) {
            AlphaInterpolation({pure, 1.0}, 250, 250, step, table).InterpolateAlpha(0.3, Eg, lambda, alpha);
            for (const double a : alpha) EXPECT_TRUE(std::isfinite(a) && a >= 0.0) << Eg << ' ' << pure;
        }
}

}  // namespace
}  // namespace kovin
