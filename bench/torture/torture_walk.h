// One cell of the torture set from equilibrium to the ends of its sweep, by the functions that the program calls.
#pragma once

#include "solver/devices.h"
#include "torture/torture_cell.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <memory>
#include <vector>

namespace kovin::torture {

/// What a mesh point gets of the light: the mean over its box, which keeps the photons on any mesh, or the value there.
enum class Generation { box_means, point_values };

/// Where a walk ended.
enum class End { finished, equilibrium, light, forward, reverse };
inline constexpr const char* end_words[] = {"finished", "equilibrium", "light", "forward", "reverse"};

struct Walk {
    End end = End::finished;
    double V = 0.0;              ///< the last voltage that was asked for [V], forward positive
    int points = 0;              ///< bias points that were solved, V = 0 in the light included
    int equilibrium_passes = 0;  ///< as the state counts them, like the next
    int light_passes = 0;
    long passes = 0;        ///< of all points
    int noise_limited = 0;  ///< points at which rounding moves the state
    /// Largest distance between the two best estimates of J, over the larger of J and the light, of points in the
    /// light; fast route only.
    double uncertainty = 0.0;
    double equilibrium_ms = 0.0, light_ms = 0.0, sweep_ms = 0.0;  ///< of the processor
    double J_start = 0.0, J_forward = 0.0;  ///< at V = 0 and at the forward end, positive from left to right [A/m2]
    [[nodiscard]] bool finished() const { return end == End::finished; }
    [[nodiscard]] double ms() const { return equilibrium_ms + light_ms + sweep_ms; }
};

/// Voltages from 0, which is left out, to `end` at most in steps of 25 mV.
inline std::vector<double> sweep_voltages(double end)
{
    std::vector<double> V;
    const int n = static_cast<int>(std::floor(end / 0.025 + 1e-9));
    for (int k = 1; k <= n; ++k) V.push_back(0.025 * k);
    return V;
}

class Walker {
public:
    Walker(const TortureCell& torture, const testing::Device::Settings& settings, Generation generation)
        : cell(torture), device(std::make_unique<testing::Device>(torture.cell, torture.T, settings)), light(generation)
    {
    }

    Walk walk()
    {
        Walk w;
        w.equilibrium_ms = timed([&] { good = device->solve_equilibrium(); });
        w.equilibrium_passes = device->cv.iterations;
        if (!good) return ended(w, End::equilibrium);
        if (!cell.dark()) {
            if (light == Generation::box_means)
                device->illuminate_boxes([this](double a, double b) { return cell.mean_generation(a, b); });
            else
                device->illuminate([this](double x) { return cell.generation(x); });
            w.light_ms = timed([&] { good = device->solve(); });
            w.light_passes = device->cv.iterations;
            if (!good) return ended(w, End::light);
        }
        count_point(w);
        w.J_start = 10.0 * device->cv.J_median;
        const CalculationVariables start = device->cv;
        leg(w, sweep_voltages(1.2 * cell.smallest_gap), +1.0);
        if (!good) return ended(w, End::forward);
        w.J_forward = 10.0 * device->cv.J_median;
        device->return_to(start);
        leg(w, sweep_voltages(1.0), -1.0);
        return good ? w : ended(w, End::reverse);
    }

    [[nodiscard]] testing::Device& solved() { return *device; }

private:
    void leg(Walk& w, const std::vector<double>& voltages, double direction)
    {
        const double polarity = cell.p_left ? 1.0 : -1.0;  // a positive voltage lifts the left contact's Fermi level
        w.sweep_ms += timed([&] {
            for (const double V : voltages) {
                w.V = direction * V;
                good = device->go_to(polarity * direction * V);
                if (!good) return;
                count_point(w);
            }
        });
    }
    void count_point(Walk& w) const
    {
        const CalculationVariables& cv = device->cv;
        ++w.points;
        w.passes += cv.iterations;
        w.noise_limited += cv.noise_limited ? 1 : 0;
        if (cell.dark()) return;
        const double most = std::max(std::fabs(cv.J_median), 0.1 * elementary_charge * cell.flux);
        w.uncertainty = std::max(w.uncertainty, cv.J_error / most);
    }
    static Walk ended(Walk& w, End end)
    {
        w.end = end;
        return w;
    }
    template <class Work>
    static double timed(const Work& work)
    {
        const std::clock_t start = std::clock();
        work();
        return 1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
    }

    const TortureCell& cell;
    std::unique_ptr<testing::Device> device;
    Generation light;
    bool good = false;
};

}  // namespace kovin::torture
