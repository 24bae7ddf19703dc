#include "device/profile_points.h"

#include "device/graded_values.h"
#include "device/grading.h"
#include "device/layer_profiles.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kovin {

namespace {

constexpr double smallest_um = 1e-4;       ///< step of the mesh, and distance of two rows that are told apart
constexpr double relative_step = 0.4;      ///< of the logarithm of a quantity
constexpr double negligible = 1e-6;        ///< of the largest value
constexpr double composition_step = 0.05;  ///< shifts an absorption edge by some 30 meV
constexpr double share_step = 0.03;        ///< as much of a charge that turns from donors to acceptors
constexpr double growth = 0.25;            ///< of the steps away from a change
constexpr std::size_t most_places = 4000;  ///< at which the quantities are looked at
constexpr std::size_t most_points = 300;

bool is_constant(const Profile& p)
{
    return p.dependence == Dependence::uniform || p.law == Law::uniform || p.law == Law::uniform_B ||
           p.law == Law::uniform_y;
}

/// One graded quantity and where it stands at the places, counted in steps.
struct Course {
    const Profile* profile;
    double step;
    bool relative;
    double floor = 0.0;
    std::vector<double> at{};

    [[nodiscard]] std::vector<double> counted(const LayerParameters& layer, const LayerPlaces& places)
    {
        std::vector<double> values = values_at(layer, *profile, places);
        if (relative && floor == 0.0)
            for (const double v : values) floor = std::max(floor, negligible * std::fabs(v));
        for (double& v : values) {
            if (relative) v = floor > 0.0 ? std::log(std::max(std::fabs(v), floor)) : 0.0;
            v /= step;
        }
        return values;
    }
};

std::vector<Course> courses_of(const LayerParameters& layer, double kT, std::vector<std::string>& names)
{
    std::vector<Course> courses;
    const bool composed = !is_constant(layer.composition);
    for_each_profile(layer, [&](const Profile& p, const std::string& name) {
        if (is_constant(p) || (p.dependence == Dependence::on_y && !composed) || !can_be_evaluated(layer, p)) return;
        const bool energy = p.quantity == Quantity::Eg || p.quantity == Quantity::chi;
        const bool composition = &p == &layer.composition;
        courses.push_back({&p, energy ? kT : composition ? composition_step : relative_step, !energy && !composition});
        names.push_back(name);
    });
    return courses;
}

/// Places so near to each other that no course takes more than a step between two, as far as there is room.
LayerPlaces places_of(const LayerParameters& layer, std::vector<Course>& courses)
{
    std::vector<const Profile*> profiles;
    for (const Course& c : courses) profiles.push_back(c.profile);
    std::vector<double> x = places_to_check(layer, profiles).x_um;
    std::sort(x.begin(), x.end());
    const double end = x.back();
    const auto coincide = [](double a, double b) { return b - a < smallest_um; };
    x.erase(std::unique(x.begin(), x.end(), coincide), x.end());
    if (x.size() > 1) x.back() = end;

    LayerPlaces places = places_at(layer, std::move(x));
    for (Course& c : courses) c.at = c.counted(layer, places);
    for (bool finer = true; finer;) {
        std::vector<std::size_t> wide;  // the interval behind this place
        for (std::size_t k = 0; k + 1 < places.x_um.size(); ++k)
            if (places.x_um[k + 1] - places.x_um[k] > 2.0 * smallest_um &&
                std::ranges::any_of(courses, [&](const Course& c) { return std::fabs(c.at[k + 1] - c.at[k]) > 1.0; }))
                wide.push_back(k);
        finer = !wide.empty() && places.x_um.size() + wide.size() <= most_places;
        if (!finer) break;
        std::vector<double> middle;
        for (const std::size_t k : wide) middle.push_back(0.5 * (places.x_um[k] + places.x_um[k + 1]));
        const LayerPlaces between = places_at(layer, std::move(middle));
        const auto merged = [&](const std::vector<double>& old, const std::vector<double>& added) {
            std::vector<double> all;
            all.reserve(old.size() + added.size());
            for (std::size_t k = 0, m = 0; k < old.size(); ++k) {
                all.push_back(old[k]);
                if (m < wide.size() && wide[m] == k) all.push_back(added[m++]);
            }
            return all;
        };
        for (Course& c : courses) c.at = merged(c.at, c.counted(layer, between));
        places.y = merged(places.y, between.y);
        places.x_um = merged(places.x_um, between.x_um);
    }
    return places;
}

/// The steps at the places: `within` each interval by its changes, and no more than `growth` allows `at` its ends.
struct Steps {
    std::vector<double> within, at;
};

Steps limited(const std::vector<double>& x, std::vector<double> within)
{
    std::vector<double> at(x.size(), within.front());
    for (std::size_t k = 0; k + 1 < x.size(); ++k) at[k + 1] = within[k];
    for (std::size_t k = 0; k + 1 < x.size(); ++k) at[k] = std::min(at[k], within[k]);
    for (std::size_t k = 1; k < x.size(); ++k) at[k] = std::min(at[k], at[k - 1] + growth * (x[k] - x[k - 1]));
    for (std::size_t k = x.size() - 1; k-- > 0;) at[k] = std::min(at[k], at[k + 1] + growth * (x[k + 1] - x[k]));
    return {std::move(within), std::move(at)};
}

}  // namespace

double ProfilePoints::steps_to(double x) const
{
    const auto above = std::upper_bound(x_um.begin(), x_um.end(), x);
    if (above == x_um.begin()) return 0.0;
    const auto k = std::min(static_cast<std::size_t>(above - x_um.begin()), x_um.size() - 1);
    return static_cast<double>(k - 1) + std::min((x - x_um[k - 1]) / (x_um[k] - x_um[k - 1]), 1.0);
}

double ProfilePoints::place_of(double steps) const
{
    const double whole = std::clamp(std::floor(steps), 0.0, static_cast<double>(x_um.size() - 2));
    const auto k = static_cast<std::size_t>(whole);
    return x_um[k] + (steps - whole) * (x_um[k + 1] - x_um[k]);
}

ProfilePoints profile_points(const LayerParameters& layer, double kT, std::span<const Profile> shares)
{
    ProfilePoints points;
    std::vector<Course> courses = courses_of(layer, kT, points.name);
    for (const Profile& share : shares) {
        courses.push_back({&share, share_step, false});
        points.name.emplace_back("share of a metastable pair");
    }
    if (courses.empty()) return points;
    const LayerPlaces places = places_of(layer, courses);
    const std::vector<double>& x = places.x_um;
    if (x.size() < 2) return points;
    std::vector<double> wished;
    std::vector<std::size_t> by;
    for (std::size_t k = 0; k + 1 < x.size(); ++k) {
        double most = 1e-6;
        by.push_back(0);
        for (std::size_t q = 0; q < courses.size(); ++q) {
            const double change = std::fabs(courses[q].at[k + 1] - courses[q].at[k]);
            if (change > most) most = change, by.back() = q;
        }
        wished.push_back(std::max((x[k + 1] - x[k]) / most, smallest_um));
    }
    for (;; points.coarsened *= 1.3) {
        points.x_um = {0.0};
        points.by.clear();
        std::vector<double> within = wished;
        for (double& h : within) h *= points.coarsened;
        const Steps steps = limited(x, std::move(within));
        for (std::size_t k = 0; points.x_um.back() < x.back() && points.x_um.size() <= most_points;) {
            const double place = points.x_um.back();
            while (k + 2 < x.size() && x[k + 1] <= place) ++k;
            points.by.push_back(by[k]);
            points.x_um.push_back(place + std::min({steps.within[k], steps.at[k] + growth * (place - x[k]),
                                                    steps.at[k + 1] + growth * (x[k + 1] - place)}));
        }
        if (points.x_um.back() >= x.back()) return points;
    }
}

}  // namespace kovin
