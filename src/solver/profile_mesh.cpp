#include "solver/profile_mesh.h"

#include "base/text_format.h"
#include "device/layer_profiles.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kovin {

double profile_steps(const CalculationParameters& set3, std::size_t j, double from, double to)
{
    const ProfilePoints& points = set3.profile_points[j];
    if (points.empty()) return 0.0;
    const double um = set3.scale.x0 * 1e6;
    return points.steps_to(to * um) - points.steps_to(from * um);
}

void cut_at_profiles(const CalculationParameters& set3, std::size_t j, int room, std::vector<double>& X)
{
    const ProfilePoints& points = set3.profile_points[j];
    if (points.empty() || room <= 0) return;
    double wanted = 0.0;
    for (std::size_t i = 1; i < X.size(); ++i) {
        const double steps = profile_steps(set3, j, X[i - 1] - X.front(), X[i] - X.front());
        if (steps > 1.0) wanted += steps;
    }
    const double um = set3.scale.x0 * 1e6, share = std::min(1.0, room / wanted);
    std::vector<double> cut{X.front()};
    for (std::size_t i = 1; i < X.size(); ++i) {
        const double from = points.steps_to((X[i - 1] - X.front()) * um);
        const double steps = points.steps_to((X[i] - X.front()) * um) - from;
        const int parts = static_cast<int>(std::ceil(share * steps));
        for (int k = 1; k < parts; ++k) cut.push_back(X.front() + points.place_of(from + steps * k / parts) / um);
        cut.push_back(X[i]);
    }
    X = std::move(cut);
}

void tell_unresolved_profiles(Report& report, const CalculationParameters& set3, const Mesh& mesh)
{
    constexpr double too_much = 4.0;  // steps in one interval
    for (std::size_t j = 0; j < static_cast<std::size_t>(mesh.nlayers); ++j) {
        const ProfilePoints& points = set3.profile_points[j];
        const auto first = static_cast<std::size_t>(mesh.first[j]), last = static_cast<std::size_t>(mesh.last[j]);
        double most = too_much;
        std::size_t where = 0;
        for (std::size_t i = first + 1; i <= last; ++i) {
            const double steps =
                points.coarsened * profile_steps(set3, j, mesh.x[i - 1] - mesh.x[first], mesh.x[i] - mesh.x[first]);
            if (steps > most) most = steps, where = i;
        }
        if (where == 0) continue;
        const double left = mesh.x_um[where - 1] - mesh.x_um[first], right = mesh.x_um[where] - mesh.x_um[first];
        const double middle = 0.5 * (points.steps_to(left) + points.steps_to(right));
        const std::size_t by = points.by[std::min(static_cast<std::size_t>(middle), points.by.size() - 1)];
        KOVINErrorMessage(report, "Warning: a profile is finer than the mesh",
                          place_of_profile(j, set3.layer[j], points.name[by]) + " changes faster than " +
                              integer(max_mesh_points) + " points can follow, most between " + shortest(left) +
                              " and " + shortest(right) + " um; results depend on the mesh there");
    }
}

}  // namespace kovin
